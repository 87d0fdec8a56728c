#pragma once
// A configuration as JSON: one object whose keys are the setting names of the
// configuration record. Arrays keep their full index ranges (field arrays
// 0..40, hot keys 0..49, tables 0..255, output strings 1..20); strings map
// byte n to code point n; flags are -1 or 0.

#include "config/Config.h"

#include <nlohmann/json.hpp>

#include <string>

namespace app {

nlohmann::ordered_json ConfigToJson(const config::Config& cfg);

// Applies the keys of json to cfg. Returns an empty text on success, else a
// message naming the key that could not be applied (unknown key, wrong type,
// wrong array length, value out of its range); cfg may then be partly changed.
std::string ApplyJson(config::Config& cfg, const nlohmann::json& json);

// Values that the dialogs' lists and check boxes cannot produce, and line
// breaks where the file cannot keep them: the first one as a message naming
// the setting, empty when there is none. "config build" refuses such a record.
std::string CheckDomains(const config::Config& cfg);

// Latin-1 bytes to UTF-8 and back; FromUtf8 fails on code points above 255.
std::string Latin1ToUtf8(const std::string& bytes);
bool Utf8ToLatin1(const std::string& utf8, std::string& bytes);

} // namespace app
