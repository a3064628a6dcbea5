#pragma once

// The MQTT link's settings: a small file of its own beside telvorin.cfg (whose grammar has no
// room for them), and the environment variables that services and tests set instead.

#include <optional>
#include <string>
#include <string_view>

namespace quenix {

inline constexpr const char* kMqttSettingsFile = "mqtt.cfg";

struct MqttSettings {
    bool enabled = false;
    std::string url = "mqtt://localhost:1883";
    std::string user;
    std::string password;
    std::string baseTopic;                         // empty: quenix/<host name>
    std::string discoveryPrefix = "homeassistant"; // empty: no discovery messages
};

struct BrokerAddress {
    std::string host;
    int port = 1883;
    bool tls = false;
};

// mqtt://host[:port] or mqtts://host[:port] (1883 and 8883 by default); a bracketed IPv6 host
// is allowed. Nothing, with the reason in error, for anything else.
std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& error);

// quenix/<host>, the host name cut at its first dot and stripped of what a topic level cannot hold.
std::string DefaultBaseTopic(std::string_view hostName);
// Why a base topic cannot be used (wildcards, empty levels), or empty when it can.
std::string BaseTopicProblem(std::string_view topic);

// KEY=value lines; unknown keys are ignored so an older program reads a newer file.
MqttSettings ReadMqttSettings(std::string_view text);
std::string WriteMqttSettings(const MqttSettings& s);

// QUENIX_MQTT_URL switches the link on and points it at a broker; QUENIX_MQTT_TOPIC sets the
// base topic. Null or empty values leave the file's settings.
void ApplyMqttEnvironment(MqttSettings& s, const char* url, const char* topic);

} // namespace quenix
