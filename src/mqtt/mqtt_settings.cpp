#include "mqtt/mqtt_settings.h"

#include "core/text.h"

#include <charconv>

namespace quenix {

std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& error) {
    BrokerAddress a;
    std::string_view rest;
    if (url.rfind("mqtt://", 0) == 0) {
        rest = url.substr(7);
    } else if (url.rfind("mqtts://", 0) == 0) {
        rest = url.substr(8);
        a.tls = true;
        a.port = 8883;
    } else {
        error = "The broker address must begin with mqtt:// or mqtts://.";
        return std::nullopt;
    }
    if (!rest.empty() && rest.back() == '/') rest.remove_suffix(1);
    std::string_view port;
    bool hasPort = false;
    if (!rest.empty() && rest.front() == '[') {
        const auto close = rest.find(']');
        if (close == std::string_view::npos) {
            error = "The broker address has an unclosed [.";
            return std::nullopt;
        }
        a.host = std::string(rest.substr(1, close - 1));
        rest = rest.substr(close + 1);
        if (!rest.empty() && rest.front() != ':') a.host.clear();
        hasPort = !rest.empty();
        if (hasPort) port = rest.substr(1);
    } else {
        const auto colon = rest.find(':');
        a.host = std::string(rest.substr(0, colon));
        hasPort = colon != std::string_view::npos;
        if (hasPort) port = rest.substr(colon + 1);
    }
    if (a.host.empty() || a.host.find_first_of("/@ ") != std::string::npos) {
        error = "The broker address names no host.";
        return std::nullopt;
    }
    if (hasPort) {
        int p = 0;
        auto [end, ec] = std::from_chars(port.data(), port.data() + port.size(), p);
        if (ec != std::errc() || end != port.data() + port.size() || p < 1 || p > 65535) {
            error = "The broker's port must be a number from 1 to 65535.";
            return std::nullopt;
        }
        a.port = p;
    }
    return a;
}

std::string DefaultBaseTopic(std::string_view hostName) {
    std::string host;
    for (char c : hostName.substr(0, hostName.find('.')))
        if (c != '/' && c != '+' && c != '#' && static_cast<unsigned char>(c) > 0x20) host += c;
    return "quenix/" + (host.empty() ? std::string("pc") : host);
}

std::string BaseTopicProblem(std::string_view topic) {
    if (topic.empty()) return "The base topic is empty.";
    if (topic.find_first_of("+#") != std::string_view::npos) return "The base topic must not hold + or #.";
    if (topic.front() == '/' || topic.back() == '/' || topic.find("//") != std::string_view::npos)
        return "The base topic has an empty level.";
    return {};
}

MqttSettings ReadMqttSettings(std::string_view text) {
    MqttSettings s;
    while (!text.empty()) {
        const auto nl = text.find('\n');
        std::string_view line = text.substr(0, nl);
        text = nl == std::string_view::npos ? std::string_view{} : text.substr(nl + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const auto eq = line.find('=');
        if (eq == std::string_view::npos || line.front() == '#') continue;
        const std::string key = ToLower(Trim(std::string(line.substr(0, eq))));
        const std::string value(line.substr(eq + 1));
        if (key == "enabled")
            s.enabled = Trim(value) == "1";
        else if (key == "url")
            s.url = Trim(value);
        else if (key == "user")
            s.user = value;
        else if (key == "password")
            s.password = value;
        else if (key == "topic")
            s.baseTopic = Trim(value);
        else if (key == "discovery")
            s.discoveryPrefix = Trim(value);
    }
    return s;
}

std::string WriteMqttSettings(const MqttSettings& s) {
    return "# MQTT link of Quenix Remote Manager\n"
           "ENABLED=" +
           std::string(s.enabled ? "1" : "0") + "\nURL=" + s.url + "\nUSER=" + s.user + "\nPASSWORD=" + s.password +
           "\nTOPIC=" + s.baseTopic + "\nDISCOVERY=" + s.discoveryPrefix + "\n";
}

void ApplyMqttEnvironment(MqttSettings& s, const char* url, const char* topic) {
    if (url && *url) {
        s.url = url;
        s.enabled = true;
    }
    if (topic && *topic) s.baseTopic = topic;
}

} // namespace quenix
