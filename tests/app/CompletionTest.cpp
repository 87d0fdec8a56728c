// The bash completion of share/bash-completion/completions/corvane, loaded
// into bash with bash-completion as an interactive shell loads it: the
// commands and options it offers must be those of the command table, files
// are offered by kind, and --port offers the serial devices present.

#include "app/Help.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

// What completing the last word of line offers, one entry per completion.
std::set<std::string> Complete(const std::string& line, const std::filesystem::path& cwd = ".") {
    const std::string script =
        "source /usr/share/bash-completion/bash_completion\n"
        "source \"$1\"\n"
        "cd \"$2\" || exit 3\n"
        "COMP_LINE=$3 COMP_POINT=${#3}\n"
        "read -ra COMP_WORDS <<<\"$3\"\n"
        "[[ $3 == *' ' ]] && COMP_WORDS+=('')\n"
        "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
        "_corvane corvane \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD-1]}\"\n"
        "printf '%s\\n' \"${COMPREPLY[@]}\"\n";
    const auto result = testsupport::RunProgram(
        {"/bin/bash", "-c", script, "bash",
         CORVANE_SOURCE_DIR "/share/bash-completion/completions/corvane", cwd.string(), line});
    EXPECT_EQ(result.exitCode, 0) << line << ": " << result.err;
    std::set<std::string> offered;
    std::istringstream lines(result.out);
    for (std::string entry; std::getline(lines, entry);)
        if (!entry.empty())
            offered.insert(entry);
    return offered;
}

bool Offers(const std::set<std::string>& offered, const std::string& word) {
    return offered.count(word) != 0;
}

} // namespace

TEST(Completion, OffersEveryCommandAndEachCommandsOptionsFromTheCommandTable) {
    const auto commands = Complete("corvane ");
    for (const auto& command : app::Commands()) {
        const std::string name(command.name);
        EXPECT_TRUE(Offers(commands, name)) << name;
        // Every option the command's forms and option list name, and no other.
        std::set<std::string> takes{"--help"};
        const std::regex flag("--[a-z-]+");
        auto collect = [&](std::string_view text) {
            const std::string t(text);
            for (auto it = std::sregex_iterator(t.begin(), t.end(), flag);
                 it != std::sregex_iterator(); ++it)
                takes.insert(it->str());
        };
        for (auto form : command.forms)
            collect(form);
        for (const auto& option : command.options)
            collect(option.option);
        EXPECT_EQ(Complete("corvane " + name + " --"), takes) << name;
    }
    EXPECT_EQ(Complete("corvane --v"), std::set<std::string>{"--version"});
    EXPECT_EQ(Complete("corvane config "),
              (std::set<std::string>{"new", "dump", "build", "--help"}));
    EXPECT_EQ(Complete("corvane dde re"), std::set<std::string>{"request"});
    EXPECT_TRUE(Offers(Complete("corvane dde request Corvane COM1 Rec"), "RecordNumber"));
}

TEST(Completion, FileArgumentsOfferFilesOfTheirKindAndFolders) {
    testsupport::TempDir dir;
    for (const char* name : {"balance.QX3", "old.QX1", "balance.json", "notes.txt"})
        std::ofstream(dir.path / name) << "x";
    std::filesystem::create_directory(dir.path / "examples");

    EXPECT_EQ(Complete("corvane run --headless ", dir.path),
              (std::set<std::string>{"balance.QX3", "old.QX1", "examples"}));
    EXPECT_EQ(Complete("corvane config build ", dir.path),
              (std::set<std::string>{"balance.json", "examples"}));
    EXPECT_EQ(Complete("corvane config build balance.json ", dir.path),
              (std::set<std::string>{"balance.QX3", "old.QX1", "examples"}));
    // Alone, a file opens the setup window; the commands come too.
    const auto first = Complete("corvane ", dir.path);
    EXPECT_TRUE(Offers(first, "balance.QX3"));
    EXPECT_TRUE(Offers(first, "run"));
    EXPECT_FALSE(Offers(first, "notes.txt"));
}

TEST(Completion, PortOptionsOfferTheSerialDevicesPresent) {
    std::set<std::string> devices;
    for (const auto& entry : std::filesystem::directory_iterator("/dev")) {
        const std::string name = entry.path().filename().string();
        for (const char* prefix : {"ttyUSB", "ttyACM", "ttyS", "ttyAMA"})
            if (name.rfind(prefix, 0) == 0 && name.size() > std::string(prefix).size())
                devices.insert(entry.path().string());
    }
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/serial/by-id", none))
        devices.insert(entry.path().string());
    if (devices.empty())
        GTEST_SKIP() << "no serial device on this machine";
    EXPECT_EQ(Complete("corvane run --port "), devices);
    EXPECT_EQ(Complete("corvane analyze --port /dev/"), devices);
    EXPECT_EQ(Complete("corvane ports map COM3 "), devices);

    // A path that is not one of them completes as a file.
    testsupport::TempDir dir;
    std::ofstream(dir.path / "pty-link") << "";
    EXPECT_EQ(Complete("corvane run --port " + (dir.path / "pty-").string()),
              std::set<std::string>{(dir.path / "pty-link").string()});
}
