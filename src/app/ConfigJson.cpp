#include "app/ConfigJson.h"

#include "config/ConfigFile.h"
#include "control/HotKeyNames.h"
#include "control/HotKeys.h"

#include <limits>
#include <type_traits>

namespace app {

using config::Config;
using nlohmann::json;

std::string Latin1ToUtf8(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (unsigned char c : bytes) {
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

bool Utf8ToLatin1(const std::string& utf8, std::string& bytes) {
    bytes.clear();
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x80) {
            bytes.push_back(static_cast<char>(c));
        } else if ((c == 0xC2 || c == 0xC3) && i + 1 < utf8.size()) {
            unsigned char next = static_cast<unsigned char>(utf8[++i]);
            if ((next & 0xC0) != 0x80)
                return false;
            bytes.push_back(static_cast<char>(((c & 0x03) << 6) | (next & 0x3F)));
        } else {
            return false;
        }
    }
    return true;
}

namespace {

// Visits every saved setting with its name. The visitor receives the member
// by reference, so the same list serves reading and writing.
template <typename C, typename V> void VisitSettings(C& c, V&& v) {
    v("PortNumber", c.PortNumber);
    v("BaudRate", c.BaudRate);
    v("Parity", c.Parity);
    v("DataBits", c.DataBits);
    v("StopBits", c.StopBits);
    v("FlowControl", c.FlowControl);
    v("InputBufferSize", c.InputBufferSize);
    v("OutputBufferSize", c.OutputBufferSize);
    v("TransferMode", c.TransferMode);
    v("StartOfRecordEvent", c.StartOfRecordEvent);
    v("StartOfRecordChars", c.StartOfRecordChars);
    v("EndOfRecordEvent", c.EndOfRecordEvent);
    v("EndOfRecordChars", c.EndOfRecordChars);
    v("TimeDelayTicks", c.TimeDelayTicks);
    v("RecordStructure", c.RecordStructure);
    v("NumFields", c.NumFields);
    v("DelimiterChar", c.DelimiterChar);
    v("RecordLength", c.RecordLength);
    v("RecordPreamble", c.RecordPreamble);
    v("FieldFilter", c.FieldFilter);
    v("FieldLength", c.FieldLength);
    v("FieldFormat", c.FieldFormat);
    v("FieldExpression", c.FieldExpression);
    v("FieldPostamble", c.FieldPostamble);
    v("PreInputTranslation", c.PreInputTranslation);
    v("TranslationTable", c.TranslationTable);
    v("DdeTranslation", c.DdeTranslation);
    v("LogTranslation", c.LogTranslation);
    v("OutputStringName", c.OutputStringName);
    v("OutputString", c.OutputString);
    v("AckString", c.AckString);
    v("TimerString", c.TimerString);
    v("TimerInterval", c.TimerInterval);
    v("TimerEnabled", c.TimerEnabled);
    v("HotKeyAction", c.HotKeyAction);
    v("HotKeyCode", c.HotKeyCode);
    v("HotKeyData", c.HotKeyData);
    v("TargetAppTitle", c.TargetAppTitle);
    v("TargetAppCommand", c.TargetAppCommand);
    v("ActivateTarget", c.ActivateTarget);
    v("InterCharDelay", c.InterCharDelay);
    v("DdeCmdApp", c.DdeCmdApp);
    v("DdeCmdTopic", c.DdeCmdTopic);
    v("DdeCmdText", c.DdeCmdText);
    v("CmdLinkApp", c.CmdLinkApp);
    v("CmdLinkTopic", c.CmdLinkTopic);
    v("CmdLinkItem", c.CmdLinkItem);
    v("CmdLinkAuto", c.CmdLinkAuto);
    v("OutLinkApp", c.OutLinkApp);
    v("OutLinkTopic", c.OutLinkTopic);
    v("OutLinkItem", c.OutLinkItem);
    v("OutLinkAuto", c.OutLinkAuto);
    v("StripOutputCrLf", c.StripOutputCrLf);
    v("DdeTopicName", c.DdeTopicName);
    v("LogFileName", c.LogFileName);
    v("BeepOnInput", c.BeepOnInput);
    v("MinimizeOnActivation", c.MinimizeOnActivation);
    v("ActivateSuspended", c.ActivateSuspended);
    v("AlwaysOnTop", c.AlwaysOnTop);
    v("ButtonDisplay", c.ButtonDisplay);
    v("ShowDateTime", c.ShowDateTime);
    v("DateTimeFormat", c.DateTimeFormat);
}

// Output strings have no entry 0: JSON shows 1..20.
template <typename T> constexpr std::size_t FirstIndex(std::size_t size) {
    return size == config::NumOutputStrings + 1 ? 1 : 0;
}

struct ToJson {
    nlohmann::ordered_json& out;
    template <typename T> void operator()(const char* name, const T& value) {
        if constexpr (std::is_same_v<T, std::string>) {
            out[name] = Latin1ToUtf8(value);
        } else if constexpr (std::is_integral_v<T>) {
            out[name] = value;
        } else {
            nlohmann::ordered_json array = nlohmann::ordered_json::array();
            for (std::size_t i = FirstIndex<T>(value.size()); i < value.size(); ++i) {
                if constexpr (std::is_same_v<typename T::value_type, std::string>)
                    array.push_back(Latin1ToUtf8(value[i]));
                else
                    array.push_back(value[i]);
            }
            out[name] = std::move(array);
        }
    }
};

struct FromJson {
    const json& in;
    std::string error;
    std::size_t applied = 0;

    template <typename I> bool Number(const std::string& where, const json& j, I& target) {
        // The parser keeps non-negative whole numbers unsigned: read as signed,
        // those beyond the signed range would wrap (2^64 - 1 to -1).
        const bool fits =
            j.is_number_unsigned()
                ? j.get<unsigned long long>() <=
                      static_cast<unsigned long long>(std::numeric_limits<I>::max())
                : j.is_number_integer() &&
                      j.get<long long>() >= static_cast<long long>(std::numeric_limits<I>::min()) &&
                      j.get<long long>() <= static_cast<long long>(std::numeric_limits<I>::max());
        if (!fits) {
            error = where + " must be a whole number from " +
                    std::to_string(std::numeric_limits<I>::min()) + " to " +
                    std::to_string(std::numeric_limits<I>::max());
            return false;
        }
        target = static_cast<I>(j.get<long long>());
        return true;
    }
    bool Text(const std::string& where, const json& j, std::string& target) {
        if (!j.is_string() || !Utf8ToLatin1(j.get<std::string>(), target)) {
            error = where + " must be a text of characters U+0000 to U+00FF";
            return false;
        }
        return true;
    }

    template <typename T> void operator()(const char* name, T& value) {
        if (!error.empty() || !in.contains(name))
            return;
        ++applied;
        const json& j = in.at(name);
        if constexpr (std::is_same_v<T, std::string>) {
            Text(name, j, value);
        } else if constexpr (std::is_integral_v<T>) {
            Number(name, j, value);
        } else {
            std::size_t first = FirstIndex<T>(value.size());
            std::size_t count = value.size() - first;
            if (!j.is_array() || j.size() != count) {
                error = std::string(name) + " must be an array of " + std::to_string(count) +
                        " entries (indexes " + std::to_string(first) + " to " +
                        std::to_string(value.size() - 1) + ")";
                return;
            }
            for (std::size_t i = 0; i < count && error.empty(); ++i) {
                std::string where = std::string(name) + "[" + std::to_string(i + first) + "]";
                if constexpr (std::is_same_v<typename T::value_type, std::string>)
                    Text(where, j[i], value[i + first]);
                else
                    Number(where, j[i], value[i + first]);
            }
        }
    }
};

} // namespace

nlohmann::ordered_json ConfigToJson(const Config& cfg) {
    nlohmann::ordered_json out = nlohmann::ordered_json::object();
    VisitSettings(cfg, ToJson{out});
    return out;
}

std::string ApplyJson(Config& cfg, const json& in) {
    if (!in.is_object())
        return "the configuration must be one JSON object";
    FromJson reader{in, {}, 0};
    VisitSettings(cfg, reader);
    if (!reader.error.empty())
        return reader.error;
    if (reader.applied != in.size()) {
        Config names;
        for (auto it = in.begin(); it != in.end(); ++it) {
            bool known = false;
            VisitSettings(names, [&](const char* name, auto&) { known |= it.key() == name; });
            if (!known)
                return "unknown setting \"" + it.key() + "\"";
        }
    }
    return "";
}

std::string CheckDomains(const Config& c) {
    struct Range {
        const char* name;
        long value, lo, hi;
    } ranges[] = {
        {"BaudRate", c.BaudRate, 0, 13},
        {"Parity", c.Parity, 0, 4},
        {"DataBits", c.DataBits, 0, 3},
        {"StopBits", c.StopBits, 0, 2},
        {"FlowControl", c.FlowControl, 0, 3},
        {"TransferMode", c.TransferMode, 0, 2},
        {"StartOfRecordEvent", c.StartOfRecordEvent, 0, 3},
        {"EndOfRecordEvent", c.EndOfRecordEvent, 0, 3},
        {"RecordStructure", c.RecordStructure, 0, 2},
        {"PortNumber", c.PortNumber, 0, 255},
        {"ButtonDisplay", c.ButtonDisplay, 0, 3},
        {"TimerEnabled", c.TimerEnabled, 0, 15},
        {"InterCharDelay", c.InterCharDelay, 0, 2147483647L},
        {"TimerInterval", c.TimerInterval, 0, 2147483647L},
    };
    for (const auto& r : ranges)
        if (r.value < r.lo || r.value > r.hi)
            return std::string(r.name) + " must be between " + std::to_string(r.lo) + " and " +
                   std::to_string(r.hi);
    struct FlagSetting {
        const char* name;
        config::Flag value;
    } flags[] = {{"ActivateTarget", c.ActivateTarget},
                 {"CmdLinkAuto", c.CmdLinkAuto},
                 {"OutLinkAuto", c.OutLinkAuto},
                 {"StripOutputCrLf", c.StripOutputCrLf},
                 {"BeepOnInput", c.BeepOnInput},
                 {"MinimizeOnActivation", c.MinimizeOnActivation},
                 {"ActivateSuspended", c.ActivateSuspended},
                 {"AlwaysOnTop", c.AlwaysOnTop},
                 {"ShowDateTime", c.ShowDateTime}};
    for (const auto& f : flags)
        if (f.value != config::True && f.value != config::False)
            return std::string(f.name) + " must be -1 (true) or 0 (false)";
    if (c.DelimiterChar.size() != 1)
        return "DelimiterChar must be exactly one character";
    if (c.DdeTranslation.size() != 256 || c.LogTranslation.size() != 256)
        return "DdeTranslation and LogTranslation must be exactly 256 characters";
    // Entry 0 of the field arrays numbers no field: the file does not keep
    // it, so a value there would be lost without a word.
    const Config defaults;
    const struct {
        const char* name;
        bool same;
    } unused[] = {{"FieldFilter", c.FieldFilter[0] == defaults.FieldFilter[0]},
                  {"FieldLength", c.FieldLength[0] == defaults.FieldLength[0]},
                  {"FieldFormat", c.FieldFormat[0] == defaults.FieldFormat[0]},
                  {"FieldExpression", c.FieldExpression[0] == defaults.FieldExpression[0]},
                  {"FieldPostamble", c.FieldPostamble[0] == defaults.FieldPostamble[0]}};
    for (const auto& u : unused)
        if (!u.same)
            return std::string(u.name) + "[0] must be left as it is: no field has the number 0";
    for (int i = 1; i <= config::MaxFields; ++i)
        if (c.FieldFilter[i].size() != 1 ||
            std::string("CINHOB").find(c.FieldFilter[i][0]) == std::string::npos)
            return "FieldFilter[" + std::to_string(i) + "] must be one of C, I, N, H, O, B";
    for (int i = 0; i < config::NumHotKeys; ++i)
        if (c.HotKeyAction[i] < 0 || c.HotKeyAction[i] > 13)
            return "HotKeyAction[" + std::to_string(i) + "] must be between 0 and 13";
    for (int i = 0; i < 256; ++i)
        if (c.PreInputTranslation[i].size() != 1 && c.PreInputTranslation[i] != "Ignore" &&
            c.PreInputTranslation[i] != "Void Record")
            return "PreInputTranslation[" + std::to_string(i) +
                   "] must be one character, \"Ignore\" or \"Void Record\"";
    if (const auto duplicate = control::FindDuplicateHotKey(c.HotKeyCode)) {
        const int code = c.HotKeyCode[static_cast<std::size_t>(duplicate->second)];
        return "HotKeyCode[" + std::to_string(duplicate->second) + "] is " +
               control::HotKeyDisplayName(code) + " as HotKeyCode[" +
               std::to_string(duplicate->first) +
               "] is: the desktop gives a combination to one of them only";
    }
    if (std::string unkept = config::SettingTheFileCannotKeep(c); !unkept.empty())
        return unkept;
    return "";
}

} // namespace app
