// `corvane config` as users run it: JSON in, configuration files out, and
// refusals with the dialogs' own messages.

#include "config/Config.h"
#include "support/ProcessRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using testsupport::RunProgram;
using testsupport::TempDir;

namespace {

testsupport::RunResult Corvane(std::vector<std::string> args, const std::string& input = "") {
    args.insert(args.begin(), CORVANE_BINARY);
    return RunProgram(args, input);
}

} // namespace

TEST(ConfigCommand, DumpAndBuildAreInversesIncludingControlBytes) {
    TempDir dir;
    fs::path json = dir.path / "in.json";
    // The hot-key array has 50 entries.
    {
        std::ofstream out(json);
        nlohmann::json j;
        j["AckString"] = std::string("\x06\r\n\0", 4);
        j["OutputString"] = std::vector<std::string>(20, "");
        j["OutputString"][0] = "A\u00e9";
        j["OutputString"][19] = "Z";
        j["HotKeyCode"] = std::vector<int>(50, 0);
        j["HotKeyCode"][49] = 0x274;
        j["BeepOnInput"] = -1;
        out << j.dump();
    }
    fs::path file = dir.path / "out.QX3";
    auto built = Corvane({"config", "build", json.string(), file.string()});
    ASSERT_EQ(built.exitCode, 0) << built.err;
    auto dumped = Corvane({"config", "dump", file.string()});
    ASSERT_EQ(dumped.exitCode, 0) << dumped.err;
    auto j = nlohmann::json::parse(dumped.out);
    EXPECT_EQ(j["AckString"], std::string("\x06\r\n\0", 4));
    EXPECT_EQ(j["OutputString"].size(), 20u);
    EXPECT_EQ(j["OutputString"][0], "A\u00e9");
    EXPECT_EQ(j["FieldFilter"].size(), 41u);
    EXPECT_EQ(j["HotKeyCode"][49], 0x274);
    EXPECT_EQ(j["DdeTranslation"].get<std::string>().size(),
              128u + 2 * 128u); // 128..255 take two UTF-8 bytes
    EXPECT_EQ(j["BeepOnInput"], -1);
    // The file holds the accented letter as the single byte 0xE9.
    EXPECT_NE(testsupport::ReadFileBytes(file).find("A\xe9Z"), std::string::npos);

    // Dumped JSON builds the very same file again.
    fs::path again = dir.path / "again.json";
    std::ofstream(again) << dumped.out;
    fs::path file2 = dir.path / "out2.QX3";
    ASSERT_EQ(Corvane({"config", "build", again.string(), file2.string()}).exitCode, 0);
    EXPECT_EQ(testsupport::ReadFileBytes(file), testsupport::ReadFileBytes(file2));
}

TEST(ConfigCommand, BuildRefusesWhatADialogWouldRefuseAndWritesNothing) {
    TempDir dir;
    struct Case {
        const char* json;
        const char* message;
    } cases[] = {
        {R"({"InputBufferSize": 131073})",
         "Invalid Input: Buffer Size Must Be Between 128 and 131072"},
        {R"({"EndOfRecordEvent": 3})",
         "Invalid End of Record Event: Invalid Input - Special Character Must Be Specified!"},
        {R"({"EndOfRecordEvent": 1, "TimeDelayTicks": 256})",
         "Invalid Input: Time between records must range between 1 and 255"},
        {R"({"TimerInterval": 100000000})",
         "Timer interval must be less than 100000000 milliseconds."},
        {R"({"Colour": 3})", "unknown setting \"Colour\""},
        {R"({"FieldLength": [1, 2]})", "FieldLength must be an array of 41 entries"},
        {R"({"NumFields": 70000})", "NumFields must be a whole number"},
        {R"({"TimeDelayTicks": 18446744073709551615})",
         "TimeDelayTicks must be a whole number from -32768 to 32767"},
        {R"({"TimerInterval": 18446744071562067968})",
         "TimerInterval must be a whole number from -2147483648 to 2147483647"},
        {R"({"BeepOnInput": 1})", "BeepOnInput must be -1 (true) or 0 (false)"},
        {R"({"AckString": "\u0100"})", "AckString must be a text of characters U+0000 to U+00FF"},
        {R"({"TargetAppTitle": "Bal\r\nance"})",
         "Invalid Input: TargetAppTitle must not hold a carriage return or line feed"},
        {"not json", "is not valid JSON"},
    };
    for (const auto& c : cases) {
        fs::path json = dir.path / "bad.json";
        std::ofstream(json) << c.json;
        fs::path file = dir.path / "bad.QX3";
        auto r = Corvane({"config", "build", json.string(), file.string()});
        EXPECT_EQ(r.exitCode, 1) << c.json;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.json << " gave " << r.err;
        EXPECT_FALSE(fs::exists(file)) << c.json;
    }

    // The same combination in two hot-key slots: only one could ever run.
    std::string codes = "[0";
    for (int slot = 1; slot < config::NumHotKeys; ++slot)
        codes += slot == 3 || slot == 7 ? ", 116" : ", 0";
    fs::path json = dir.path / "hotkeys.json";
    std::ofstream(json) << R"({"HotKeyCode": )" << codes << "]}";
    fs::path file = dir.path / "hotkeys.QX3";
    auto r = Corvane({"config", "build", json.string(), file.string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("HotKeyCode[7] is F5 as HotKeyCode[3] is"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(file));
}

TEST(ConfigCommand, BuildRefusesAValueInEntryZeroOfAFieldArrayThatNoFileKeeps) {
    TempDir dir;
    fs::path fresh = dir.path / "fresh.QX3";
    ASSERT_EQ(Corvane({"config", "new", fresh.string()}).exitCode, 0);
    const auto defaults = nlohmann::json::parse(Corvane({"config", "dump", fresh.string()}).out);
    for (const char* key :
         {"FieldFilter", "FieldLength", "FieldFormat", "FieldExpression", "FieldPostamble"}) {
        nlohmann::json setting = defaults[key];
        ASSERT_EQ(setting.size(), 41u) << key;
        setting[0] = setting[0].is_string() ? nlohmann::json("N") : nlohmann::json(4);
        fs::path json = dir.path / (std::string(key) + ".json");
        std::ofstream(json) << nlohmann::json{{key, setting}}.dump();
        fs::path file = dir.path / (std::string(key) + ".QX3");
        auto r = Corvane({"config", "build", json.string(), file.string()});
        EXPECT_EQ(r.exitCode, 1) << key;
        EXPECT_NE(r.err.find(std::string(key) + "[0] must be left as it is"), std::string::npos)
            << r.err;
        EXPECT_FALSE(fs::exists(file)) << key;
    }
    // The entry at its default builds.
    fs::path json = dir.path / "defaults.json";
    std::ofstream(json) << nlohmann::json{{"FieldPostamble", defaults["FieldPostamble"]}}.dump();
    EXPECT_EQ(Corvane({"config", "build", json.string(), (dir.path / "ok.QX3").string()}).exitCode,
              0);
}

TEST(ConfigCommand, ALineBreakIsRefusedByNameUnlessTheSettingReadsBackUnchanged) {
    // Every text setting in turn (in an array, one entry of it) is given a
    // CR LF: it is either refused, naming the setting, or kept exactly with
    // every other setting left as it was.
    TempDir dir;
    fs::path fresh = dir.path / "fresh.QX3";
    ASSERT_EQ(Corvane({"config", "new", fresh.string()}).exitCode, 0);
    const auto defaults = nlohmann::json::parse(Corvane({"config", "dump", fresh.string()}).out);
    const std::string value = "Bal\r\nance";
    std::set<std::string> kept;
    for (const auto& [key, initial] : defaults.items()) {
        nlohmann::json setting = value;
        std::string named = key;
        if (initial.is_array() && initial[0].is_string()) {
            const std::size_t i = initial.size() / 2;
            setting = initial;
            setting[i] = value;
            // Output strings are shown from index 1.
            named += "[" + std::to_string(i + (initial.size() == 20 ? 1 : 0)) + "]";
        } else if (!initial.is_string()) {
            continue;
        }
        fs::path json = dir.path / (key + ".json");
        std::ofstream(json) << nlohmann::json{{key, setting}}.dump();
        fs::path file = dir.path / (key + ".QX3");
        auto built = Corvane({"config", "build", json.string(), file.string()});
        if (built.exitCode != 0) {
            EXPECT_EQ(built.exitCode, 1) << key;
            EXPECT_NE(built.err.find(named), std::string::npos) << built.err;
            EXPECT_NE(built.err.find(" must "), std::string::npos) << built.err;
            EXPECT_FALSE(fs::exists(file)) << key;
            continue;
        }
        kept.insert(key);
        nlohmann::json expected = defaults;
        expected[key] = setting;
        auto dumped = Corvane({"config", "dump", file.string()});
        EXPECT_EQ(dumped.err, "") << key;
        const auto back = nlohmann::json::parse(dumped.out);
        for (const auto& [name, want] : expected.items())
            EXPECT_EQ(back[name], want) << name << " after a line break in " << key;
    }
    EXPECT_EQ(kept, (std::set<std::string>{"StartOfRecordChars", "EndOfRecordChars",
                                           "RecordPreamble", "FieldPostamble", "OutputString",
                                           "AckString", "TimerString", "HotKeyData"}));
}

TEST(ConfigCommand, ForeignFilesAndUsageErrors) {
    TempDir dir;
    fs::path foreign = dir.path / "notes.txt";
    std::ofstream(foreign) << "hello\r\n";
    auto r = Corvane({"config", "dump", foreign.string()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("Corvane File Error: File: "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(" is not a valid configuration file."), std::string::npos);

    // A pipe would never end: refused at once, with the reason.
    fs::path fifo = dir.path / "pipe.QX3";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    r = RunProgram({CORVANE_BINARY, "config", "dump", fifo.string()}, "", std::chrono::seconds(10));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "Corvane File Error: File: " + fifo.string() +
                         " is a named pipe: a configuration is read only from a regular file.\n");

    EXPECT_EQ(Corvane({"config", "frobnicate"}).exitCode, 2);
    EXPECT_EQ(Corvane({"no-such-command"}).exitCode, 2);
    auto help = Corvane({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("corvane config build JSON FILE"), std::string::npos);
    EXPECT_EQ(Corvane({"--version"}).out.rfind("corvane ", 0), 0u);

    fs::path fresh = dir.path / "fresh.QX3";
    ASSERT_EQ(Corvane({"config", "new", fresh.string()}).exitCode, 0);
    auto dumped = Corvane({"config", "dump", fresh.string()});
    auto j = nlohmann::json::parse(dumped.out);
    EXPECT_EQ(j["LogFileName"], "C:\\Corvane.Log");
    EXPECT_EQ(j["DdeCmdApp"], "Excel");
}
