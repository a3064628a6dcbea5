#include "io/receiver_controller.h"

#include "core/text.h"

#include <algorithm>
#include <array>

namespace quenix {

namespace {

constexpr const char* kCaption = "ZVK";
constexpr int kMaxComPort = 30;

struct InterfaceRow {
    int type;
    const char* name;
    const char* menu;
};

constexpr std::array<InterfaceRow, 6> kInterfaces{{
    {kDcdStd, "DCDStd", "StdDcdMenu"},
    {kIrMouse, "IRMouse", "IRMouseMenu"},
    {kIrMan, "IRMan", "IRManMenu"},
    {kCreative, "Creative", "CreativeInfraMenu"},
    {kFirM, "FirM", "FirmMenu"},
    {kUnknownInterface, "Unknown", "UnavailableMenu"},
}};

const InterfaceRow* RowOf(int type) {
    for (const auto& r : kInterfaces)
        if (r.type == type) return &r;
    return nullptr;
}

std::string KernelDeviceCaption(int number, bool open, CaptureLibrary& library) {
    const char* role = !open               ? " (not open)"
                       : library.CanSend() ? " (receiver and transmitter)"
                                           : " (receiver only)";
    return ComDeviceName(number) + role;
}

} // namespace

const char* InterfaceName(int type) {
    if (type == kKernelIr) return "LIRC";
    const InterfaceRow* r = RowOf(type);
    return r ? r->name : "";
}

const char* InterfaceMenu(int type) {
    const InterfaceRow* r = RowOf(type);
    return r ? r->menu : "";
}

void ShowPortOpened(View& view, CaptureLibrary& library, int number) {
    std::vector<std::string> items = view.items("ComList");
    const std::string name = ComDeviceName(number);
    auto at = std::find(items.begin(), items.end(), name);
    if (at == items.end()) {
        // Numbers run COM1 to COM30, then LIRC0 to LIRC9, as the list does.
        at = std::find_if(items.begin(), items.end(), [&](const std::string& i) { return ComPortNumber(i) > number; });
        at = items.insert(at, name);
        view.setItems("ComList", items);
    }
    view.setCurrentIndex("ComList", static_cast<int>(at - items.begin()));
    view.setColor("ComList", View::ColorRole::Foreground, kGreen);
    if (IsLircPort(number)) view.setText("ReceiverType", KernelDeviceCaption(number, true, library));
}

ReceiverController::ReceiverController(Context& ctx, View& view, SerialPort& port, CaptureLibrary& library)
    : ctx_(ctx), view_(view), port_(port), library_(library) {}

void ReceiverController::writeItype() {
    Settings& s = ctx_.settings();
    s.itypeHigh = ctx_.txdOutput;
    s.itypeLow = ctx_.interfaceType;
    ctx_.Written(ctx_.config.SetGeneralKey("ITYPE", std::to_string(ctx_.txdOutput * 16 + ctx_.interfaceType)));
}

void ReceiverController::setFirmControlsVisible(bool visible) {
    for (const char* c : {"FirmAnswer", "ZoneNr", "Zone"}) view_.setVisible(c, visible);
}

void ReceiverController::selectKernelDevice() {
    ctx_.interfaceType = kKernelIr;
    view_.setText("ReceiverType", KernelDeviceCaption(ctx_.settings().comPort, handle() != kNoPort, library_));
    for (const auto& r : kInterfaces) view_.setChecked(r.menu, false);
    setFirmControlsVisible(false);
    // Its carrier is the kernel's: the serial transmitter modes do not apply.
    view_.setEnabled("TxDCheckBox", false);
    view_.setEnabled("IrDACheckBox", false);
    writeItype();
}

std::string ReceiverController::noCalibrationText() const {
    return "No need to calibrate " + ComDeviceName(ctx_.settings().comPort) +
           ": the kernel measures every pulse in microseconds, and the samples are laid out at the "
           "period PROCDELAY gives (55 us at 20).";
}

void ReceiverController::selectInterface(int type) {
    if (onKernelDevice() || type == kKernelIr) {
        if (type != kKernelIr)
            view_.setStatus(ComDeviceName(ctx_.settings().comPort) +
                            " is a kernel infrared device: choose a COM port for this interface.");
        if (onKernelDevice()) selectKernelDevice();
        return;
    }
    const InterfaceRow* row = RowOf(type);
    if (!row) return;
    ctx_.interfaceType = type;
    view_.setText("ReceiverType", row->name);
    for (const auto& r : kInterfaces) view_.setChecked(r.menu, r.type == type);

    const PortHandle h = handle();
    switch (type) {
    case kDcdStd: // powered from RTS; DTR is the transmitter's
        port_.SetRTS(h, true);
        port_.SetDTR(h, false);
        break;
    case kIrMouse: // powered from RTS and DTR, TxD held low
        port_.SetRTS(h, true);
        port_.SetDTR(h, true);
        port_.SetTxDBreak(h, false);
        break;
    case kCreative:
        port_.SetDTR(h, true);
        port_.SetRTS(h, true);
        break;
    case kFirM:
        port_.SetRTS(h, false);
        port_.SetDTR(h, false);
        // FirM talks over the data lines: no TxD transmitter beside it.
        view_.setChecked("TxDCheckBox", false);
        view_.setEnabled("TxDCheckBox", false);
        view_.setEnabled("IrDACheckBox", false);
        ctx_.txdOutput = 0;
        port_.ConfigureComPort(9600, 8, h);
        break;
    default: break;
    }
    if (type == kFirM) {
        setFirmControlsVisible(true);
    } else {
        setFirmControlsVisible(false);
        view_.setEnabled("TxDCheckBox", true);
    }
    writeItype();
    if (type == kIrMan) initialiseIRMan();
}

void ReceiverController::applyStoredInterface() {
    const Settings& s = ctx_.settings();
    const int mode = s.itypeHigh;
    // Back on a COM port, a kernel device's type gives way to the standard receiver.
    const int type = s.itypeLow == kKernelIr ? kDcdStd : s.itypeLow;
    ctx_.txdOutput = mode;
    if (onKernelDevice()) {
        selectKernelDevice();
        return;
    }
    view_.setChecked("TxDCheckBox", mode == 1);
    view_.setChecked("IrDACheckBox", mode == 2);
    view_.setEnabled("IrDACheckBox", mode != 1);
    view_.setEnabled("TxDCheckBox", mode != 2);
    if (mode == 1) port_.ConfigureComPort(115200, 6, handle());
    if (type >= kDcdStd && type <= kFirM) {
        selectInterface(type);
    } else {
        ctx_.interfaceType = type;
        view_.setText("ReceiverType", "");
    }
}

void ReceiverController::listPorts() {
    Settings& s = ctx_.settings();
    std::vector<std::string> items;
    int selected = -1;
    for (int n = 1; n <= kMaxComPort; ++n) {
        if (!port_.ComPortExists(n)) continue;
        if (n == s.comPort) selected = static_cast<int>(items.size());
        items.push_back(ComDeviceName(n));
    }
    for (int n = kLircPortBase; n < kLircPortBase + kLircDevices; ++n) {
        if (!port_.ComPortExists(n)) continue;
        if (n == s.comPort) selected = static_cast<int>(items.size());
        items.push_back(ComDeviceName(n));
    }
    view_.setItems("ComList", items);
    // No item stands for a stored port that is gone, so the list never shows one as in use.
    view_.setCurrentIndex("ComList", selected);
    if (items.empty()) {
        view_.setStatus("There is no COM port available!");
        return;
    }
    if (handle() != kNoPort) port_.CloseHandle(handle());
    ctx_.irPortHandle = kNoPort;
    if (selected < 0) {
        view_.setColor("ComList", View::ColorRole::Foreground, kRed);
        if (s.comPort > 0) view_.setStatus(ComDeviceName(s.comPort) + " is missing; choose another port.");
        return;
    }
    openChosen();
}

// Opens COMPORT; the list turns green or red, and a port that would not open says why.
bool ReceiverController::openChosen() {
    ctx_.irPortHandle = port_.OpenComPort(ctx_.settings().comPort);
    if (handle() == kNoPort) {
        view_.setColor("ComList", View::ColorRole::Foreground, kRed);
        const std::string why = port_.OpenError();
        if (!why.empty()) view_.setStatus(why);
        return false;
    }
    view_.setColor("ComList", View::ColorRole::Foreground, kGreen);
    library_.SetHandle(handle());
    if (!onKernelDevice()) port_.ConfigureComPort(9600, 8, handle());
    return true;
}

void ReceiverController::onComListClick() {
    Settings& s = ctx_.settings();
    const std::string item = view_.currentText("ComList");
    const int n = ComPortNumber(item);
    if (n == 0 || n == s.comPort) return;

    const PortHandle old = handle();
    if (s.comPort != 0 && old != kNoPort) {
        port_.CloseHandle(old);
        ctx_.irPortHandle = kNoPort;
        library_.SetHandle(kNoPort);
    }
    s.comPort = n;
    if (s.comPort == s.x10Com) {
        // The X10 interface gives its port up, and lets go of it so that it can open here.
        s.x10Com = 0;
        if (ctx_.x10PortHandle > 0 && ctx_.x10PortHandle != old) port_.CloseHandle(ctx_.x10PortHandle);
        ctx_.x10PortHandle = kNoPort;
    }
    ctx_.irmanInitialised = false;
    const PortHandle before = handle(); // none, unless no port was chosen before
    ctx_.Written(ctx_.config.SetGeneralKey("COMPORT", std::to_string(s.comPort)) &&
                 ctx_.config.SetGeneralKey("X10COM", std::to_string(s.x10Com)));
    // A reload ("No" to overwriting a file another program changed) has opened the port the file
    // names: a second open would leak that handle, and with it the port's lock.
    const bool reopened = handle() != before;
    const bool opened = reopened || openChosen();
    // An X10 interface on the "Default" port shares the infrared handle.
    if (old != kNoPort && ctx_.x10PortHandle == old) ctx_.x10PortHandle = ctx_.irPortHandle;
    if (!reopened && (opened || onKernelDevice())) applyStoredInterface();
}

bool ReceiverController::irmanHandshake() {
    const PortHandle h = handle();
    port_.SetRTS(h, false);
    port_.SetDTR(h, false);
    ctx_.clock.sleep(200);
    port_.SetRTS(h, true);
    port_.SetDTR(h, true);
    ctx_.clock.sleep(500);
    port_.WriteComPort("I", h);
    ctx_.clock.sleep(500);
    port_.WriteComPort("R", h);
    std::string reply;
    for (int round = 0; round < 20; ++round) {
        ctx_.clock.sleep(100);
        reply = Trim(ToLower(reply + port_.ReadComPort(h)));
        if (reply.find("ok") != std::string::npos) return true;
    }
    return false;
}

bool ReceiverController::initialiseIRMan() {
    if (ctx_.irmanInitialised) return true;
    port_.ConfigureComPort(9600, 8, handle());
    if (irmanHandshake()) {
        ctx_.dialogs.message("IRMan interface initialized OK", kCaption, MsgIcon::Information);
        ctx_.irmanInitialised = true;
        return true;
    }
    ctx_.dialogs.message("IRMan interface cannot be initialized!", kCaption, MsgIcon::Exclamation);
    return false;
}

int ReceiverController::dcdOnCount() {
    int on = 0;
    for (int i = 0; i < 10; ++i) {
        if (i > 0) ctx_.clock.sleep(5);
        if (port_.IsDCDOn(handle())) ++on;
    }
    return on;
}

void ReceiverController::onAutoDetectMenu() {
    const PortHandle h = handle();
    Settings& s = ctx_.settings();
    if (onKernelDevice()) {
        view_.setStatus(ComDeviceName(s.comPort) + " is a kernel infrared device: there is nothing to detect.");
        return;
    }
    // Every line of a closed port reads off, which the probes would take for an IRMouse.
    if (h == kNoPort) {
        view_.setStatus("COM" + std::to_string(s.comPort) + " is not open: there is nothing to detect.");
        return;
    }
    auto detected = [&](int type, const char* status) {
        view_.setStatus(status);
        ctx_.interfaceType = type;
        s.itypeLow = type;
        s.itypeHigh = ctx_.txdOutput;
        applyStoredInterface();
    };

    port_.ConfigureComPort(9600, 8, h);
    port_.SetRTS(h, true);

    // IRMouse: idles with DCD off while RTS and DTR power it. Whether DSR follows RTS is read
    // but never held against the receiver: some hold DSR up whatever RTS does.
    if (port_.IsDSROn(h)) {
        port_.SetRTS(h, false);
        port_.IsDSROn(h);
    }
    port_.SetRTS(h, true);
    port_.SetDTR(h, true);
    if (10 - dcdOnCount() > 5) {
        detected(kIrMouse, "IRMouse interface autodetected.");
        return;
    }

    // DCD standard: idles with DCD on while RTS powers it. The unpowered read is not judged
    // either, for the same reason.
    port_.SetRTS(h, false);
    port_.IsDCDOn(h);
    port_.SetRTS(h, true);
    if (dcdOnCount() > 5) {
        detected(kDcdStd, "DCD Standard interface autodetected.");
        return;
    }

    if (irmanHandshake()) {
        ctx_.irmanInitialised = true;
        detected(kIrMan, "IRMan interface autodetected and initialized OK.");
        return;
    }

    view_.setStatus("Cannot detect interface or no interface connected to COM" + std::to_string(s.comPort) + ".");
    selectInterface(kUnknownInterface);
}

void ReceiverController::onTxDCheckBox() {
    if (view_.isChecked("TxDCheckBox")) {
        // A virtual IrDA port cannot go with the TxD transmitter.
        view_.setEnabled("IrDACheckBox", false);
        ctx_.txdOutput = 1;
        port_.ConfigureComPort(115200, 6, handle());
    } else {
        // The port keeps 115200 baud, 6 bits until it is next opened or configured.
        view_.setEnabled("IrDACheckBox", true);
        ctx_.txdOutput = 0;
    }
    writeItype();
}

void ReceiverController::onIrDACheckBox() {
    if (!view_.isChecked("IrDACheckBox")) {
        view_.setEnabled("TxDCheckBox", true);
        return;
    }
    view_.setEnabled("TxDCheckBox", false);
    ctx_.dialogs.message("Not yet implemented", kCaption, MsgIcon::Exclamation);
    view_.setChecked("IrDACheckBox", false);
    view_.setEnabled("TxDCheckBox", true);
}

} // namespace quenix
