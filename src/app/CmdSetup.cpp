// `corvane [FILE]`: the setup window with FILE, or with the last file used,
// or untitled defaults. Its Run menu activates the configuration as it is in
// memory: the setup window hides while the runtime window (or the Port Test
// window) is open and comes back when it closes.

#include "app/Commands.h"
#include "app/Headless.h"
#include "app/Help.h"
#include "app/WindowedRuntime.h"
#include "config/ConfigFile.h"
#include "config/QtSettingsStore.h"
#include "config/RecentFiles.h"
#include "engine/PosixClock.h"
#include "serial/PortSettings.h"
#include "serial/PosixPort.h"
#include "ui/PortTestWindow.h"
#include "ui/QtMessageSink.h"
#include "ui/SetupWindow.h"

#include <QApplication>
#include <QTimer>

#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace app {

int RunSetup(int argc, char** argv, const std::optional<std::string>& file) {
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) {
        std::cerr << "corvane: the setup window needs a display, and none is set (DISPLAY); "
                     "the commands below work without one.\n\n"
                  << OverviewHelp();
        return 2;
    }
    QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(DesktopFileName);
    // The runtime and Port Test windows come and go; the program ends with
    // the setup window.
    application.setQuitOnLastWindowClosed(false);
    ui::QtMessageSink messages;
    config::QtSettingsStore store;
    config::Config cfg;
    const std::vector<std::string> recent = config::ReadRecentFiles(store);
    const std::string start = file ? *file : recent.empty() ? std::string() : recent.front();
    if (start.empty())
        config::ResetToDefaults(cfg);
    else
        config::NewOrLoadAtStart(cfg, start, messages, true);
    if (cfg.ConfigLoaded)
        config::WriteRecentFiles(
            store, config::AddRecentFile(
                       recent, std::filesystem::absolute(start).lexically_normal().string()));

    ui::SetupWindow window(cfg, store, messages);
    messages.SetParent(&window);
    window.onClosed = [] { QApplication::quit(); };

    std::unique_ptr<WindowedRuntime> runtime;
    engine::PosixClock clock;
    std::unique_ptr<serial::Port> testPort;
    ui::PortTestWindow* tester = nullptr; // deletes itself on close

    auto backToSetup = [&] {
        messages.SetParent(&window);
        window.Refresh();
        window.show();
        window.raise();
    };
    // A termination signal (a logout, kill) ends the program at once, from
    // any dialog, without the question about unsaved changes: a program told
    // to end must not wait for an answer nobody may be there to give. A
    // runtime closes in order first, once its tick is over.
    bool quitting = false;
    SignalWatcher signalWatcher([&](int) {
        if (runtime && !runtime->runtime().Closing()) {
            quitting = true;
            runtime->RequestStop();
        } else {
            QApplication::exit(0);
        }
    });
    window.onRun = [&](ui::RunMode mode) {
        if (runtime || tester)
            return;
        if (mode == ui::RunMode::PortTest) {
            const std::string device = serial::DevicePathFor(cfg, store, std::nullopt);
            testPort = serial::OpenPosixPort(cfg, device, messages, clock);
            if (!testPort)
                return;
            tester = new ui::PortTestWindow(cfg, *testPort, messages);
            tester->setAttribute(Qt::WA_DeleteOnClose);
            // An accepted analysis changes the configuration in memory; the
            // user saves it as any other change.
            tester->onConfigured = [&] { window.Refresh(); };
            QObject::connect(tester, &QObject::destroyed, &window, [&] {
                tester = nullptr;
                testPort->ClosePort();
                testPort.reset();
                backToSetup();
            });
            messages.SetParent(tester);
            window.hide();
            tester->show();
            return;
        }
        // The runtime works on the window's own configuration: what it
        // changes (a reload, a pasted link, a timer set by a command) is
        // there when the window comes back.
        runtime = std::make_unique<WindowedRuntime>(cfg);
        runtime->onFinished = [&](int) {
            // Not from inside the runtime's own call: after it has returned.
            QTimer::singleShot(0, &window, [&] {
                runtime.reset();
                if (quitting)
                    QApplication::exit(0);
                else
                    backToSetup();
            });
        };
        window.hide();
        RuntimeOptions options;
        options.virtualDevice = mode == ui::RunMode::Virtual;
        if (!runtime->Activate(options)) {
            // Its message stays up over the setup window until read.
            runtime->LeaveMessagesUp();
            runtime.reset();
            backToSetup();
        }
    };
    window.show();
    return application.exec();
}

} // namespace app
