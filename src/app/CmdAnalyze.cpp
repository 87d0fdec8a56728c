// `corvane analyze --port PATH [--seconds N] [--apply FILE]`: listens to an
// instrument for N seconds (5 unless told), prints the record structure
// proposed from what arrived, and with --apply writes the proposal into FILE.
// The port is opened with FILE's line settings when FILE is a configuration,
// else with the defaults; a FILE that does not exist yet is created with the
// defaults and the proposal.

#include "analyzer/InputAnalysis.h"
#include "app/Commands.h"
#include "app/Help.h"
#include "app/Headless.h"
#include "config/ConfigFile.h"
#include "engine/PosixClock.h"
#include "serial/PosixPort.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <thread>

namespace app {

namespace {

struct AnalyzeOptions {
    std::string port;
    int seconds = 5;
    std::optional<std::string> apply;
};

std::optional<AnalyzeOptions> ParseAnalyzeOptions(const Args& args) {
    AnalyzeOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (i + 1 >= args.size())
            return std::nullopt;
        const std::string& value = args[++i];
        if (a == "--port") {
            options.port = value;
        } else if (a == "--seconds") {
            std::size_t used = 0;
            try {
                options.seconds = std::stoi(value, &used);
            } catch (const std::exception&) {
                return std::nullopt;
            }
            if (used != value.size() || options.seconds < 1 || options.seconds > 3600)
                return std::nullopt;
        } else if (a == "--apply") {
            options.apply = value;
        } else {
            return std::nullopt;
        }
    }
    if (options.port.empty())
        return std::nullopt;
    return options;
}

// What arrives at the port within the time, as the input display shows it.
std::string Listen(serial::Port& port, std::chrono::seconds time, const config::Config& cfg) {
    std::string shown;
    const auto end = std::chrono::steady_clock::now() + time;
    std::uint8_t buffer[4096];
    while (std::chrono::steady_clock::now() < end) {
        const std::size_t n = port.Read(buffer, sizeof buffer);
        for (std::size_t i = 0; i < n; ++i)
            shown += analyzer::ShownInput(buffer[i], false, cfg);
        if (n == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return shown;
}

} // namespace

int CmdAnalyze(const Args& args) {
    const std::optional<AnalyzeOptions> options = ParseAnalyzeOptions(args);
    if (!options) {
        return UsageError("analyze");
    }
    StderrMessageSink messages;
    config::Config cfg;
    if (options->apply) {
        // A file that is there but holds no configuration is never replaced.
        config::NewOrLoadAtStart(cfg, *options->apply, messages, false);
        if (cfg.ConfigFileName.empty())
            return 1;
    }

    engine::PosixClock clock;
    std::unique_ptr<serial::Port> port = serial::OpenPosixPort(cfg, options->port, messages, clock);
    if (!port)
        return 1;
    std::cerr << "Listening to " << options->port << " for " << options->seconds
              << (options->seconds == 1 ? " second" : " seconds") << "...\n";
    const std::string input = Listen(*port, std::chrono::seconds(options->seconds), cfg);
    port->ClosePort();

    analyzer::InputAnalysis analysis;
    switch (analyzer::AnalyzeInput(input, analysis)) {
    case analyzer::AnalysisStatus::Empty:
        std::cerr << "corvane: nothing was received from " << options->port << " in "
                  << options->seconds << (options->seconds == 1 ? " second" : " seconds")
                  << "; nothing to analyse.\n";
        return 1;
    case analyzer::AnalysisStatus::Overflow:
        std::cerr << "corvane: " << analyzer::AnalysisOverflow
                  << ": more than 32767 delimiters arrived before the first carriage return; "
                     "listen for a shorter time (--seconds).\n";
        return 1;
    case analyzer::AnalysisStatus::Proposed:
        break;
    }
    std::cout << analysis.description << '\n';
    if (!options->apply)
        return 0;
    if (!analyzer::ApplyAnalysis(analysis, cfg)) {
        std::cerr << "corvane: " << analyzer::AnalysisOverflow << ": a record of "
                  << analysis.recordLength
                  << " bytes is longer than a configuration holds (32767); nothing was written.\n";
        return 1;
    }
    if (!config::SaveConfigFile(cfg)) {
        std::cerr << "corvane: " << cfg.ConfigFileName << " cannot be written.\n";
        return 1;
    }
    std::cerr << "Written to " << cfg.ConfigFileName << ".\n";
    return 0;
}

} // namespace app
