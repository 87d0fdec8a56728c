// The JSON configuration reader on any text. A record it accepts must come
// back unchanged through "config dump", and a record "config build" would
// write (in its domains and accepted by the dialogs' rules) must come back
// unchanged through the configuration file.

#include "FuzzSupport.h"
#include "app/ConfigJson.h"
#include "config/ConfigFile.h"
#include "config/Validation.h"
#include "support/RecordingMessageSink.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::MemoryFile file;
    nlohmann::json json =
        nlohmann::json::parse(data, data + size, nullptr, /*allow_exceptions=*/false);
    if (json.is_discarded())
        return 0;
    config::Config cfg;
    if (!app::ApplyJson(cfg, json).empty())
        return 0;

    const std::string dumped = app::ConfigToJson(cfg).dump(1);
    config::Config again;
    fuzz::Require(app::ApplyJson(again, nlohmann::json::parse(dumped)).empty(),
                  "a dumped configuration is accepted");
    fuzz::Require(again == cfg, "a dumped configuration reads back unchanged");

    if (app::CheckDomains(cfg).empty() && !config::ValidateConfig(cfg)) {
        file.Write(config::SerializeConfig(cfg));
        config::RecordingMessageSink messages;
        config::Config back;
        fuzz::Require(config::LoadConfigFile(back, file.path(), messages) ==
                          config::LoadStatus::Complete,
                      "a built configuration file reads back completely");
        back.ConfigLoaded = cfg.ConfigLoaded;
        fuzz::Require(back == cfg, "a built configuration file reads back unchanged");
    }
    return 0;
}
