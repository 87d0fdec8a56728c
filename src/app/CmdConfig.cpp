// `corvane config new|dump|build`: configuration files from the command line.

#include "app/Commands.h"
#include "app/ConfigJson.h"
#include "app/Headless.h"
#include "app/Help.h"
#include "config/ConfigFile.h"
#include "config/Validation.h"

#include <fstream>
#include <iostream>
#include <sstream>

namespace app {

namespace {

using config::Config;

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
    const int check = config::CheckConfigFile(file, messages);
    if (check < 0) {
        // A file that is no configuration has been reported by the check.
        if (check == -2 || check == -3)
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
