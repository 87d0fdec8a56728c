#pragma once
// The per-user settings store: small values kept apart from configuration
// files (recent files, per-port window position and beep, the COM name to
// device map). Backends: QtSettingsStore (INI under ~/.config/Corvane) and
// MemorySettingsStore for tests.

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace config {

class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    // application: "Corvane" or a per-port key such as "Corvane - COM1".
    virtual std::optional<std::string> Get(const std::string& application,
                                           const std::string& section, const std::string& key) = 0;
    virtual void Set(const std::string& application, const std::string& section,
                     const std::string& key, const std::string& value) = 0;
    virtual void Remove(const std::string& application, const std::string& section,
                        const std::string& key) = 0;
};

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
