#include "control/FileScope.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace control {

namespace fs = std::filesystem;

std::optional<std::string> FileScope::Resolve(const std::string& path, std::string& why) const {
    if (!restricted_)
        return path;
    if (folder_.empty()) {
        why = "commands from the network may not name files: no folder is set for them";
        return std::nullopt;
    }
    std::error_code ec;
    const fs::path folder = fs::canonical(folder_, ec);
    if (ec || !fs::is_directory(folder, ec)) {
        why = "the folder for files named by commands from the network, " + folder_ +
              ", does not exist";
        return std::nullopt;
    }
    const fs::path named(path);
    const fs::path resolved =
        fs::weakly_canonical(named.is_absolute() ? named : folder / named, ec);
    if (ec) {
        why = path + " cannot be resolved: " + ec.message();
        return std::nullopt;
    }
    // Inside: the folder's elements are the first elements of the file's,
    // and the file has more of them.
    const auto [folderEnd, fileAt] =
        std::mismatch(folder.begin(), folder.end(), resolved.begin(), resolved.end());
    if (folderEnd != folder.end() || fileAt == resolved.end()) {
        why = path + " is outside " + folder.string() +
              ", the only folder commands from the network may name files in";
        return std::nullopt;
    }
    return resolved.string();
}

} // namespace control
