#pragma once
// The command line's own documentation: one entry per command, from which
// `corvane --help`, `corvane COMMAND --help`, the usage lines printed on a
// usage error, and the COMMANDS section of the manual page are all made, so
// that they cannot disagree.

#include <string>
#include <string_view>
#include <vector>

namespace app {

struct OptionHelp {
    std::string_view option; // "--port PATH"
    std::string_view text;
};

struct CommandHelp {
    std::string_view name;                 // "run"
    std::vector<std::string_view> forms;   // the synopsis lines, without "corvane "
    std::string_view summary;              // one line for the overview
    std::vector<std::string_view> text;    // paragraphs
    std::vector<OptionHelp> options;
};

// Every command, in the order of the overview.
const std::vector<CommandHelp>& Commands();

// The command's entry, or null.
const CommandHelp* FindCommand(std::string_view name);

// `corvane --help`: every form with its summary.
std::string OverviewHelp();

// `corvane COMMAND --help`: forms, paragraphs and options, wrapped to 79
// columns.
std::string CommandHelpText(const CommandHelp& command);

// "Usage: corvane FORM" lines for a usage error.
std::string UsageLines(const CommandHelp& command);

// Prints the usage lines of the command and where to read more on standard
// error; the exit status of a usage error, 2.
int UsageError(std::string_view name);

// The COMMANDS section of the manual page, in man(7) markup.
std::string ManPageCommands();

// `corvane --version`: "corvane VERSION", then the copyright and the
// licence, as GNU programs print them.
std::string VersionText(std::string_view version);

} // namespace app
