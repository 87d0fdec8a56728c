#include "config/RecentFiles.h"

#include <algorithm>

namespace config {

namespace {
const char* const App = "Corvane";
const char* const Section = "MRUFiles";
} // namespace

std::vector<std::string> ReadRecentFiles(SettingsStore& store) {
    std::vector<std::string> files;
    for (int i = 1; i <= MaxRecentFiles; ++i) {
        auto value = store.Get(App, Section, std::to_string(i));
        if (!value || value->empty())
            break;
        files.push_back(*value);
    }
    return files;
}

void WriteRecentFiles(SettingsStore& store, const std::vector<std::string>& files) {
    int index = 1;
    for (; index <= static_cast<int>(files.size()) && index <= MaxRecentFiles; ++index)
        store.Set(App, Section, std::to_string(index), files[index - 1]);
    for (; index <= MaxRecentFiles; ++index)
        store.Remove(App, Section, std::to_string(index));
}

std::vector<std::string> AddRecentFile(std::vector<std::string> files, const std::string& path) {
    if (path.empty())
        return files;
    files.erase(std::remove(files.begin(), files.end(), path), files.end());
    files.insert(files.begin(), path);
    if (files.size() > static_cast<std::size_t>(MaxRecentFiles))
        files.resize(MaxRecentFiles);
    return files;
}

} // namespace config
