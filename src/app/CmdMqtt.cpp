// `corvane mqtt-check URL|FILE`: whether a broker can be reached with the
// given settings (or those of a configuration's balance.mqtt.ini), and the
// --mqtt options that `run` shares with it.

#include "app/Commands.h"
#include "app/Help.h"
#include "output/BrokerSettings.h"
#include "output/MqttProbe.h"

#include <QCoreApplication>

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace app {

namespace {

// How long the check waits for the broker.
constexpr int CheckLimitMs = 15000;

} // namespace

bool ParseBrokerOption(const Args& args, std::size_t& i, output::BrokerOverrides& broker) {
    const std::string& a = args[i];
    if (a == "--mqtt-commands") {
        broker.commands = true;
        return true;
    }
    const bool hasValue = i + 1 < args.size();
    if (a == "--mqtt-qos" && hasValue) {
        const std::string& text = args[i + 1];
        int qos = -1;
        const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), qos);
        if (ec != std::errc() || end != text.data() + text.size() || qos < 0 || qos > 2)
            return false;
        broker.qos = qos;
        ++i;
        return true;
    }
    const std::pair<const char*, std::optional<std::string> output::BrokerOverrides::*> valued[] = {
        {"--mqtt", &output::BrokerOverrides::url},
        {"--mqtt-ca", &output::BrokerOverrides::caFile},
        {"--mqtt-cert", &output::BrokerOverrides::certFile},
        {"--mqtt-key", &output::BrokerOverrides::keyFile},
        {"--mqtt-password-file", &output::BrokerOverrides::passwordFile},
        {"--mqtt-folder", &output::BrokerOverrides::commandFolder}};
    for (const auto& [name, member] : valued) {
        if (a == name && hasValue) {
            broker.*member = args[++i];
            return true;
        }
    }
    return false;
}

int CmdMqttCheck(int argc, char** argv, const Args& args) {
    std::optional<std::string> target;
    output::BrokerOverrides overrides;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        // The broker is the argument; a check takes no commands.
        if (a == "--mqtt" || a == "--mqtt-commands" || a == "--mqtt-folder")
            return UsageError("mqtt-check");
        if (ParseBrokerOption(args, i, overrides))
            continue;
        if (a.empty() || a[0] == '-' || target)
            return UsageError("mqtt-check");
        target = a;
    }
    if (!target)
        return UsageError("mqtt-check");
    output::BrokerSettings settings;
    std::string why;
    if (target->starts_with("mqtt://") || target->starts_with("mqtts://")) {
        settings.url = *target;
    } else {
        const std::string ini = output::BrokerSettingsPath(*target);
        auto read = output::ReadBrokerSettings(ini, why);
        if (!read) {
            std::fprintf(stderr, "corvane: %s\n", why.c_str());
            return 1;
        }
        if (read->url.empty()) {
            std::fprintf(stderr, "corvane: %s names no broker (its network settings are in %s)\n",
                         target->c_str(), ini.c_str());
            return 1;
        }
        settings = *read;
    }
    settings = output::Overridden(settings, overrides);
    settings.commands = false; // a check takes no commands
    const auto connection = output::ResolveBrokerSettings(settings, output::ProcessEnvironment, why);
    if (!connection) {
        std::fprintf(stderr, "corvane: %s\n", why.c_str());
        return 2;
    }
    QCoreApplication application(argc, argv);
    output::MqttProbe probe;
    int status = 1;
    const std::string url = output::BrokerUrl(connection->address);
    probe.Start(*connection, CheckLimitMs, [&](bool ok, const std::string& reason) {
        if (ok) {
            std::printf("The broker %s takes the connection%s%s.\n", url.c_str(),
                        connection->address.tls ? " over TLS" : "",
                        connection->user.empty() ? "" : (" as " + connection->user).c_str());
            status = 0;
        } else {
            std::fprintf(stderr, "corvane: the broker %s cannot be reached: %s\n", url.c_str(),
                         reason.c_str());
        }
        QCoreApplication::exit(status);
    });
    application.exec();
    return status;
}

} // namespace app
