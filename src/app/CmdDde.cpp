// `corvane dde execute|request|poke|watch APP TOPIC ...`: talks to the DDE
// server of a Corvane runtime (or any program that follows the Corvane D-Bus
// convention) on the session bus. Texts are bytes: byte n travels as
// character n. Exit status 0 on success; 1 when the command is refused, the
// item is unknown, nobody serves that name or there is no session bus (the
// message on standard error says which); 2 on usage errors.

#include "app/Commands.h"
#include "app/Headless.h"
#include "app/Help.h"
#include "control/DbusClient.h"
#include "control/DdeNames.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace app {

namespace {

// The message for an answer that is not a success, and the exit status 1.
int Report(const control::DdeAnswer& answer, const std::string& busName, const std::string& what) {
    std::string text;
    switch (answer.kind) {
    case control::DdeAnswer::Ok:
        return 0;
    case control::DdeAnswer::Refused: {
        text = busName + " refused the command " + what;
        // A Corvane runtime says why, where it can: "... (REASON)".
        const std::string lead = "The command was refused: " + what + " (";
        if (answer.error.size() > lead.size() && answer.error.rfind(lead, 0) == 0 &&
            answer.error.back() == ')')
            text += ": " + answer.error.substr(lead.size(), answer.error.size() - lead.size() - 1);
        break;
    }
    case control::DdeAnswer::UnknownItem:
        text = busName + " has no item " + what;
        break;
    case control::DdeAnswer::NoServer:
        text = "nobody serves " + busName + " on the session bus";
        break;
    case control::DdeAnswer::NoBus:
        text = "no D-Bus session bus can be reached";
        break;
    case control::DdeAnswer::Failed:
        text = busName + ": " + answer.error;
        break;
    }
    ReportMessage("corvane dde", text);
    return 1;
}

void PrintLine(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Prints the item's text, then every new one, until interrupted (status 0)
// or until the server goes away (status 1).
int Watch(const std::string& app, const std::string& topic, const std::string& item) {
    const std::string busName = control::DdeBusName(app, topic);
    control::DbusClient client;
    int status = 0;
    auto finish = [&status](int s) {
        status = s;
        QCoreApplication::quit();
    };
    control::LinkEvents events;
    events.value = PrintLine;
    events.failed = [&] {
        // Asked once more, to say why.
        auto answer = control::CallDde(QDBusConnection::sessionBus(), busName, "Request", {item},
                                       RuntimeAnswerTimeoutMs);
        if (answer.kind == control::DdeAnswer::Ok)
            answer = {control::DdeAnswer::Failed, "", "no answer in time"};
        finish(Report(answer, busName, item));
    };
    events.dropped = [&] {
        ReportMessage("corvane dde", busName + " went away");
        finish(1);
    };
    if (client.StartLink(app, topic, item, events) == 0)
        return Report({control::DdeAnswer::NoBus, "", ""}, busName, item);
    SignalWatcher signalWatcher([&](int) { finish(0); });
    QCoreApplication::exec();
    return status;
}

} // namespace

int CmdDde(int argc, char** argv, const Args& args) {
    const std::string verb = args.empty() ? "" : args[0];
    const std::size_t wanted = verb == "poke" ? 5 : 4;
    if ((verb != "execute" && verb != "request" && verb != "poke" && verb != "watch") ||
        args.size() != wanted) {
        return UsageError("dde");
    }
    QCoreApplication application(argc, argv);
    const std::string& app = args[1];
    const std::string& topic = args[2];
    int status = 0;
    if (verb == "watch") {
        status = Watch(app, topic, args[3]);
    } else {
        const std::string busName = control::DdeBusName(app, topic);
        const QDBusConnection bus = QDBusConnection::sessionBus();
        if (verb == "execute") {
            status =
                Report(control::CallDde(bus, busName, "Execute", {args[3]}, RuntimeAnswerTimeoutMs),
                       busName, args[3]);
        } else if (verb == "poke") {
            status = Report(
                control::CallDde(bus, busName, "Poke", {args[3], args[4]}, RuntimeAnswerTimeoutMs),
                busName, args[3]);
        } else {
            const auto answer =
                control::CallDde(bus, busName, "Request", {args[3]}, RuntimeAnswerTimeoutMs);
            if (answer.kind == control::DdeAnswer::Ok)
                PrintLine(answer.text);
            status = Report(answer, busName, args[3]);
        }
    }
    // Qt's bus thread may still be passing an error answer around when the
    // program ends, and would then race the static destructors ("Trying to
    // construct an instance of an invalid type"): the program ends without them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

} // namespace app
