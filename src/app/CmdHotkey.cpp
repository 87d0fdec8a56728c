// `corvane hotkey TOPIC SLOT`: runs hot key slot SLOT of the running runtime
// that serves TOPIC, over the session bus, as if its combination had been
// pressed. Desktops that give no program their keys (Wayland), or a
// combination another program holds, bind a key to this command instead.

#include "app/Commands.h"
#include "app/Help.h"
#include "control/DbusShared.h"
#include "control/DdeNames.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace app {

namespace {

std::optional<int> SlotNumber(const std::string& text) {
    int slot = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slot);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return slot;
}

} // namespace

int CmdHotkey(int argc, char** argv, const Args& args) {
    const std::optional<int> slot = args.size() == 2 ? SlotNumber(args[1]) : std::nullopt;
    if (!slot)
        return UsageError("hotkey");
    QCoreApplication application(argc, argv);
    const std::string busName = control::DdeBusName(control::DdeServerApp, args[0]);
    QDBusConnection bus = QDBusConnection::sessionBus();
    int status = 0;
    if (!bus.isConnected()) {
        ReportMessage("corvane hotkey", "no D-Bus session bus can be reached");
        status = 1;
    } else {
        QDBusMessage call =
            QDBusMessage::createMethodCall(control::FromBytes(busName), control::DdeObjectPath,
                                           control::RuntimeInterface, "PressHotKey");
        call << *slot;
        const QDBusMessage reply = bus.call(call, QDBus::Block, RuntimeAnswerTimeoutMs);
        if (reply.type() != QDBusMessage::ReplyMessage) {
            const QString name = reply.errorName();
            std::string text;
            if (name == QLatin1String(control::RuntimeErrorNoHotKey))
                text = busName + ": " + control::ToBytes(reply.errorMessage());
            else if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
                     name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
                text = "nobody serves " + busName + " on the session bus";
            else
                text = busName + ": " + control::ToBytes(reply.errorMessage());
            ReportMessage("corvane hotkey", text);
            status = 1;
        }
    }
    // As `corvane dde` does: Qt's bus thread may still hold an error answer
    // while static destructors run, so the program ends without them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

} // namespace app
