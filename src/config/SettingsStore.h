#pragma once
// The per-user settings store: small values kept apart from configuration
// files (recent files, per-port window position and beep, the COM name to
// device map). The program keeps them with QtSettingsStore (INI under
// ~/.config/Corvane).

#include <optional>
#include <string>

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

} // namespace config
