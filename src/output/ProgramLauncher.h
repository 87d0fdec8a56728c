#pragma once
// Starting the program of Send Keystrokes when its window is missing, and
// telling when it has ended. Backends: PosixProgramLauncher, and a fake in
// the tests.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace output {

using ProgramId = std::int64_t; // 0: no program

struct StartedProgram {
    ProgramId id = 0;
    std::string error; // when not started: why, in the system's words
};

class ProgramLauncher {
public:
    virtual ~ProgramLauncher() = default;
    // Starts a command line, split into words as SplitCommandLine does,
    // detached from Corvane's terminal and session, with its standard input,
    // output and error on the null device: it must never read or write the
    // instrument's data stream (standard input and output of a virtual-device
    // run) nor keep a caller's pipe open.
    virtual StartedProgram Start(const std::string& commandLine) = 0;
    // True once the program has ended, and with it every program it started
    // that stayed in its session (a launcher script that starts the real
    // program and exits has not ended); how then says how the program itself
    // ended ("exit status 1", "killed by signal 9").
    virtual bool Ended(ProgramId id, std::string& how) = 0;
};

// The words of a command line as a POSIX shell splits them, with nothing
// expanded (no variables, no globs, no commands): blanks and tabs separate
// words; 'single quotes' keep everything up to the next single quote;
// "double quotes" keep everything, a backslash there escaping only ", \, $
// and `; outside quotes a backslash keeps the next character as it is.
// Quoted and unquoted parts next to each other make one word, and '' or ""
// is an empty word. nullopt, with why, when a quote is not closed or there
// is no word at all.
std::optional<std::vector<std::string>> SplitCommandLine(std::string_view line, std::string& why);

} // namespace output
