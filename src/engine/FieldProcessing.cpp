#include "engine/FieldProcessing.h"

#include "engine/Format.h"

#include <algorithm>

namespace engine {

std::string& MakeFieldText(Value& field, const Locale& locale) {
    field = Value::Text(field.ToText(locale));
    return field.TextRef();
}

void FieldProcessor::Activate(const config::Config& cfg, const RuntimeState& state) {
    for (int f = 0; f <= 41; ++f) {
        const std::string letter = f >= 1 && f <= config::MaxFields
                                       ? cfg.FieldFilter[static_cast<std::size_t>(f)]
                                       : std::string("C");
        const char l = letter.empty() ? 'C' : letter[0];
        auto& filter = filter_[static_cast<std::size_t>(f)];
        filter = l == 'I'   ? InputFilter::Ignore
                 : l == 'N' ? InputFilter::Numeric
                 : l == 'B' ? InputFilter::Binary
                            : InputFilter::Keep; // C, H, O and any other letter
        base_[static_cast<std::size_t>(f)] = l == 'H' ? 16 : l == 'O' ? 8 : 0;
    }
    anyTranslated_ = anyDropped_ = false;
    nothingToProcess_ = true;
    for (int f = 1; f <= std::clamp<int>(cfg.NumFields, 1, config::MaxFields); ++f) {
        const auto i = static_cast<std::size_t>(f);
        if (base_[i] || !cfg.FieldExpression[i].empty() || !cfg.FieldFormat[i].empty())
            nothingToProcess_ = false;
    }
    for (int c = 0; c < 256; ++c) {
        const std::string& out = state.OutputTranslation[static_cast<std::size_t>(c)];
        // Outside Log To Disk mode a character whose output translation is
        // the single NUL is dropped as it arrives.
        droppedAtInput_[static_cast<std::size_t>(c)] =
            cfg.TransferMode != config::LogToDisk && out.size() == 1 && out[0] == '\0';
        notDropped_[static_cast<std::size_t>(c)] = !droppedAtInput_[static_cast<std::size_t>(c)];
        anyDropped_ = anyDropped_ || droppedAtInput_[static_cast<std::size_t>(c)];
        numeric_[static_cast<std::size_t>(c)] =
            (c >= '0' && c <= '9') || c == '-' ||
            c == static_cast<unsigned char>(locale_.DecimalSeparator);
        const bool translated = out.size() != 1 || static_cast<unsigned char>(out[0]) != c;
        translated_[static_cast<std::size_t>(c)] = translated;
        anyTranslated_ = anyTranslated_ || translated;
    }
    nothingToProcess_ = nothingToProcess_ && !anyTranslated_;
}

void FieldProcessor::AppendFilteredRun(int fieldIndex, const std::uint8_t* begin,
                                       const std::uint8_t* end,
                                       const std::array<std::uint8_t, 256>& map, bool mapIsIdentity,
                                       RuntimeState& state) const {
    const InputFilter filter = filter_[static_cast<std::size_t>(fieldIndex)];
    if (filter == InputFilter::Ignore || begin == end)
        return;
    std::string& text =
        FieldTextOf(state.FieldValue[static_cast<std::size_t>(fieldIndex)], locale_);
    if (filter == InputFilter::Binary) {
        for (const std::uint8_t* p = begin; p != end; ++p) {
            char out[2];
            text.append(out, Filtered(fieldIndex, map[*p], out));
        }
        return;
    }
    // Keep and Numeric keep a byte or drop it: the bytes are gathered into a
    // buffer without a branch per byte and appended in pieces.
    const bool numeric = filter == InputFilter::Numeric;
    if (mapIsIdentity && !numeric && !anyDropped_) {
        text.append(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
        return;
    }
    const std::array<bool, 256>& kept = numeric ? numeric_ : notDropped_;
    if (mapIsIdentity) {
        const std::uint8_t* p = begin;
        while (p != end && kept[*p])
            ++p;
        text.append(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(p - begin));
        begin = p;
    }
    char buffer[256];
    while (begin != end) {
        std::size_t n = 0;
        for (std::size_t k = 0; k < sizeof buffer && begin != end; ++k, ++begin) {
            const std::uint8_t c = map[*begin];
            buffer[n] = static_cast<char>(c);
            n += kept[c];
        }
        text.append(buffer, n);
    }
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

void FieldProcessor::ProcessEachField(RuntimeState& state, const config::Config& cfg) {
    const int numFields = std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
    for (int i = 1; i <= numFields; ++i) {
        Value& field = state.FieldValue[static_cast<std::size_t>(i)];
        if (const int base = base_[static_cast<std::size_t>(i)]) {
            long v = 0;
            if (ConvertBase(field.ToText(locale_), base, v))
                field = Value::Text(std::to_string(v));
        }
        const std::string& expression = cfg.FieldExpression[static_cast<std::size_t>(i)];
        if (!expression.empty())
            evaluator_.EvaluateExpression(expression, field, state.FieldValue);
        const std::string& format = cfg.FieldFormat[static_cast<std::size_t>(i)];
        if (!format.empty()) {
            auto& prepared = formats_[static_cast<std::size_t>(i)];
            if (!prepared || prepared->Text() != format)
                prepared.emplace(format, locale_);
            field = Value::Text(prepared->Apply(field, locale_));
        }
        std::string& text = FieldTextOf(field, locale_);
        if (!anyTranslated_)
            continue;
        // Rebuild only from the first character that translates to
        // something else.
        auto first = std::find_if(text.begin(), text.end(), [&](char c) {
            return translated_[static_cast<unsigned char>(c)];
        });
        if (first == text.end())
            continue;
        std::string out(text.begin(), first);
        for (auto k = first; k != text.end(); ++k)
            out += state.OutputTranslation[static_cast<unsigned char>(*k)];
        text = std::move(out);
    }
}

} // namespace engine
