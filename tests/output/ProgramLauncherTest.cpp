// Command lines split as a shell splits them, and programs started on them
// for real: their words arrive as written, and a program counts as ended
// only when it and what it started in its session are gone.

#include "output/PosixProgramLauncher.h"

#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

using namespace output;
using namespace std::chrono_literals;

TEST(CommandLine, WordsAreSplitAsAShellSplitsThemWithNothingExpanded) {
    using Words = std::vector<std::string>;
    const struct {
        const char* line;
        Words words;
    } cases[] = {
        {"gnumeric", {"gnumeric"}},
        {"  app\t--calc  data.ods ", {"app", "--calc", "data.ods"}},
        {"app --calc '/home/me/My Sheet.ods'", {"app", "--calc", "/home/me/My Sheet.ods"}},
        {"sh -c 'echo $$ > pidfile; exec xterm -T W -e sleep 60'",
         {"sh", "-c", "echo $$ > pidfile; exec xterm -T W -e sleep 60"}},
        {R"(app "My \"Lab\" Sheet.ods" "C:\data" "\$HOME")",
         {"app", "My \"Lab\" Sheet.ods", "C:\\data", "$HOME"}},
        {R"(app My\ Sheet.ods a\'b \\x)", {"app", "My Sheet.ods", "a'b", "\\x"}},
        {R"(app '' "" x''y "a"'b'c)", {"app", "", "", "xy", "abc"}},
        {"app 'it'\\''s'", {"app", "it's"}},
        {"app trailing\\", {"app", "trailing\\"}},
        {"app $HOME ~ *.ods `date`", {"app", "$HOME", "~", "*.ods", "`date`"}},
    };
    for (const auto& c : cases) {
        std::string why;
        const auto words = SplitCommandLine(c.line, why);
        ASSERT_TRUE(words.has_value()) << c.line << ": " << why;
        EXPECT_EQ(*words, c.words) << c.line;
    }
    for (const char* bad : {"app 'unclosed", "app \"unclosed \\\"", "", "   "}) {
        std::string why;
        EXPECT_FALSE(SplitCommandLine(bad, why).has_value()) << bad;
        EXPECT_FALSE(why.empty()) << bad;
    }
}

namespace {

// Asks launcher whether the program has ended, for at most limit.
bool EndsWithin(PosixProgramLauncher& launcher, ProgramId id, std::chrono::milliseconds limit,
                std::string& how) {
    return testsupport::WaitFor(limit, [&] { return launcher.Ended(id, how); });
}

} // namespace

TEST(ProgramLauncher, QuotedWordsReachTheProgramAndItsEndIsSeenWithItsStatus) {
    testsupport::TempDir dir;
    const std::filesystem::path folder = dir.path / "My Programs";
    std::filesystem::create_directory(folder);
    const std::filesystem::path script = folder / "write args";
    {
        std::ofstream out(script);
        out << "#!/bin/sh\nfor a in \"$@\"; do printf '[%s]' \"$a\"; done > \"$OUT\"\n"
               "read line; echo \"stdin:$line\" >> \"$OUT\"\nexit 3\n";
    }
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    const std::string out = (dir.path / "args.txt").string();
    ::setenv("OUT", out.c_str(), 1);
    PosixProgramLauncher launcher;
    const StartedProgram program =
        launcher.Start("'" + script.string() + "' 'My Sheet.ods' \"a \\\"b\\\"\" c\\ d");
    ASSERT_NE(program.id, 0) << program.error;
    std::string how;
    ASSERT_TRUE(EndsWithin(launcher, program.id, 10s, how));
    ::unsetenv("OUT");
    EXPECT_EQ(how, "exit status 3");
    // Its standard input is the null device: it reads nothing.
    EXPECT_EQ(testsupport::ReadFileBytes(out), "[My Sheet.ods][a \"b\"][c d]stdin:\n");
}

TEST(ProgramLauncher, AProgramThatCannotStartSaysWhyAndALauncherScriptEndsWithWhatItStarted) {
    PosixProgramLauncher launcher;
    const StartedProgram missing = launcher.Start("/nonexistent/editor --new");
    EXPECT_EQ(missing.id, 0);
    EXPECT_EQ(missing.error, "No such file or directory");
    EXPECT_EQ(launcher.Start("editor 'unclosed").error,
              "The command line has a single quote that is not closed.");

    // The shell ends at once; the program it started in the background
    // stays, and until it ends the launch has not ended.
    testsupport::TempDir dir;
    const std::string flag = (dir.path / "go").string();
    const StartedProgram script = launcher.Start(
        "sh -c 'while [ ! -e \"$0\" ]; do sleep 0.05; done & exit 0' '" + flag + "'");
    ASSERT_NE(script.id, 0) << script.error;
    std::string how;
    EXPECT_FALSE(EndsWithin(launcher, script.id, 1s, how));
    std::ofstream(flag).put('x');
    ASSERT_TRUE(EndsWithin(launcher, script.id, 10s, how));
    EXPECT_EQ(how, "exit status 0");
}
