// corvane: the program entry and its command line.

#include "app/Commands.h"
#include "app/Help.h"

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

namespace app {

void ReportMessage(const std::string& title, const std::string& text) {
    if (title.empty())
        std::cerr << text << '\n';
    else
        std::cerr << title << ": " << text << '\n';
}

} // namespace app

int main(int argc, char** argv) {
    app::ChooseWindowPlatform();
    // No command, or a file: the setup window.
    if (argc < 2)
        return app::RunSetup(argc, argv, std::nullopt);
    std::string command = argv[1];
    if (argc == 2 && !command.empty() && command[0] != '-' && command != "help" &&
        !app::FindCommand(command))
        return app::RunSetup(argc, argv, command);
    app::Args rest(argv + 2, argv + argc);
    if (command == "--help" || command == "-h" || command == "help") {
        const app::CommandHelp* about = rest.empty() ? nullptr : app::FindCommand(rest[0]);
        std::fputs(about ? app::CommandHelpText(*about).c_str() : app::OverviewHelp().c_str(),
                   stdout);
        return 0;
    }
    if (const app::CommandHelp* about = app::FindCommand(command);
        about && !rest.empty() && (rest[0] == "--help" || rest[0] == "-h")) {
        std::fputs(app::CommandHelpText(*about).c_str(), stdout);
        return 0;
    }
    if (command == "--version") {
        std::fputs(app::VersionText(CORVANE_VERSION).c_str(), stdout);
        return 0;
    }
    // Sub-command table: the first matching name runs.
    if (command == "keys")
        return app::CmdKeys(rest);
    if (command == "run")
        return app::CmdRun(argc, argv, rest);
    if (command == "format")
        return app::CmdFormat(rest);
    if (command == "expand")
        return app::CmdExpand(rest);
    if (command == "eval")
        return app::CmdEval(rest);
    if (command == "config")
        return app::CmdConfig(rest);
    if (command == "dde")
        return app::CmdDde(argc, argv, rest);
    if (command == "analyze")
        return app::CmdAnalyze(rest);
    if (command == "ports")
        return app::CmdPorts(rest);
    if (command == "hotkey")
        return app::CmdHotkey(argc, argv, rest);
    if (command == "mqtt-check")
        return app::CmdMqttCheck(argc, argv, rest);
    if (command == "doctor")
        return app::CmdDoctor(argc, argv, rest);
    std::fprintf(stderr, "corvane: unknown command \"%s\"\n%s", command.c_str(),
                 app::OverviewHelp().c_str());
    return 2;
}
