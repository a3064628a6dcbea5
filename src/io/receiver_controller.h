#pragma once

// The infrared receiver side of the main window: which interface is connected and on which
// port, how its lines are set, the IRMan handshake and the automatic detection. The window
// forwards its menu, list and check-box events to the on...() methods.

#include "config/context.h"
#include "core/view.h"
#include "io/capture_library.h"
#include "io/serial_port.h"

#include <string>

namespace quenix {

// Interface type codes; 9 means "none" and is what detection falls back to.
enum InterfaceType : int {
    kDcdStd = 0,
    kIrMouse = 1,
    kIrMan = 2,
    kCreative = 3,
    kFirM = 4,
    // A kernel infrared device (LIRC<n> in ComList): chosen with the port, not from the menu.
    kKernelIr = 5,
    kUnknownInterface = 9,
};

// The name shown in ReceiverType for a type code, and the menu item that selects it.
const char* InterfaceName(int type);
const char* InterfaceMenu(int type);

// A port that opened after the list was filled (a receiver plugged in while monitoring waited for
// it): listed in its place, chosen and green, and a kernel device named with what it can do.
void ShowPortOpened(View& view, CaptureLibrary& library, int number);

class ReceiverController {
public:
    ReceiverController(Context& ctx, View& view, SerialPort& port, CaptureLibrary& library);

    // Interface menu items (a radio group).
    void onStdDcdMenu() { selectInterface(kDcdStd); }
    void onIRMouseMenu() { selectInterface(kIrMouse); }
    void onIRManMenu() { selectInterface(kIrMan); }
    void onCreativeInfraMenu() { selectInterface(kCreative); }
    void onFirmMenu() { selectInterface(kFirM); }
    void onUnavailableMenu() { selectInterface(kUnknownInterface); }
    void onAutoDetectMenu();
    // ComList click: changes the port when another one was chosen.
    void onComListClick();
    // After the box's check state has changed (a user click).
    void onTxDCheckBox();
    void onIrDACheckBox();

    void selectInterface(int type);
    // Sets the check boxes and the interface stored in ITYPE (start-up, port change).
    void applyStoredInterface();
    // Fills ComList with the ports that exist and opens COMPORT (start-up).
    void listPorts();
    // The IRMan power-up and "IR" handshake, once per port; true when it answered.
    bool initialiseIRMan();
    // The kernel device chosen in ComList, if that is the receiver.
    bool onKernelDevice() const { return IsLircPort(ctx_.settings().comPort); }
    // Why calibration has nothing to do on a kernel device.
    std::string noCalibrationText() const;

private:
    void writeItype();
    void selectKernelDevice();
    bool openChosen();
    // Power-cycles the receiver, sends "I" and "R", and waits up to 2 s for "ok".
    bool irmanHandshake();
    // Samples DCD 10 times, 5 ms apart; the number of samples that read on.
    int dcdOnCount();
    void setFirmControlsVisible(bool visible);
    PortHandle handle() const { return ctx_.irPortHandle; }

    Context& ctx_;
    View& view_;
    SerialPort& port_;
    CaptureLibrary& library_;
};

} // namespace quenix
