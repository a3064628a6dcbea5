#include "ui/frm_main.h"

#include "core/version.h"
#include "formats/formats.h"
#include "lirc/lirc_import.h"
#include "lirc/lircd_server.h"
#include "ui/lircd_socket.h"

namespace quenix {

// The lircd socket: recognised keys out to irw, Kodi or irexec; irsend's SEND_ONCE in through
// the executor, as the Send button runs it.
void FrmMain::wireLircd() {
    // File > Import takes a lircd.conf, a Flipper .ir file, Pronto hex or an ir-keytable keymap.
    if (importExport_)
        importExport_->convertForeign = [this](const std::string& text, std::string& notes) {
            return CodesAsConfiguration(text, importExport_->importFile, notes);
        };
    // File > Export codes writes the current device for a Flipper, LIRC or a Pronto list.
    if (importExport_)
        importExport_->exportCodes = [this](const std::string& device, const std::string& format, std::string& why) {
            const auto stored = ReadStoredDevice(ctx_.config.text(), device, why);
            return stored ? ExportDevice(*stored, format, why) : std::string();
        };
    // Without a port and a library (window tests) nothing is recognised or sent: no socket.
    if (!monitor_) return;
    LircdServer::Backend backend;
    backend.remotes = [this] { return RemotesOfConfiguration(ctx_.config.text()); };
    backend.send = [this](const std::string& device, const std::string& command) -> LircdServer::SendResult {
        if (!executor_) return {false, "Sending is not available."};
        std::string result = executor_->Execute(device, command);
        view_.setStatus(result);
        return {executor_->lastOk(), result};
    };
    const std::string version = "quenix " + std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
                                std::to_string(kVersionRevision);
    lircdServer_ = std::make_unique<LircdServer>(std::move(backend), version);
    lircdSocket_ = new LircdSocket(*lircdServer_, this);
    std::string error;
    if (!lircdSocket_->Listen(LircdSocket::DefaultPlace(), error)) view_.setStatus("lircd socket: " + error);
    monitor_->hooks().keyRecognised = [this](const std::string& key, int repeat) {
        const std::size_t amp = key.find('&');
        if (amp == std::string::npos || (key.rfind("BT", 0) == 0 && key.find("CONNECTED", amp) != std::string::npos))
            return;
        lircdServer_->KeyRecognised(key.substr(0, amp), key.substr(amp + 1), repeat);
        lircdSocket_->Flush();
    };
}

} // namespace quenix
