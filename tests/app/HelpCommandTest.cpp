// The command line's help: every command answers --help, a usage error
// points to it, and the manual page renders cleanly with every form in it.

#include "app/Help.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <string>

using testsupport::RunProgram;

namespace {

// What `man` shows: the page rendered as plain text, without hyphenation
// or justification, so that forms can be found as they are written.
std::string RenderedManPage(std::string& warnings) {
    auto r = RunProgram({"/usr/bin/groff", "-man", "-Tutf8", "-ww", "-rHY=0", "-dAD=l", "-P-cbou",
                         "-rLL=200n", CORVANE_MANPAGE});
    warnings = r.err;
    return r.out;
}

} // namespace

TEST(HelpCommand, EveryCommandAnswersHelpAndAUsageErrorPointsToIt) {
    auto overview = RunProgram({CORVANE_BINARY, "--help"});
    EXPECT_EQ(overview.exitCode, 0);
    for (const auto& command : app::Commands()) {
        const std::string name(command.name);
        for (auto form : command.forms)
            EXPECT_NE(overview.out.find("corvane " + std::string(form) + "\n"), std::string::npos)
                << form;
        for (const char* flag : {"--help", "-h"}) {
            auto help = RunProgram({CORVANE_BINARY, name, flag});
            EXPECT_EQ(help.exitCode, 0) << name;
            EXPECT_EQ(help.out.rfind("Usage: corvane " + std::string(command.forms[0]) + "\n", 0),
                      0u)
                << help.out;
            for (const auto& option : command.options)
                EXPECT_NE(help.out.find("  " + std::string(option.option)), std::string::npos)
                    << name << " " << option.option;
            for (const auto& line : {help.out})
                for (std::size_t start = 0, end; start < line.size(); start = end + 1) {
                    end = line.find('\n', start);
                    EXPECT_LE(end - start, 79u) << name << ": " << line.substr(start, end - start);
                }
        }
        EXPECT_EQ(RunProgram({CORVANE_BINARY, "help", name}).out,
                  RunProgram({CORVANE_BINARY, name, "--help"}).out);
        auto wrong = RunProgram({CORVANE_BINARY, name, "--no-such-option", "x", "y", "z", "w"});
        EXPECT_EQ(wrong.exitCode, 2) << name << wrong.err;
        EXPECT_NE(wrong.err.find("Usage: corvane " + std::string(command.forms[0])),
                  std::string::npos)
            << name << ": " << wrong.err;
        EXPECT_NE(wrong.err.find("corvane " + name + " --help"), std::string::npos) << wrong.err;
    }
    auto version = RunProgram({CORVANE_BINARY, "--version"});
    EXPECT_EQ(version.out.substr(0, version.out.find('\n')), "corvane " CORVANE_VERSION);
    EXPECT_NE(version.out.find("GNU GPL version 3 or later"), std::string::npos) << version.out;
}

TEST(HelpCommand, TheManualPageRendersWithEveryFormAndOption) {
    std::string warnings;
    const std::string page = RenderedManPage(warnings);
    EXPECT_EQ(warnings, "");
    EXPECT_NE(page.find("corvane " CORVANE_VERSION), std::string::npos);
    for (const auto& command : app::Commands()) {
        for (auto form : command.forms)
            EXPECT_NE(page.find("corvane " + std::string(form)), std::string::npos) << form;
        for (const auto& option : command.options)
            EXPECT_NE(page.find(std::string(option.option)), std::string::npos) << option.option;
    }
    EXPECT_EQ(page.find("@COMMANDS@"), std::string::npos);
    EXPECT_NE(page.find("GNU General Public License"), std::string::npos); // the COPYRIGHT section
}
