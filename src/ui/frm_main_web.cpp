#include "ui/frm_main.h"

#include "ui/frm_web.h"
#include "ui/web_transport.h"
#include "web/web_remote.h"
#include "web/web_settings.h"

#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QSaveFile>

#include <chrono>
#include <cstdlib>

namespace quenix {
namespace {

QByteArray PageBytes() {
    QFile f(":/web/remote.html");
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<!doctype html><p>The page is missing from this build.");
}

class WebRemoteWiring : public QObject, public WebRemoteControl {
public:
    WebRemoteWiring(std::string folder, web::Remote::Backend backend, QObject* parent)
        : QObject(parent), path_(QString::fromStdString(folder + "/" + web::kSettingsFile)),
          remote_(std::move(backend), PageBytes().toStdString()) {
        envWeb_ = std::getenv("QUENIX_WEB");
        envToken_ = std::getenv("QUENIX_WEB_TOKEN");
        QFile f(path_);
        if (f.open(QIODevice::ReadOnly)) settings_ = web::ReadWebSettings(f.readAll().toStdString());
        if (settings_.token.empty()) {
            settings_.token = web::NewToken();
            Save();
        }
        Restart();
    }

    web::WebSettings settings() const override { return settings_; }
    void Apply(const web::WebSettings& s) override {
        settings_ = s;
        Save();
        Restart();
    }
    void RenewToken() override {
        settings_.token = web::NewToken();
        Save();
        Restart();
        if (server_) server_->DropClients();
    }
    QString Url() const override {
        if (!server_ || !server_->listening()) return {};
        QString host = QString::fromStdString(at_.address);
        if (host == "0.0.0.0" || host == "::") host = server_->HomeAddress();
        if (host.contains(':')) host = "[" + host + "]";
        return "http://" + host + ":" + QString::number(server_->port()) + "/?t=" + QString::fromStdString(remote_.token());
    }
    QString Status() const override { return status_; }
    QString Note() const override {
        if ((envWeb_ && *envWeb_) || (envToken_ && *envToken_))
            return "QUENIX_WEB or QUENIX_WEB_TOKEN is set: it overrides what is stored here.";
        return {};
    }
    web::Remote& remote() { return remote_; }
    // Every phone hears of a key; nobody listens while the server is off.
    void Broadcast(const std::string& json) {
        if (server_) server_->Broadcast(json);
    }

private:
    void Save() {
        QSaveFile f(path_);
        if (!f.open(QIODevice::WriteOnly)) return;
        f.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner); // the token pairs phones
        f.write(QByteArray::fromStdString(web::WriteWebSettings(settings_)));
        f.commit();
    }
    void Restart() {
        web::WebSettings s = settings_;
        at_ = web::ListenOf(s);
        std::string error;
        if (!web::ApplyWebEnvironment(s, at_, envWeb_, envToken_, error)) {
            if (server_) server_->Close();
            status_ = QString::fromStdString(error);
            return;
        }
        remote_.SetToken(s.token);
        if (!s.enabled) {
            if (server_) server_->Close();
            status_ = "The web remote is off.";
            return;
        }
        QString why;
        if (!server_) server_ = LoadWebTransport(remote_, why);
        if (!server_) {
            status_ = "The web remote is not available: " + why;
            return;
        }
        if (!server_->Listen(QString::fromStdString(at_.address), static_cast<quint16>(at_.port), why)) {
            status_ = "The web remote cannot listen on " + QString::fromStdString(at_.address) + ":" +
                      QString::number(at_.port) + ": " + why;
            return;
        }
        status_ = "Serving on " + QString::fromStdString(at_.address) + ":" + QString::number(server_->port()) + ".";
    }

    QString path_;
    const char* envWeb_ = nullptr;
    const char* envToken_ = nullptr;
    web::WebSettings settings_;
    web::ListenAt at_;
    web::Remote remote_;
    std::unique_ptr<WebTransport> server_;
    QString status_;
};

} // namespace

// The browser remote: a page and a WebSocket served on this thread's event loop. Its sends run
// through the executor as the Send button's do; its keypad's keys are events of the device "Web"
// and go through the monitored-events table while monitoring runs.
void FrmMain::wireWeb() {
    web::Remote::Backend backend;
    backend.devices = [this] {
        return web::SendableDevices(browser_->DeviceNames(),
                                    [this](const std::string& d) { return browser_->CommandsOf(d); },
                                    ctx_.config.settings());
    };
    backend.send = [this](const std::string& device, const std::string& command) -> web::Outcome {
        if (!executor_) return {false, "Sending is not available."};
        std::string result = executor_->Execute(device, command);
        view_.setStatus(result);
        return {executor_->lastOk(), result};
    };
    backend.press = [this](const std::string& key) -> web::Outcome {
        if (!monitor_ || !ctx_.monitoring) return {false, "Monitoring is off."};
        view_.setText("RecCmd", key);
        const std::string done = monitor_->HandleEvent(key);
        view_.setText("ExecCmd", done.empty() ? "none" : done);
        return {true, done.empty() ? "No event for " + key + "." : done};
    };
    backend.held = [this](const std::string& key, const KeyPress::Step& step) {
        if (!monitor_ || !ctx_.monitoring) return;
        const std::string done = monitor_->HandleHeld(key, step);
        if (!done.empty()) view_.setText("ExecCmd", done);
    };
    backend.nowMs = [] {
        using namespace std::chrono;
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    };
    auto* wiring = new WebRemoteWiring(ctx_.config.folder(), std::move(backend), this);
    if (wiring->Status().startsWith("The web remote cannot") || wiring->Status().startsWith("The web remote is not") || wiring->Status().startsWith("QUENIX_WEB"))
        view_.setStatus(wiring->Status().toStdString());

    if (monitor_) {
        auto previous = monitor_->hooks().keyRecognised;
        monitor_->hooks().keyRecognised = [wiring, previous](const std::string& key, int repeat) {
            if (previous) previous(key, repeat);
            wiring->Broadcast(wiring->remote().Received(key, repeat));
        };
    }
    QMenu* settingsMenu = menuBar()->findChild<QMenu*>("SettingsMenu");
    QAction* item = settingsMenu->addAction("Web &remote...");
    item->setObjectName("WebRemoteMenu");
    connect(item, &QAction::triggered, this, [this, wiring] { ShowWebForm(*wiring, this); });
}

} // namespace quenix
