#pragma once
// A per-user settings store in memory, for tests: every value under
// (application, "section/key").

#include "config/SettingsStore.h"

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace config {

class MemorySettingsStore : public SettingsStore {
public:
    using Key = std::pair<std::string, std::string>; // (application, section/key)
    std::map<std::pair<std::string, std::string>, std::string> values;

    std::optional<std::string> Get(const std::string& application, const std::string& section,
                                   const std::string& key) override {
        auto it = values.find({application, section + "/" + key});
        if (it == values.end())
            return std::nullopt;
        return it->second;
    }
    void Set(const std::string& application, const std::string& section, const std::string& key,
             const std::string& value) override {
        values[{application, section + "/" + key}] = value;
    }
    void Remove(const std::string& application, const std::string& section,
                const std::string& key) override {
        values.erase({application, section + "/" + key});
    }
};

} // namespace config
