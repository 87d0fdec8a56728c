#include "engine/FieldProcessing.h"

#include "engine/Format.h"

#include <algorithm>

namespace engine {

namespace {

char FilterLetter(int fieldIndex, const config::Config& cfg) {
    if (fieldIndex < 1 || fieldIndex > config::MaxFields)
        return 'C'; // the overflow field keeps what arrives
    const std::string& f = cfg.FieldFilter[static_cast<std::size_t>(fieldIndex)];
    return f.empty() ? 'C' : f[0];
}

bool IsNumericChar(char c, const Locale& locale) {
    return (c >= '0' && c <= '9') || c == '-' || c == locale.DecimalSeparator;
}

// The field's text, turning a field that is not text yet into text.
std::string& FieldText(RuntimeState& state, int fieldIndex, const Locale& locale) {
    Value& v = state.FieldValue[static_cast<std::size_t>(fieldIndex)];
    if (!v.IsText())
        v = Value::Text(v.ToText(locale));
    return v.TextRef();
}

} // namespace

namespace {

// The characters (at most two) the byte becomes in field fieldIndex.
std::size_t FilteredChars(int fieldIndex, const config::Config& cfg, const RuntimeState& state,
                          const Locale& locale, char out[2]) {
    const char c = static_cast<char>(state.InChar);
    switch (FilterLetter(fieldIndex, cfg)) {
    case 'N':
        out[0] = c;
        return IsNumericChar(c, locale) ? 1 : 0;
    case 'I':
        return 0;
    case 'B': {
        static const char hex[] = "0123456789ABCDEF";
        out[0] = hex[state.InChar >> 4];
        out[1] = hex[state.InChar & 15];
        return 2;
    }
    default:
        // Outside Log To Disk mode a character whose output translation is
        // the single NUL is dropped as it arrives.
        if (cfg.TransferMode != config::LogToDisk) {
            const std::string& translated = state.OutputTranslation[state.InChar];
            if (translated.size() == 1 && translated[0] == '\0')
                return 0;
        }
        out[0] = c;
        return 1;
    }
}

} // namespace

std::string FilterInputChar(int fieldIndex, const config::Config& cfg, const RuntimeState& state,
                            const Locale& locale) {
    char out[2];
    return std::string(out, FilteredChars(fieldIndex, cfg, state, locale, out));
}

void AppendFiltered(int fieldIndex, const config::Config& cfg, RuntimeState& state,
                    const Locale& locale) {
    char out[2];
    if (std::size_t n = FilteredChars(fieldIndex, cfg, state, locale, out))
        FieldText(state, fieldIndex, locale).append(out, n);
}

bool ConvertBase(const std::string& text, int base, long& value) {
    std::size_t i = text.find_first_not_of(' ');
    if (i == std::string::npos) {
        value = 0;
        return true;
    }
    unsigned long long v = 0;
    int significant = 0;
    for (; i < text.size(); ++i) {
        char c = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
        int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 99;
        if (d >= base)
            break;
        if (v != 0 || d != 0)
            ++significant;
        v = v * static_cast<unsigned>(base) + static_cast<unsigned>(d);
        if (v > 0xFFFFFFFFull)
            return false;
    }
    const int shortDigits = base == 16 ? 4 : 6;
    if (significant <= shortDigits && v <= 0xFFFF)
        value = static_cast<std::int16_t>(static_cast<std::uint16_t>(v));
    else
        value = static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    return true;
}

void ProcessFields(RuntimeState& state, const config::Config& cfg, Evaluator& evaluator,
                   const Locale& locale) {
    const int numFields = std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
    for (int i = 1; i <= numFields; ++i) {
        Value& field = state.FieldValue[static_cast<std::size_t>(i)];
        char filter = FilterLetter(i, cfg);
        if (filter == 'H' || filter == 'O') {
            long v = 0;
            if (ConvertBase(field.ToText(locale), filter == 'H' ? 16 : 8, v))
                field = Value::Text(std::to_string(v));
        }
        const std::string& expression = cfg.FieldExpression[static_cast<std::size_t>(i)];
        if (!expression.empty())
            evaluator.EvaluateExpression(expression, field, state.FieldValue);
        const std::string& format = cfg.FieldFormat[static_cast<std::size_t>(i)];
        if (!format.empty())
            field = Value::Text(FormatValue(field, format, locale));
        if (!field.IsText())
            field = Value::Text(field.ToText(locale));
        std::string& text = field.TextRef();
        // Most characters translate to themselves; rebuild only from the
        // first one that does not.
        std::size_t k = 0;
        for (; k < text.size(); ++k) {
            const std::string& out = state.OutputTranslation[static_cast<unsigned char>(text[k])];
            if (out.size() != 1 || out[0] != text[k])
                break;
        }
        if (k < text.size()) {
            std::string translated = text.substr(0, k);
            for (; k < text.size(); ++k)
                translated += state.OutputTranslation[static_cast<unsigned char>(text[k])];
            text = std::move(translated);
        }
    }
}

} // namespace engine
