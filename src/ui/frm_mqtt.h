#pragma once

#include "mqtt/mqtt_settings.h"

#include <QString>

class QWidget;

namespace quenix {

// Settings > MQTT: the broker, the account, the base topic and the discovery prefix. The stored
// password is never put back into the field: an empty field keeps it. note: a line shown above
// the fields (the environment overriding them). True when OK changed settings.
bool ShowMqttForm(MqttSettings& settings, const QString& note, QWidget* parent);

} // namespace quenix
