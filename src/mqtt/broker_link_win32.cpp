#include "mqtt/mqtt_link.h"

namespace quenix {

// The Windows builds carry no MQTT client library; the settings window says so.
std::unique_ptr<MqttLink> MakeBrokerLink(std::function<void(std::function<void()>)>) { return nullptr; }

} // namespace quenix
