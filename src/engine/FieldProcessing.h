#pragma once
// What happens to a field's data: the per-character input filter applied as
// bytes are framed, and the chain run on each field when the record is
// complete (base conversion, math expression, display format, output
// translation).

#include "config/Config.h"
#include "engine/Expression.h"
#include "engine/Format.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace engine {

// Reads text (leading spaces skipped) as a number in base 16 or 8: digits up
// to the first non-digit of the base; up to 4 hexadecimal (6 octal)
// significant digits give a signed 16-bit value, more a signed 32-bit one.
// Returns false when the number does not fit 32 bits.
bool ConvertBase(const std::string& text, int base, long& value);

// The field's text, turning a field that is not text yet into text.
std::string& MakeFieldText(Value& field, const Locale& locale);
inline std::string& FieldTextOf(Value& field, const Locale& locale) {
    if (std::string* text = field.TextIf())
        return *text;
    return MakeFieldText(field, locale);
}

// The field work of one activation. What the configuration asks of every
// byte (each field's filter letter, the characters dropped at input, whether
// the output translation changes anything) is resolved once, in Activate;
// the filter and the chain then run on every byte and record.
class FieldProcessor {
public:
    explicit FieldProcessor(const Locale& locale) : locale_(locale), evaluator_(locale) {}

    // Reads the filter letters, the transfer mode and state.OutputTranslation
    // (which must be built first).
    void Activate(const config::Config& cfg, const RuntimeState& state);

    // The characters (zero, one or two) to append to field fieldIndex for
    // the byte inChar.
    std::string FilterInputChar(int fieldIndex, std::uint8_t inChar) const {
        char out[2];
        return std::string(out, Filtered(fieldIndex, inChar, out));
    }

    // Appends them to the field's text: the per-byte path of framing.
    [[gnu::always_inline]] void AppendFiltered(int fieldIndex, std::uint8_t inChar,
                                               RuntimeState& state) const {
        char out[2];
        if (const std::size_t n = Filtered(fieldIndex, inChar, out)) {
            std::string& text =
                FieldTextOf(state.FieldValue[static_cast<std::size_t>(fieldIndex)], locale_);
            if (n == 1)
                text.push_back(out[0]);
            else
                text.append(out, n);
        }
    }

    // Appends the filtered bytes [begin, end) to the field, each byte first
    // replaced through map (the pre-input translation): the same as
    // AppendFiltered for each byte in turn. A run kept whole into a field
    // that holds text, the usual case, is appended at once.
    void AppendRun(int fieldIndex, const std::uint8_t* begin, const std::uint8_t* end,
                   const std::array<std::uint8_t, 256>& map, bool mapIsIdentity,
                   RuntimeState& state) const {
        const auto i = static_cast<std::size_t>(fieldIndex);
        std::string* text = state.FieldValue[i].TextIf();
        if (text && filter_[i] == InputFilter::Keep && mapIsIdentity && !anyDropped_)
            text->append(reinterpret_cast<const char*>(begin),
                         static_cast<std::size_t>(end - begin));
        else
            AppendFilteredRun(fieldIndex, begin, end, map, mapIsIdentity, state);
    }

    // Runs the chain on fields 1..NumFields, each field's whole chain before
    // the next field.
    void ProcessFields(RuntimeState& state, const config::Config& cfg) {
        if (!nothingToProcess_)
            ProcessEachField(state, cfg);
    }

private:
    void AppendFilteredRun(int fieldIndex, const std::uint8_t* begin, const std::uint8_t* end,
                           const std::array<std::uint8_t, 256>& map, bool mapIsIdentity,
                           RuntimeState& state) const;
    void ProcessEachField(RuntimeState& state, const config::Config& cfg);

    enum class InputFilter : std::uint8_t { Keep, Ignore, Numeric, Binary };

    [[gnu::always_inline]] std::size_t Filtered(int fieldIndex, std::uint8_t inChar,
                                                char out[2]) const {
        switch (filter_[static_cast<std::size_t>(fieldIndex)]) {
        case InputFilter::Keep:
            out[0] = static_cast<char>(inChar);
            return droppedAtInput_[inChar] ? 0 : 1;
        case InputFilter::Numeric:
            out[0] = static_cast<char>(inChar);
            return numeric_[inChar] ? 1 : 0;
        case InputFilter::Binary:
            out[0] = "0123456789ABCDEF"[inChar >> 4];
            out[1] = "0123456789ABCDEF"[inChar & 15];
            return 2;
        case InputFilter::Ignore:
            break;
        }
        return 0;
    }

    const Locale& locale_;
    Evaluator evaluator_;
    // Each field's format as last prepared, kept while the format stays.
    std::array<std::optional<PreparedFormat>, 42> formats_{};
    // Per field 0..41 (the overflow field keeps what arrives).
    std::array<InputFilter, 42> filter_{};
    std::array<std::uint8_t, 42> base_{}; // 16 or 8 to convert at record end, else 0
    std::array<bool, 256> droppedAtInput_{};
    std::array<bool, 256> notDropped_{};
    bool anyDropped_ = false;
    std::array<bool, 256> numeric_{};
    // Characters the output translation replaces by something else; none at
    // all is the common case of the log and DDE translations.
    std::array<bool, 256> translated_{};
    bool anyTranslated_ = false;
    // No field has a conversion, expression or format, and the translation
    // changes nothing: processing a record is then nothing at all. Fields'
    // expressions and formats are read when the record completes; only
    // whether there are any is settled at activation.
    bool nothingToProcess_ = false;
};

} // namespace engine
