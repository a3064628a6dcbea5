#pragma once

// The browser remote's settings window: on or off, this PC only or the home network, the port,
// the address to open on a phone and its QR code, and a new token that unpairs every phone.

#include "web/web_settings.h"

#include <QString>

class QWidget;

namespace quenix {

// What the window reads and changes; the main window's wiring implements it.
class WebRemoteControl {
public:
    virtual ~WebRemoteControl() = default;
    virtual web::WebSettings settings() const = 0;
    // Stores the settings and starts, moves or stops the server.
    virtual void Apply(const web::WebSettings& s) = 0;
    virtual void RenewToken() = 0;
    // The address a phone opens, token included; empty while the server is off.
    virtual QString Url() const = 0;
    // Where the server listens, or why it does not.
    virtual QString Status() const = 0;
    // Set when the environment overrides what the window stores.
    virtual QString Note() const = 0;
};

void ShowWebForm(WebRemoteControl& control, QWidget* parent);

} // namespace quenix
