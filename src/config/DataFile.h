#pragma once
// Files that the program reads because a user or another program named them
// (a configuration to open or reload, a file to send to the instrument).
// Only regular files are read: a folder cannot be, and a device such as
// /dev/zero or a named pipe may never end or wait for a writer, which would
// stop the program in the middle of its work.

#include <cstdint>
#include <optional>
#include <string>

namespace config {

// Why path cannot be read as a file of data, to follow its name in a message
// ("does not exist", "is a folder", "is a device", "is a named pipe", or the
// system's words); empty when it is a regular file (links are followed).
std::string WhyNotARegularFile(const std::string& path);

struct FileBytes {
    enum class Problem { None, Missing, Unreadable, NotRegular, TooLarge };
    std::optional<std::string> bytes; // the whole file, or nothing
    Problem problem = Problem::None;
    std::string why; // when nothing: why, as above ("is larger than 1 MB")
};

// Reads a regular file of at most maxBytes; never more than maxBytes + 1
// bytes are read, whatever the file claims.
FileBytes ReadDataFile(const std::string& path, std::uintmax_t maxBytes);

} // namespace config
