#pragma once
// The sub-commands of the corvane program. Each takes the arguments that
// follow its name and returns the exit status: 0 success, 1 a refused or
// failed operation (message on standard error), 2 a usage error.

#include "output/BrokerSettings.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace app {

using Args = std::vector<std::string>;

int CmdConfig(const Args& args);                     // config new|dump|build
int CmdEval(const Args& args);                       // eval EXPR [--field N=TEXT]... [--format FMT]
int CmdFormat(const Args& args);                     // format VALUE FMT | format --datetime ISO FMT
int CmdExpand(const Args& args);                     // expand TEXT [--now ISO]
int CmdKeys(const Args& args);                       // keys [--dry-run] [--window TITLE] STRING
int CmdRun(int argc, char** argv, const Args& args); // run [--virtual|--test] [--headless] ...
int CmdDde(int argc, char** argv, const Args& args); // dde execute|request|poke|watch ...
int CmdAnalyze(const Args& args); // analyze --port PATH [--seconds N] [--apply FILE]
int CmdPorts(const Args& args);   // ports | ports map COMn DEVICE
int CmdHotkey(int argc, char** argv, const Args& args); // hotkey TOPIC SLOT

// mqtt-check URL|FILE [--mqtt-ca FILE] ...: whether a broker takes a connection.
int CmdMqttCheck(int argc, char** argv, const Args& args);
int CmdDoctor(int argc, char** argv, const Args& args); // doctor

// The setup window (`corvane [FILE]`); the exit status.
int RunSetup(int argc, char** argv, const std::optional<std::string>& file);

// The Port Test window (`run --test`); the exit status.
int RunPortTest(int argc, char** argv, const std::string& file,
                const std::optional<std::string>& portPath);

// The desktop entry (org.corvane.Corvane.desktop) and AppStream id the
// windows belong to, so that a desktop shows them under Corvane's launcher.
inline constexpr char DesktopFileName[] = "org.corvane.Corvane";

// How long a command waits for a runtime to answer over the bus: longer than
// the runtime's own client (which never waits), as a busy runtime answers
// between two ticks.
inline constexpr int RuntimeAnswerTimeoutMs = 5000;

// One of the --mqtt options of `run` and `mqtt-check` at args[i], taken with
// its value (i then points at the value); false when args[i] is none.
bool ParseBrokerOption(const Args& args, std::size_t& i, output::BrokerOverrides& broker);

// Picks the Qt platform of Corvane's windows in a Wayland session (XWayland
// when there is one, WindowPlatform.cpp says why), before any window opens.
void ChooseWindowPlatform();

// Prints "title: text" on standard error, the headless form of a message box.
void ReportMessage(const std::string& title, const std::string& text);

} // namespace app
