// `corvane config new|dump|build`: configuration files from the command line.

#include "app/Commands.h"
#include "app/Help.h"
#include "app/ConfigJson.h"
#include "app/Headless.h"
#include "config/ConfigFile.h"
#include "config/Validation.h"

#include <fstream>
#include <iostream>
#include <sstream>

namespace app {

namespace {

using config::Config;

// Values that the dialogs' lists and check boxes cannot produce.
std::string CheckDomains(const Config& c) {
    struct Range {
        const char* name;
        long value, lo, hi;
    } ranges[] = {
        {"BaudRate", c.BaudRate, 0, 13},
        {"Parity", c.Parity, 0, 4},
        {"DataBits", c.DataBits, 0, 3},
        {"StopBits", c.StopBits, 0, 2},
        {"FlowControl", c.FlowControl, 0, 3},
        {"TransferMode", c.TransferMode, 0, 2},
        {"StartOfRecordEvent", c.StartOfRecordEvent, 0, 3},
        {"EndOfRecordEvent", c.EndOfRecordEvent, 0, 3},
        {"RecordStructure", c.RecordStructure, 0, 2},
        {"PortNumber", c.PortNumber, 0, 255},
        {"ButtonDisplay", c.ButtonDisplay, 0, 3},
        {"TimerEnabled", c.TimerEnabled, 0, 15},
        {"InterCharDelay", c.InterCharDelay, 0, 2147483647L},
        {"TimerInterval", c.TimerInterval, 0, 2147483647L},
    };
    for (const auto& r : ranges)
        if (r.value < r.lo || r.value > r.hi)
            return std::string(r.name) + " must be between " + std::to_string(r.lo) + " and " +
                   std::to_string(r.hi);
    struct FlagSetting {
        const char* name;
        config::Flag value;
    } flags[] = {{"ActivateTarget", c.ActivateTarget},
                 {"CmdLinkAuto", c.CmdLinkAuto},
                 {"OutLinkAuto", c.OutLinkAuto},
                 {"StripOutputCrLf", c.StripOutputCrLf},
                 {"BeepOnInput", c.BeepOnInput},
                 {"MinimizeOnActivation", c.MinimizeOnActivation},
                 {"ActivateSuspended", c.ActivateSuspended},
                 {"AlwaysOnTop", c.AlwaysOnTop},
                 {"ShowDateTime", c.ShowDateTime}};
    for (const auto& f : flags)
        if (f.value != config::True && f.value != config::False)
            return std::string(f.name) + " must be -1 (true) or 0 (false)";
    if (c.DelimiterChar.size() != 1)
        return "DelimiterChar must be exactly one character";
    if (c.DdeTranslation.size() != 256 || c.LogTranslation.size() != 256)
        return "DdeTranslation and LogTranslation must be exactly 256 characters";
    for (int i = 1; i <= config::MaxFields; ++i)
        if (c.FieldFilter[i].size() != 1 ||
            std::string("CINHOB").find(c.FieldFilter[i][0]) == std::string::npos)
            return "FieldFilter[" + std::to_string(i) + "] must be one of C, I, N, H, O, B";
    for (int i = 0; i < config::NumHotKeys; ++i)
        if (c.HotKeyAction[i] < 0 || c.HotKeyAction[i] > 13)
            return "HotKeyAction[" + std::to_string(i) + "] must be between 0 and 13";
    for (int i = 0; i < 256; ++i)
        if (c.PreInputTranslation[i].size() != 1 && c.PreInputTranslation[i] != "Ignore" &&
            c.PreInputTranslation[i] != "Void Record")
            return "PreInputTranslation[" + std::to_string(i) +
                   "] must be one character, \"Ignore\" or \"Void Record\"";
    if (std::string unkept = config::SettingTheFileCannotKeep(c); !unkept.empty())
        return unkept;
    return "";
}

bool Save(Config& cfg, const std::string& file) {
    cfg.ConfigFileName = file;
    if (!config::SaveConfigFile(cfg)) {
        ReportMessage("Corvane File Error", "Cannot write " + file);
        return false;
    }
    return true;
}

int New(const std::string& file) {
    Config cfg;
    return Save(cfg, file) ? 0 : 1;
}

int Dump(const std::string& file) {
    StderrMessageSink messages;
    if (config::CheckConfigFile(file, messages) < 0) {
        if (!std::ifstream(file))
            ReportMessage("Corvane File Error", "Cannot read " + file);
        return 1;
    }
    Config cfg;
    if (config::LoadConfigFile(cfg, file, messages) == config::LoadStatus::EndedEarly)
        ReportMessage("Corvane File Error",
                      file + " ends early; the settings after that point are the defaults");
    std::cout << ConfigToJson(cfg).dump(1) << '\n';
    return 0;
}

int Build(const std::string& jsonFile, const std::string& file) {
    std::ifstream in(jsonFile, std::ios::binary);
    if (!in) {
        ReportMessage("corvane", "cannot read " + jsonFile);
        return 1;
    }
    std::stringstream text;
    text << in.rdbuf();
    nlohmann::json json = nlohmann::json::parse(text.str(), nullptr, false);
    if (json.is_discarded()) {
        ReportMessage("corvane", jsonFile + " is not valid JSON");
        return 1;
    }
    Config cfg;
    if (std::string error = ApplyJson(cfg, json); !error.empty()) {
        ReportMessage("corvane", jsonFile + ": " + error);
        return 1;
    }
    if (std::string error = CheckDomains(cfg); !error.empty()) {
        ReportMessage("Invalid Input", error);
        return 1;
    }
    if (auto refusal = config::ValidateConfig(cfg)) {
        ReportMessage(refusal->title, refusal->text);
        return 1;
    }
    return Save(cfg, file) ? 0 : 1;
}

} // namespace

int CmdConfig(const Args& args) {
    if (args.size() == 2 && args[0] == "new")
        return New(args[1]);
    if (args.size() == 2 && args[0] == "dump")
        return Dump(args[1]);
    if (args.size() == 3 && args[0] == "build")
        return Build(args[1], args[2]);
    return UsageError("config");
}

} // namespace app
