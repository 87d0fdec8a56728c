#pragma once
// The list of recently used configuration files, kept in the settings store
// under "Corvane", section "MRUFiles", keys "1", "2", ... The most recent file
// comes first; the list holds at most MaxRecentFiles entries.

#include "config/SettingsStore.h"

#include <string>
#include <vector>

namespace config {

constexpr int MaxRecentFiles = 4;

// Entries in index order, stopping at the first missing or empty one.
std::vector<std::string> ReadRecentFiles(SettingsStore& store);

// Stores each entry under its index and removes the indexes beyond the list.
void WriteRecentFiles(SettingsStore& store, const std::vector<std::string>& files);

// Moves path to the front (adding it if new) and trims the list.
std::vector<std::string> AddRecentFile(std::vector<std::string> files, const std::string& path);

} // namespace config
