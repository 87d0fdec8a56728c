// `corvane run`: activates a configuration at once. Headless, the runtime runs
// on a QCoreApplication: a 50 ms timer drives the acquisition tick, SIGINT and
// SIGTERM close the runtime in order, and with --virtual the instrument's bytes
// come from standard input and what is sent to the instrument goes to standard
// output.

#include "app/Commands.h"
#include "app/Headless.h"
#include "app/HeadlessRuntime.h"
#include "app/Help.h"
#include "app/WindowedRuntime.h"

#include <QApplication>
#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

namespace app {

namespace {

struct RunOptions {
    bool virtualDevice = false;
    bool testMode = false;
    bool headless = false;
    bool trend = false;
    std::optional<std::string> portPath;
    output::BrokerOverrides broker;
    std::optional<output::KeyboardBackend> keyboard;
    std::string file;
};

// Returns nullopt (after printing the usage) when the arguments are not valid.
std::optional<RunOptions> ParseRunOptions(const Args& args) {
    RunOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--virtual")
            options.virtualDevice = true;
        else if (a == "--test")
            options.testMode = true;
        else if (a == "--headless")
            options.headless = true;
        else if (a == "--trend")
            options.trend = true;
        else if (a == "--port" && i + 1 < args.size())
            options.portPath = args[++i];
        else if (ParseBrokerOption(args, i, options.broker))
            continue;
        else if (a == "--keyboard" && i + 1 < args.size()) {
            options.keyboard = output::ParseKeyboardBackend(args[++i]);
            if (!options.keyboard)
                return std::nullopt;
        } else if (!a.empty() && a[0] != '-' && options.file.empty())
            options.file = a;
        else
            return std::nullopt;
    }
    if (options.file.empty() || (options.virtualDevice && options.testMode) ||
        (options.trend && options.testMode))
        return std::nullopt;
    return options;
}

// The broker settings of the run, checked before anything starts: false,
// after the message, when they cannot be used.
bool CheckBrokerOptions(const RunOptions& options) {
    if (!options.broker.Any())
        return true;
    std::string why;
    auto settings = output::ReadBrokerSettings(output::BrokerSettingsPath(options.file), why);
    if (settings) {
        const auto connection = output::ResolveBrokerSettings(
            output::Overridden(*settings, options.broker),
            output::ProcessEnvironment,
            why);
        if (connection || !output::Overridden(*settings, options.broker).enabled)
            return true;
    }
    std::fprintf(stderr, "corvane: %s\n", why.c_str());
    return false;
}

// The runtime window: the program ends when it closes.
int RunWindowed(int argc, char** argv, const RunOptions& options) {
    QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(DesktopFileName);
    config::Config cfg;
    WindowedRuntime runtime(cfg);
    std::optional<int> finished;
    runtime.onFinished = [&application, &finished](int status) {
        finished = status;
        QMetaObject::invokeMethod(
            &application, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
    };
    // A second signal after the close ends the program all the same.
    SignalWatcher signalWatcher([&](int) {
        if (finished)
            QCoreApplication::exit(*finished);
        else
            runtime.RequestStop();
    });
    RuntimeOptions runtimeOptions;
    runtimeOptions.virtualDevice = options.virtualDevice;
    runtimeOptions.portPath = options.portPath;
    runtimeOptions.trend = options.trend;
    runtimeOptions.broker = options.broker;
    runtimeOptions.keyboard = options.keyboard;
    // Not started: the program ends once its message has been read.
    if (!runtime.Activate(options.file, runtimeOptions)) {
        if (!finished)
            runtime.WaitForMessages();
        return finished.value_or(1);
    }
    return application.exec();
}

} // namespace

int CmdRun(int argc, char** argv, const Args& args) {
    auto options = ParseRunOptions(args);
    if (!options) {
        return UsageError("run");
    }
    if (!CheckBrokerOptions(*options))
        return 2;
    if (options->testMode) {
        if (options->headless) {
            std::fputs("corvane: --test opens the Port Test window; it has no headless form "
                       "(corvane analyze listens without a window)\n",
                       stderr);
            return 2;
        }
        return RunPortTest(argc, argv, options->file, options->portPath);
    }
    if (!options->headless)
        return RunWindowed(argc, argv, *options);
    if (options->trend) {
        std::fputs("corvane: --trend opens the trend window beside the runtime window; it has no "
                   "headless form\n",
                   stderr);
        return 2;
    }
    QCoreApplication application(argc, argv);
    StderrMessageSink messages;
    HeadlessRuntime runtime(messages);
    // Queued, so that an end that comes before the event loop runs still ends it.
    runtime.onFinished = [&application](int status) {
        QMetaObject::invokeMethod(
            &application, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
    };
    SignalWatcher signalWatcher([&](int) { runtime.RequestStop(); });
    RuntimeOptions runtimeOptions;
    runtimeOptions.virtualDevice = options->virtualDevice;
    runtimeOptions.portPath = options->portPath;
    runtimeOptions.broker = options->broker;
    runtimeOptions.keyboard = options->keyboard;
    if (!runtime.Activate(options->file, runtimeOptions))
        return 1;
    return application.exec();
}

} // namespace app
