// `corvane doctor`: what this session offers and what Corvane will use, one
// line each, for the user and for bug reports: the kind of session, the
// keystroke backend and why, how target windows are found, the hot keys, the
// D-Bus session bus, and the serial ports with whether this user may open
// them. The exit status is 0 when keystrokes can be typed and the bus
// answers, 1 otherwise.

#include "app/Commands.h"
#include "app/Help.h"
#include "app/KeystrokeBackend.h"
#include "config/QtSettingsStore.h"
#include "control/X11HotKeys.h"
#include "serial/PortList.h"
#include "serial/PosixPort.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace app {

namespace {

void Line(const char* what, const std::string& text) {
    std::string head = std::string(what) + ":";
    head.resize(std::max<std::size_t>(head.size() + 1, 16), ' ');
    std::cout << head << text << '\n';
}

std::string TargetWindows(const KeystrokeBackend& backend) {
    if (backend.wlrootsKeyboard)
        return backend.wlrootsWindows && backend.wlrootsWindows->Usable()
                   ? "found by title and brought to the front through the compositor's window "
                     "list (zwlr_foreign_toplevel_manager_v1)"
                   : "the compositor offers no window list: keys go to the window that has the "
                     "focus, and TargetAppTitle finds nothing";
    if (backend.x11)
        return "found by title and brought to the front through the window manager "
               "(_NET_ACTIVE_WINDOW)";
    return "none: nothing can type";
}

std::string HotKeys(const output::SessionEnvironment& session) {
    if (session.display.empty())
        return "none: hot keys need an X display, and this session has none (Wayland without "
               "XWayland); bind keys in the desktop's own settings instead";
    if (!control::X11HotKeys::Open())
        return "none: the X display " + session.display + " cannot be opened";
    if (!session.waylandDisplay.empty())
        return "X11 (XGrabKey on DISPLAY=" + session.display +
               "): they reach Corvane only while an X11 program under XWayland has the focus";
    return "X11 (XGrabKey on DISPLAY=" + session.display + ")";
}

bool SessionBus(std::string& text) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
        text =
            std::string("not reachable") +
            (address ? std::string(" at ") + address : " (DBUS_SESSION_BUS_ADDRESS is not set)") +
            ": the DDE server, DDE links and `corvane dde` do not work";
        return false;
    }
    text = "connected (" + bus.baseService().toStdString() +
           "): the runtimes serve their items as org.corvane.Corvane.TOPIC";
    return true;
}

void SerialPorts() {
    const std::vector<serial::FoundDevice> devices = serial::FindSerialDevices();
    if (devices.empty()) {
        Line("serial ports", "none found (plug the adapter in; `corvane ports` lists them)");
        return;
    }
    for (const serial::FoundDevice& d : devices) {
        const std::string name = d.path == d.target ? d.path : d.path + " (" + d.target + ")";
        if (::access(d.target.c_str(), R_OK | W_OK) == 0)
            Line("serial port", name + ": may be opened");
        else
            Line("serial port",
                 name + ": " +
                     serial::OpenFailureReason(serial::DescribeOpenFailure(d.target, errno)));
    }
}

} // namespace

int CmdDoctor(int argc, char** argv, const Args& args) {
    if (!args.empty())
        return UsageError("doctor");
    QCoreApplication application(argc, argv);
    config::QtSettingsStore store;
    const output::KeyboardBackend preferred = output::StoredKeyboardBackend(store);
    const std::unique_ptr<KeystrokeBackend> backend = OpenKeystrokeBackend(preferred);

    Line("session", output::SessionKind(backend->session));
    const bool types = backend->keyboard() != nullptr;
    Line("keystrokes",
         (types ? "" : "none: ") + backend->choice.why +
             (preferred != output::KeyboardBackend::Auto
                  ? std::string(" (Preferences: ") + output::KeyboardBackendName(preferred) + ")"
                  : ""));
    Line("target windows", TargetWindows(*backend));
    Line("hot keys", HotKeys(backend->session));
    std::string bus;
    const bool busWorks = SessionBus(bus);
    Line("session bus", bus);
    SerialPorts();
    return types && busWorks ? 0 : 1;
}

} // namespace app
