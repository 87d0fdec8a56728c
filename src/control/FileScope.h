#pragma once
// Where the files that a command names ("{SENDFILE(", "{CONFIG(") may be,
// according to where the command came from. Programs on the user's own
// desktop (D-Bus) may name any file the user can read. Commands from the
// network may name files only inside one folder set for that purpose, and
// none at all while no folder is set; a name that leads out of the folder,
// by ".." or through a symbolic link, is refused.

#include <optional>
#include <string>

namespace control {

class FileScope {
public:
    // Any file: the desktop's own programs.
    static FileScope Anywhere() { return FileScope(false, ""); }
    // Only files inside folder; none when folder is empty.
    static FileScope Inside(std::string folder) { return FileScope(true, std::move(folder)); }

    // The file to open for path: path itself when any file may be named;
    // otherwise path (taken relative to the folder when it is relative)
    // with its links and ".." resolved, when that lies inside the folder.
    // nullopt, with why set, when it may not be named.
    std::optional<std::string> Resolve(const std::string& path, std::string& why) const;

    bool Restricted() const { return restricted_; }
    const std::string& Folder() const { return folder_; }

private:
    FileScope(bool restricted, std::string folder)
        : restricted_(restricted), folder_(std::move(folder)) {}

    bool restricted_;
    std::string folder_;
};

} // namespace control
