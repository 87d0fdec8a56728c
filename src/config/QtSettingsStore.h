#pragma once
// The settings store on Linux: INI files under ~/.config/Corvane (or
// $XDG_CONFIG_HOME/Corvane), one file per application key: "Corvane.ini" for
// the program's own values, "Corvane - COM1.ini" for a port's.

#include "config/SettingsStore.h"

namespace config {

class QtSettingsStore : public SettingsStore {
public:
    std::optional<std::string> Get(const std::string& application, const std::string& section,
                                   const std::string& key) override;
    void Set(const std::string& application, const std::string& section, const std::string& key,
             const std::string& value) override;
    void Remove(const std::string& application, const std::string& section,
                const std::string& key) override;
};

} // namespace config
