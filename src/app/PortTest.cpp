// `corvane run --test FILE`: the Port Test window on the configuration's port
// (or --port PATH), opened with the file's line settings. A proposal the user
// accepts there is written into FILE at once: without the setup window there
// is nothing else that would keep it.

#include "app/Commands.h"
#include "app/Headless.h"
#include "config/ConfigFile.h"
#include "config/QtSettingsStore.h"
#include "engine/PosixClock.h"
#include "runtime/Runtime.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "ui/PortTestWindow.h"
#include "ui/QtMessageSink.h"

#include <QApplication>

namespace app {

int RunPortTest(int argc, char** argv, const std::string& file,
                const std::optional<std::string>& portPath) {
    QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(DesktopFileName);
    // Set before anything opens: a signal that comes early closes the window
    // as soon as the event loop runs.
    std::unique_ptr<ui::PortTestWindow> window;
    SignalWatcher signalWatcher([&](int) {
        if (window)
            window->close();
        else
            QApplication::quit();
    });
    ui::QtMessageSink messages;
    config::Config cfg;
    if (!runtime::LoadActivationFile(cfg, file, messages))
        return 1;
    config::QtSettingsStore store;
    engine::PosixClock clock;
    const std::string device = serial::DevicePathFor(cfg, store, portPath);
    std::unique_ptr<serial::Port> port = serial::OpenPosixPort(cfg, device, messages, clock);
    if (!port)
        return 1;

    window = std::make_unique<ui::PortTestWindow>(cfg, *port, messages);
    messages.SetParent(window.get());
    window->onConfigured = [&] {
        if (!config::SaveConfigFile(cfg))
            messages.Show({"The configuration cannot be written to " + cfg.ConfigFileName + ".",
                           "Corvane File Error", config::MessageIcon::Exclamation,
                           config::MessageButtons::Ok});
    };
    window->show();
    const int status = application.exec();
    window.reset();
    port->ClosePort();
    return status;
}

} // namespace app
