#pragma once
// The settings of a runtime's link to an MQTT broker: where the broker is
// (mqtt://[user[:password]@]host[:port][/PREFIX], or mqtts:// for TLS), how
// it authenticates, the quality of service of the records, whether commands
// are taken from the network and which folder their files may come from.
//
// A configuration keeps them in a small INI file beside it, named after it
// (balance.QX3 -> balance.mqtt.ini), so that the configuration file keeps its
// own layout and the network settings travel with it. `corvane run --mqtt`
// sets them for one run.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace output {

inline constexpr int MqttPort = 1883;
inline constexpr int MqttsPort = 8883;
inline constexpr const char* DefaultTopicPrefix = "corvane";
// How much the queue of unpublished records may take on disk, by default.
inline constexpr std::uint64_t DefaultQueueLimitBytes = 64ull << 20;

// A broker URL taken apart.
struct BrokerAddress {
    bool tls = false;
    std::string user, password; // from the URL; empty when it names none
    std::string host;
    int port = MqttPort;
    std::string prefix = DefaultTopicPrefix;
    bool operator==(const BrokerAddress&) const = default;
};

// Parses mqtt:// and mqtts:// URLs. User and password may be percent-encoded
// (%40 for "@"); a literal IPv6 host is written in brackets. The prefix is
// the path without its slashes at both ends; it may not hold the MQTT
// wildcards + and #. nullopt, with why set, when the URL is not one.
std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& why);
// The URL of an address without its password (for messages and the page).
std::string BrokerUrl(const BrokerAddress& address, bool withPassword = false);

struct BrokerSettings {
    bool enabled = false;
    std::string url;
    std::string user;         // used when the URL names none
    std::string password;     // used when the URL names none
    std::string passwordFile; // its first line is the password, when neither names one
    std::string caFile;       // empty: the system's trust store
    std::string certFile;     // a client certificate (PEM), with its key
    std::string keyFile;
    int qos = 1;
    bool commands = false;
    std::string commandFolder; // the only folder commands may name files in
    std::uint64_t queueLimitBytes = DefaultQueueLimitBytes;
    bool operator==(const BrokerSettings&) const = default;
};

// What a run connects with: the address, the user and password after every
// source was asked, and the TLS files.
struct BrokerConnection {
    BrokerAddress address;
    std::string user, password;
    std::string caFile, certFile, keyFile;
    int qos = 1;
    bool commands = false;
    std::string commandFolder;
    std::uint64_t queueLimitBytes = DefaultQueueLimitBytes;
    bool operator==(const BrokerConnection&) const = default;
};

// The environment variable a password may come from.
inline constexpr const char* PasswordVariable = "CORVANE_MQTT_PASSWORD";

// getenv(name), for ResolveBrokerSettings.
std::optional<std::string> ProcessEnvironment(const char* name);

// The settings checked and resolved: the password from the URL, else the
// settings, else the password file's first line, else the environment
// (getenv(PasswordVariable)). Taking commands needs the connection to
// authenticate: a user name and password, or a client certificate. nullopt,
// with why set in words a user can act on, when they cannot be used.
std::optional<BrokerConnection>
ResolveBrokerSettings(const BrokerSettings& settings,
                      const std::function<std::optional<std::string>(const char*)>& getenv,
                      std::string& why);

// What `corvane run` gives on its command line (--mqtt URL, --mqtt-commands,
// --mqtt-qos N, ...): each given value wins over the configuration's file,
// and a URL enables publishing.
struct BrokerOverrides {
    std::optional<std::string> url;
    bool commands = false;
    std::optional<int> qos;
    std::optional<std::string> caFile, certFile, keyFile, passwordFile, commandFolder;
    bool Any() const {
        return url || commands || qos || caFile || certFile || keyFile || passwordFile ||
               commandFolder;
    }
};
BrokerSettings Overridden(BrokerSettings settings, const BrokerOverrides& overrides);

// The folder name of a runtime's queue under the user's state folder: one
// per broker, prefix and topic, so that a restart finds its records.
std::string QueueFolderName(const BrokerAddress& address, const std::string& busTopic);

// balance.QX3 -> balance.mqtt.ini, in the same folder.
std::string BrokerSettingsPath(const std::string& configFile);
// The settings of the file; defaults (not enabled) when it does not exist.
// nullopt, with why set, when it exists but cannot be read or holds a value
// that cannot be.
std::optional<BrokerSettings> ReadBrokerSettings(const std::string& path, std::string& why);
// Writes the file, readable by its owner only (it may hold a password).
bool WriteBrokerSettings(const std::string& path, const BrokerSettings& settings);

// The topics of a runtime: PREFIX/TOPIC/record, .../status, .../execute and
// .../execute/result, where TOPIC is the runtime's DDE topic as its D-Bus
// name shows it (COM1; "Line 2" becomes Line_2).
struct BrokerTopics {
    std::string record, status, execute, result;
};
BrokerTopics TopicsFor(const std::string& prefix, const std::string& busTopic);

} // namespace output
