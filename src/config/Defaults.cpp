#include "config/Config.h"

namespace config {

ByteTable BuildDefaultTranslation() {
    ByteTable table;
    for (int code = 0; code < 256; ++code) {
        bool control = code < 32 || (code >= 128 && code < 160);
        table[code] = control ? std::string("NUL") : std::string(1, static_cast<char>(code));
    }
    table[8] = "{BACKSPACE}";
    table[9] = "{TAB}";
    table[13] = "{ENTER}";
    table[37] = "{%}";
    table[40] = "{(}";
    table[41] = "{)}";
    table[43] = "{+}";
    table[91] = "{[}";
    table[93] = "{]}";
    table[94] = "{^}";
    table[123] = "{{}";
    table[125] = "{}}";
    table[126] = "{~}";
    table[127] = "{DELETE}";
    // The no-break space is typed as an ordinary space.
    table[32] = " ";
    table[160] = " ";
    return table;
}

std::string DefaultDdeTranslation() {
    std::string t(256, '\0');
    for (int code = 32; code < 256; ++code)
        t[code] = static_cast<char>(code);
    return t;
}

std::string IdentityTranslation() {
    std::string t(256, '\0');
    for (int code = 0; code < 256; ++code)
        t[code] = static_cast<char>(code);
    return t;
}

void Config::ResetTables() {
    for (int i = 0; i <= MaxFields; ++i) {
        FieldFilter[i] = i == 0 ? "" : "C";
        FieldLength[i] = 0;
        FieldFormat[i].clear();
        FieldExpression[i].clear();
        FieldPostamble[i].clear();
    }
    for (int code = 0; code < 256; ++code)
        PreInputTranslation[code] = std::string(1, static_cast<char>(code));
    TranslationTable = BuildDefaultTranslation();
    DdeTranslation = DefaultDdeTranslation();
    LogTranslation = IdentityTranslation();
    for (int i = 0; i <= NumOutputStrings; ++i) {
        OutputStringName[i] = i == 0 ? "" : "String" + std::to_string(i);
        OutputString[i].clear();
    }
    for (int i = 0; i < NumHotKeys; ++i) {
        HotKeyAction[i] = 0;
        HotKeyCode[i] = 0;
        HotKeyData[i].clear();
    }
}

void ResetToDefaults(Config& cfg) {
    std::string fileName = std::move(cfg.ConfigFileName);
    cfg = Config{};
    cfg.ConfigFileName = std::move(fileName);
    cfg.ConfigLoaded = False;
    cfg.ConfigChanged = False;
}

std::string PortName(const Config& cfg) {
    return "COM" + std::to_string(cfg.PortNumber + 1);
}

std::string DdeTopic(const Config& cfg) {
    return cfg.DdeTopicName.empty() ? PortName(cfg) : cfg.DdeTopicName;
}

Integer DeriveRecordMode(Integer endOfRecordEvent, Integer recordStructure) {
    if (endOfRecordEvent == 0 || endOfRecordEvent == 3) {
        if (recordStructure == 1)
            return 2;
        if (recordStructure == 2)
            return 6;
        return 0;
    }
    if (endOfRecordEvent == 1) {
        if (recordStructure == 1)
            return 4;
        if (recordStructure == 2)
            return 5;
        return 1;
    }
    return 3;
}

std::string DeriveEndChars(const Config& cfg) {
    return cfg.EndOfRecordEvent == 3 ? cfg.EndOfRecordChars : std::string("\r");
}

std::string ApplyActivationDerivations(Config& cfg) {
    cfg.RecordMode = DeriveRecordMode(cfg.EndOfRecordEvent, cfg.RecordStructure);
    return DeriveEndChars(cfg);
}

} // namespace config
