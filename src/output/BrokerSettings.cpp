#include "output/BrokerSettings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace output {

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// %XX sequences made bytes; nullopt for a broken one.
std::optional<std::string> PercentDecode(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size())
            return std::nullopt;
        const int hi = HexDigit(text[i + 1]), lo = HexDigit(text[i + 2]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
    }
    return out;
}

std::string PercentEncode(std::string_view text) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (char c : text) {
        const auto b = static_cast<unsigned char>(c);
        if (std::isalnum(b) || c == '-' || c == '.' || c == '_' || c == '~') {
            out += c;
        } else {
            out += '%';
            out += hex[b >> 4];
            out += hex[b & 15];
        }
    }
    return out;
}

std::string Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return "";
    return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

std::optional<int> WholeNumber(std::string_view text) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<bool> Boolean(std::string_view text) {
    if (text == "true" || text == "1" || text == "yes")
        return true;
    if (text == "false" || text == "0" || text == "no" || text.empty())
        return false;
    return std::nullopt;
}

} // namespace

std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& why) {
    BrokerAddress a;
    std::string_view rest;
    if (url.starts_with("mqtt://")) {
        rest = url.substr(7);
    } else if (url.starts_with("mqtts://")) {
        rest = url.substr(8);
        a.tls = true;
        a.port = MqttsPort;
    } else {
        why = "A broker address starts with mqtt:// or mqtts://, as in mqtt://broker.lab/corvane.";
        return std::nullopt;
    }
    std::string_view path;
    if (const std::size_t slash = rest.find('/'); slash != std::string_view::npos) {
        path = rest.substr(slash + 1);
        rest = rest.substr(0, slash);
    }
    if (const std::size_t at = rest.rfind('@'); at != std::string_view::npos) {
        std::string_view userInfo = rest.substr(0, at);
        rest = rest.substr(at + 1);
        const std::size_t colon = userInfo.find(':');
        auto user = PercentDecode(userInfo.substr(0, colon));
        auto password = colon == std::string_view::npos ? std::optional<std::string>("")
                                                        : PercentDecode(userInfo.substr(colon + 1));
        if (!user || !password) {
            why = "The user name or password of the broker address has a broken %-escape.";
            return std::nullopt;
        }
        a.user = *user;
        a.password = *password;
    }
    std::string_view portText;
    if (rest.starts_with("[")) {
        const std::size_t close = rest.find(']');
        if (close == std::string_view::npos) {
            why = "The broker address has an IPv6 host without its closing bracket.";
            return std::nullopt;
        }
        a.host = std::string(rest.substr(1, close - 1));
        rest = rest.substr(close + 1);
        if (!rest.empty() && rest.front() != ':') {
            why = "The broker address has something after its IPv6 host that is not a port.";
            return std::nullopt;
        }
        if (!rest.empty())
            portText = rest.substr(1);
    } else {
        const std::size_t colon = rest.rfind(':');
        a.host = std::string(rest.substr(0, colon));
        if (colon != std::string_view::npos)
            portText = rest.substr(colon + 1);
    }
    if (a.host.empty()) {
        why = "The broker address names no host, as in mqtt://broker.lab.";
        return std::nullopt;
    }
    if (!portText.empty() || rest.ends_with(":")) {
        const auto port = WholeNumber(portText);
        if (!port || *port < 1 || *port > 65535) {
            why = "The port of the broker address must be a number from 1 to 65535.";
            return std::nullopt;
        }
        a.port = *port;
    }
    while (!path.empty() && path.back() == '/')
        path.remove_suffix(1);
    if (!path.empty()) {
        if (path.find_first_of("+#") != std::string_view::npos || path.find("//") != path.npos) {
            why = "The topic prefix of the broker address may not hold + or # or an empty level.";
            return std::nullopt;
        }
        a.prefix = std::string(path);
    }
    return a;
}

std::string BrokerUrl(const BrokerAddress& a, bool withPassword) {
    std::string url = a.tls ? "mqtts://" : "mqtt://";
    if (!a.user.empty()) {
        url += PercentEncode(a.user);
        if (withPassword && !a.password.empty())
            url += ':' + PercentEncode(a.password);
        url += '@';
    }
    url += a.host.find(':') != std::string::npos ? "[" + a.host + "]" : a.host;
    if (a.port != (a.tls ? MqttsPort : MqttPort))
        url += ':' + std::to_string(a.port);
    return url + '/' + a.prefix;
}

std::optional<std::string> ProcessEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<BrokerConnection>
ResolveBrokerSettings(const BrokerSettings& s,
                      const std::function<std::optional<std::string>(const char*)>& getenv,
                      std::string& why) {
    auto address = ParseBrokerUrl(s.url, why);
    if (!address)
        return std::nullopt;
    if (s.qos < 0 || s.qos > 2) {
        why = "The quality of service is 0, 1 or 2.";
        return std::nullopt;
    }
    BrokerConnection c;
    c.user = !address->user.empty() ? address->user : s.user;
    c.password = !address->password.empty() ? address->password : s.password;
    if (c.password.empty() && !s.passwordFile.empty()) {
        std::ifstream file(s.passwordFile);
        if (!file) {
            why = "The password file " + s.passwordFile + " cannot be read.";
            return std::nullopt;
        }
        std::getline(file, c.password);
        if (!c.password.empty() && c.password.back() == '\r')
            c.password.pop_back();
    }
    if (c.password.empty())
        if (auto fromEnvironment = getenv(PasswordVariable))
            c.password = *fromEnvironment;
    if (!c.password.empty() && c.user.empty()) {
        why = "A password is given for the broker but no user name: add it to the address, as "
              "in mqtt://USER@" +
              address->host + ", or set the user name.";
        return std::nullopt;
    }
    if (s.certFile.empty() != s.keyFile.empty()) {
        why = "A client certificate needs its key, and a key its certificate: give both files.";
        return std::nullopt;
    }
    if (!s.certFile.empty() && !address->tls) {
        why = "A client certificate is used over TLS only: the address must start with mqtts://.";
        return std::nullopt;
    }
    if (!s.caFile.empty() && !address->tls) {
        why = "A CA file is used over TLS only: the address must start with mqtts://.";
        return std::nullopt;
    }
    if (s.commands && c.user.empty() && s.certFile.empty()) {
        why = "Commands from the network need a connection that authenticates: give a user name "
              "and password, or a client certificate.";
        return std::nullopt;
    }
    if (s.queueLimitBytes == 0) {
        why = "The queue of unpublished records needs room on disk: its limit must be above 0.";
        return std::nullopt;
    }
    c.address = std::move(*address);
    c.caFile = s.caFile;
    c.certFile = s.certFile;
    c.keyFile = s.keyFile;
    c.qos = s.qos;
    c.commands = s.commands;
    c.commandFolder = s.commandFolder;
    c.queueLimitBytes = s.queueLimitBytes;
    return c;
}

std::string BrokerSettingsPath(const std::string& configFile) {
    std::filesystem::path p(configFile);
    p.replace_extension(".mqtt.ini");
    return p.string();
}

std::optional<BrokerSettings> ReadBrokerSettings(const std::string& path, std::string& why) {
    BrokerSettings s;
    std::error_code ec;
    if (!std::filesystem::exists(path, ec))
        return s;
    std::ifstream file(path);
    if (!file) {
        why = "The network settings " + path + " cannot be read.";
        return std::nullopt;
    }
    std::string line;
    std::string section;
    int lineNumber = 0;
    while (std::getline(file, line)) {
        ++lineNumber;
        const std::string text = Trim(line);
        if (text.empty() || text[0] == '#' || text[0] == ';')
            continue;
        if (text.front() == '[' && text.back() == ']') {
            section = text.substr(1, text.size() - 2);
            continue;
        }
        const std::size_t eq = text.find('=');
        if (section != "Broker" || eq == std::string::npos)
            continue; // other sections belong to later versions
        const std::string key = Trim(text.substr(0, eq));
        const std::string value = Trim(text.substr(eq + 1));
        bool ok = true;
        if (key == "Enabled") {
            auto b = Boolean(value);
            ok = b.has_value();
            s.enabled = b.value_or(false);
        } else if (key == "Commands") {
            auto b = Boolean(value);
            ok = b.has_value();
            s.commands = b.value_or(false);
        } else if (key == "Qos") {
            auto n = WholeNumber(value);
            ok = n && *n >= 0 && *n <= 2;
            s.qos = n.value_or(1);
        } else if (key == "QueueLimitMB") {
            auto n = WholeNumber(value);
            ok = n && *n > 0;
            s.queueLimitBytes = static_cast<std::uint64_t>(n.value_or(1)) << 20;
        } else if (key == "Url") {
            s.url = value;
        } else if (key == "User") {
            s.user = value;
        } else if (key == "Password") {
            s.password = value;
        } else if (key == "PasswordFile") {
            s.passwordFile = value;
        } else if (key == "CaFile") {
            s.caFile = value;
        } else if (key == "CertFile") {
            s.certFile = value;
        } else if (key == "KeyFile") {
            s.keyFile = value;
        } else if (key == "CommandFolder") {
            s.commandFolder = value;
        }
        if (!ok) {
            why = path + ", line " + std::to_string(lineNumber) + ": " + key + " cannot be \"" +
                  value + "\".";
            return std::nullopt;
        }
    }
    return s;
}

bool WriteBrokerSettings(const std::string& path, const BrokerSettings& s) {
    std::ostringstream out;
    out << "# Corvane's network settings for the configuration beside this file:\n"
        << "# records to an MQTT broker, commands from it.\n"
        << "[Broker]\n"
        << "Enabled=" << (s.enabled ? "true" : "false") << '\n'
        << "Url=" << s.url << '\n'
        << "User=" << s.user << '\n'
        << "Password=" << s.password << '\n'
        << "PasswordFile=" << s.passwordFile << '\n'
        << "CaFile=" << s.caFile << '\n'
        << "CertFile=" << s.certFile << '\n'
        << "KeyFile=" << s.keyFile << '\n'
        << "Qos=" << s.qos << '\n'
        << "Commands=" << (s.commands ? "true" : "false") << '\n'
        << "CommandFolder=" << s.commandFolder << '\n'
        << "QueueLimitMB=" << std::max<std::uint64_t>(1, s.queueLimitBytes >> 20) << '\n';
    // Written beside it and renamed over it: a reader never sees half a file.
    const std::string temporary = path + ".new";
    {
        std::ofstream file(temporary, std::ios::trunc);
        if (!file)
            return false;
        std::error_code ec;
        std::filesystem::permissions(
            temporary, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
            ec);
        file << out.str();
        if (!file.flush())
            return false;
    }
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        std::filesystem::remove(temporary, ec);
        return false;
    }
    return true;
}

BrokerSettings Overridden(BrokerSettings s, const BrokerOverrides& o) {
    if (o.url) {
        s.url = *o.url;
        s.enabled = true;
    }
    if (o.commands)
        s.commands = true;
    if (o.qos)
        s.qos = *o.qos;
    for (auto [value, target] : {std::pair{&o.caFile, &s.caFile},
                                 {&o.certFile, &s.certFile},
                                 {&o.keyFile, &s.keyFile},
                                 {&o.passwordFile, &s.passwordFile},
                                 {&o.commandFolder, &s.commandFolder}})
        if (*value)
            *target = **value;
    return s;
}

std::string QueueFolderName(const BrokerAddress& a, const std::string& busTopic) {
    std::string name = a.host + "_" + std::to_string(a.port) + "_" + a.prefix + "_" + busTopic;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '-')
            c = '_';
    return name;
}

BrokerTopics TopicsFor(const std::string& prefix, const std::string& busTopic) {
    const std::string base = prefix + '/' + busTopic + '/';
    return {base + "record", base + "status", base + "execute", base + "execute/result"};
}

} // namespace output
