#pragma once
// Configuration files: the current ".QX3" layout (read and written) and the
// two older layouts the program still reads (2.00, and the 1.x ".QX1" files).
// A file is CR LF text, one value per line in a fixed order, then a block of
// raw bytes for every string that may hold control characters.

#include "config/Config.h"
#include "config/MessageSink.h"

#include <string>

namespace config {

// The banner every save writes.
extern const char* const BannerV300;

// Returns -2 for an empty path, -3 when the file is missing or cannot be
// opened, -1 (after telling the user) when it is no configuration (its first
// line is no configuration banner, it is a folder, a device or a pipe rather
// than a regular file, or it holds more than a megabyte), -4 when it ends
// right after the banner, and otherwise the port number on line 2.
int CheckConfigFile(const std::string& path, MessageSink& messages);

enum class LoadStatus {
    Complete,   // every value of the layout was read
    EndedEarly, // the file ended or held a value out of range; the rest kept its values
    NotOpened,  // the file could not be opened; nothing changed
};

// Reads the file into cfg without resetting it first: settings that the
// file's layout lacks (or that follow a point where the file ends early) keep
// the values they had. A file that is missing, unreadable, no regular file or
// over a megabyte is NotOpened and changes nothing. duringStartup suppresses the extra line of 1.x
// files. Sets ConfigLoaded; ConfigChanged is cleared for a current file and set for an older
// layout, after the previous-version message.
LoadStatus LoadConfigFile(Config& cfg, const std::string& path, MessageSink& messages,
                          bool duringStartup = false);

// Writes cfg in the current layout to cfg.ConfigFileName. Returns false
// without writing when the name is empty, when a setting holds a line break
// or a value the file cannot keep (SettingTheFileCannotKeep), or when the file
// cannot be written.
bool SaveConfigFile(const Config& cfg);

// The whole file a save would write, as bytes. With unkept, also what
// SettingTheFileCannotKeep would say, from the same pass.
std::string SerializeConfig(const Config& cfg, std::string* unkept = nullptr);

// The first setting whose value would not read back unchanged, with the
// reason, as a message: "TargetAppTitle must not hold a carriage return or
// line feed: the file keeps it on one line", "FieldFormat[3] is longer than
// ..." (a line is read up to 65536 characters, a string of the raw block up to
// 32767). Read back, a line break would end the value early and shift every
// later setting. Empty when every value reads back as it is; the strings of
// the raw block may hold any byte.
std::string SettingTheFileCannotKeep(const Config& cfg);

// At start and for the file commands: a path that does not check out gives
// the defaults (keeping the name only when the file is missing, so that a new
// configuration can be saved under it); otherwise the file is loaded.
void NewOrLoadAtStart(Config& cfg, const std::string& path, MessageSink& messages,
                      bool duringStartup);

} // namespace config
