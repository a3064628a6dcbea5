#include "ui/frm_main.h"

#include "core/text.h"
#include "core/version.h"
#include "io/receiver_controller.h"
#include "ir/codec.h"
#include "ir/protocols.h"
#include "lirc/lircd_server.h"
#include "mqtt/ir_codes.h"
#include "mqtt/mqtt_bridge.h"
#include "serpulse/pulse_engine.h"
#include "ui/frm_mqtt.h"

#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSaveFile>
#include <QStatusBar>
#include <QSysInfo>
#include <QTimer>

#include <cstdlib>

namespace quenix {
namespace {

std::string SettingsPath(const Context& ctx) { return ctx.config.folder() + "/" + kMqttSettingsFile; }

MqttSettings LoadSettings(const Context& ctx) {
    QFile f(QString::fromStdString(SettingsPath(ctx)));
    return f.open(QIODevice::ReadOnly) ? ReadMqttSettings(f.readAll().toStdString()) : MqttSettings{};
}

// Only the user may read the file: it holds the broker's password.
bool SaveSettings(const Context& ctx, const MqttSettings& s) {
    QSaveFile f(QString::fromStdString(SettingsPath(ctx)));
    if (!f.open(QIODevice::WriteOnly)) return false;
    f.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    f.write(QByteArray::fromStdString(WriteMqttSettings(s)));
    return f.commit();
}

std::vector<std::pair<std::string, std::string>> LearnedKeys(std::string_view configText) {
    std::vector<std::pair<std::string, std::string>> keys;
    for (const LircdRemote& r : RemotesOfConfiguration(configText))
        for (const LircdKey& k : r.keys) keys.emplace_back(r.name, k.name);
    return keys;
}

// The cells of one transmission through the capture library, as the executor hands them over.
SendOutcome SendCells(Context& ctx, CaptureLibrary& library, std::string cells, int pulseUs, std::string done) {
    if (!ctx.settings().irOutEna) return {false, kIrOutputDisabled};
    cells.append((8 - cells.size() % 8) % 8, '0');
    const std::vector<std::uint8_t> packed = PackCells(cells);
    if (!library.IRSend(packed.data(), static_cast<int>(packed.size()), pulseUs, ctx.txdOutput))
        return {false, kIrSendError};
    return {true, std::move(done)};
}

} // namespace

// MQTT: keys and received codes out, sends in through the executor and the transmitter, and the
// discovery messages by which Home Assistant finds the PC. The connection runs on libmosquitto's
// side; everything it reports comes back to this thread as a queued call.
void FrmMain::wireMqtt(Io io) {
    QMenu* settingsMenu = menuBar()->findChild<QMenu*>("SettingsMenu");
    QAction* item = settingsMenu->addAction("M&QTT...");
    item->setObjectName("MqttMenu");
    auto variable = [](const char* name) { return std::string(std::getenv(name) ? std::getenv(name) : ""); };
    const std::string url = variable("QUENIX_MQTT_URL"), topic = variable("QUENIX_MQTT_TOPIC");
    auto effective = [this, url, topic] {
        MqttSettings s = LoadSettings(ctx_);
        ApplyMqttEnvironment(s, url.c_str(), topic.c_str());
        return s;
    };

    mqttLink_ = MakeBrokerLink(
        [this](std::function<void()> call) { QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection); });
    if (!mqttLink_ || !monitor_ || !io.library) {
        connect(item, &QAction::triggered, this, [this] { view_.setStatus("MQTT is not available in this build."); });
        return;
    }
    CaptureLibrary* library = io.library;
    MqttBridge::Backend backend;
    backend.send = [this](const std::string& device, const std::string& command) -> SendOutcome {
        if (!executor_) return {false, "Sending is not available."};
        std::string result = executor_->Execute(device, command);
        view_.setStatus(result);
        return {executor_->lastOk(), result};
    };
    backend.sendCode = [this, library](const std::string& protocol, const std::string& code) -> SendOutcome {
        int index = -1;
        for (int p : {kProtoNec, kProtoSony, kProtoRc5})
            if (ToLower(protocol) == ToLower(PresetFor(p).name)) index = p;
        if (index < 0) return {false, "Unknown protocol " + protocol + ": NEC, SONY or RC5."};
        std::string bits = code.rfind('G', 0) == 0 ? code : "G" + code;
        if (bits.size() < 8 || bits.find_first_not_of("01", 1) != std::string::npos) return {false, kNotBinaryCode};
        const ProtocolHeader header = HeaderFromPreset(index);
        std::string cells = EncodeCommand(bits, header, ctx_.rc5Toggle);
        return SendCells(ctx_, *library, std::move(cells), header.sendpls, protocol + " " + code + " executed.");
    };
    // Timings go out as 50 us cells, each run rounded to the nearest cell; the carrier is the
    // transmitter's own, so the modulation asked for is not applied.
    backend.sendTimings = [this, library](const std::vector<int>& timings, int, int repeatCount) -> SendOutcome {
        std::string error;
        std::string cells = TimingsToCells(timings, kTimingCellUs, repeatCount, error);
        if (cells.empty()) return {false, error};
        return SendCells(ctx_, *library, std::move(cells), kTimingCellUs,
                         "Timings executed (" + std::to_string(timings.size()) + " runs).");
    };
    // The link's state lasts, so it stands beside the passing messages, where start-up's own
    // texts do not wipe it out.
    auto* note = new QLabel(statusBar());
    note->setObjectName("MqttNote");
    statusBar()->addPermanentWidget(note);
    backend.status = [note](const std::string& text) { note->setText(QString::fromStdString(text)); };
    const std::string version =
        std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." + std::to_string(kVersionRevision);
    mqttBridge_ = std::make_unique<MqttBridge>(
        *mqttLink_, std::move(backend), MqttBridge::Identity{QSysInfo::machineHostName().toStdString(), version});
    MqttBridge* bridge = mqttBridge_.get();

    auto previousKey = monitor_->hooks().keyRecognised;
    monitor_->hooks().keyRecognised = [this, bridge, previousKey](const std::string& key, int repeat) {
        if (previousKey) previousKey(key, repeat);
        const std::size_t amp = key.find('&');
        if (!bridge->running() || amp == std::string::npos) return;
        KeyEvent k{key.substr(0, amp), key.substr(amp + 1), "", "", "", repeat, ""};
        if (k.device.rfind("BT", 0) == 0 && k.device.size() <= 3) {
            if (k.command == "CONNECTED" || k.command == "DISCONNECTED") return;
            k.source = "BT";
        } else {
            const int port = ctx_.settings().comPort;
            k.source = ctx_.interfaceType == kKernelIr ? "LIRC" + std::to_string(port - kLircPortBase)
                                                       : "COM" + std::to_string(port);
            const std::string code = StoredCode(ctx_.config.text(), k.device, k.command);
            if (code.size() > 1) {
                const int protocol = DeviceHeader(ctx_.config.text(), k.device).gproto;
                k.protocol = std::string(PresetFor(protocol).name);
                k.code = code.substr(1);
                k.scancode = KernelScancode(protocol, code);
            }
        }
        bridge->Key(k);
    };
    auto previousFrame = monitor_->hooks().frameDecoded;
    monitor_->hooks().frameDecoded = [this, bridge, previousFrame](const DecodedFrame& frame, const std::string& key) {
        if (previousFrame) previousFrame(frame, key);
        if (!bridge->connected()) return;
        ReceivedCode c;
        if (frame.protocol != kProtoUnknown) c.protocol = std::string(PresetFor(frame.protocol).name);
        c.code = frame.frame;
        c.timings = CaptureTimings(ctx_.captureBuffer, serpulse::SamplePeriodNs(ctx_.settings().procDelay));
        bridge->Received(c);
    };

    // Learned keys change with the configuration; a look every few seconds costs nothing.
    auto* keysTimer = new QTimer(this);
    keysTimer->setObjectName("MqttKeysTimer");
    connect(keysTimer, &QTimer::timeout, this, [this, bridge] {
        if (bridge->running()) bridge->SetKeys(LearnedKeys(ctx_.config.text()));
    });
    keysTimer->start(3000);
    QTimer::singleShot(0, this, [this, bridge, effective] {
        bridge->SetKeys(LearnedKeys(ctx_.config.text()));
        bridge->Start(effective());
    });
    connect(qApp, &QCoreApplication::aboutToQuit, this, [bridge] { bridge->Stop(); });

    connect(item, &QAction::triggered, this, [this, bridge, note, url, topic, effective] {
        MqttSettings s = LoadSettings(ctx_);
        QString overridden;
        if (!url.empty() || !topic.empty())
            overridden = "QUENIX_MQTT_URL or QUENIX_MQTT_TOPIC is set: it overrides what is stored here.";
        if (!ShowMqttForm(s, overridden, this)) return;
        if (!SaveSettings(ctx_, s)) {
            view_.setStatus("MQTT: the settings could not be written to " + SettingsPath(ctx_) + ".");
            return;
        }
        bridge->SetKeys(LearnedKeys(ctx_.config.text()));
        const MqttSettings now = effective();
        bridge->Start(now);
        if (!now.enabled) note->setText("");
    });
}

} // namespace quenix
