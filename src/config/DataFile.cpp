#include "config/DataFile.h"

#include <filesystem>
#include <fstream>

namespace config {

std::string WhyNotARegularFile(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    switch (status.type()) {
    case fs::file_type::regular:
        return "";
    case fs::file_type::not_found:
        return "does not exist";
    case fs::file_type::directory:
        return "is a folder";
    case fs::file_type::character:
    case fs::file_type::block:
        return "is a device";
    case fs::file_type::fifo:
        return "is a named pipe";
    case fs::file_type::socket:
        return "is a socket";
    default:
        return ec ? ec.message() : "is not a regular file";
    }
}

FileBytes ReadDataFile(const std::string& path, std::uintmax_t maxBytes) {
    FileBytes result;
    result.why = WhyNotARegularFile(path);
    if (!result.why.empty()) {
        result.problem = result.why == "does not exist" ? FileBytes::Problem::Missing
                                                        : FileBytes::Problem::NotRegular;
        return result;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        result.problem = FileBytes::Problem::Unreadable;
        result.why = "cannot be opened";
        return result;
    }
    // Read a piece at a time, never past the bound, whatever the file's
    // size says (a file may grow while it is read).
    std::string bytes;
    char piece[16384];
    while (bytes.size() <= maxBytes && in.read(piece, sizeof piece).gcount() > 0)
        bytes.append(piece, static_cast<std::size_t>(in.gcount()));
    if (in.bad()) {
        result.problem = FileBytes::Problem::Unreadable;
        result.why = "cannot be read";
        return result;
    }
    if (bytes.size() > maxBytes) {
        result.problem = FileBytes::Problem::TooLarge;
        result.why = "is larger than " + std::to_string(maxBytes / (1024 * 1024)) + " MB";
        return result;
    }
    result.bytes = std::move(bytes);
    return result;
}

} // namespace config
