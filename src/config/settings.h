#pragma once

#include <array>
#include <string>

namespace quenix {

// The [General] values, as read by LoadConfiguration and changed through SetGeneralKey.
struct Settings {
    int comPort = 0;
    int protocol = 0;
    int procDelay = 0;
    int itypeHigh = 0; // transmit mode: 0 DTR, 1 TxD, 2 IrDA
    int itypeLow = 0;  // interface type: 0 DCDStd, 1 IRMouse, 2 IRMan, 3 Creative, 4 FirM, 9 Unknown
    bool beepOn = false;
    bool irInEna = false;
    bool irOutEna = false;
    int x10Com = 0;
    bool x10Ena = false;
    bool irDimEna = false;
    bool applicationEna = false;
    bool winampEna = false;
    std::string winampPath;
    int btCom = 0;
    bool btEna = false;
    int btMode = 0;
    std::array<std::string, 10> bt;
    int btCurrent = 0;
    bool mouseEna = false;
    bool keyboardEna = false;
    bool monitor = false;
};

} // namespace quenix
