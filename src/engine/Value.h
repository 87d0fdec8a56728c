#pragma once
// The field value: empty, boolean, 16-bit or 32-bit integer, single, double or
// text. Fields arrive as text; math expressions may turn them into numbers or
// booleans; display formats make text of them again.

#include "engine/Locale.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace engine {

struct EmptyValue {
    bool operator==(const EmptyValue&) const = default;
};

class Value {
public:
    enum class Kind { Empty, Boolean, Int16, Int32, Single, Double, Text };

    Value() = default;
    static Value Boolean(bool b) { return Value(Storage(std::in_place_index<1>, b)); }
    static Value Int16(std::int16_t v) { return Value(Storage(std::in_place_index<2>, v)); }
    static Value Int32(std::int32_t v) { return Value(Storage(std::in_place_index<3>, v)); }
    static Value Single(float v) { return Value(Storage(std::in_place_index<4>, v)); }
    static Value Double(double v) { return Value(Storage(std::in_place_index<5>, v)); }
    static Value Text(std::string v) {
        return Value(Storage(std::in_place_index<6>, std::move(v)));
    }

    Kind kind() const { return static_cast<Kind>(data_.index()); }
    bool IsEmpty() const { return kind() == Kind::Empty; }
    bool IsText() const { return kind() == Kind::Text; }
    bool IsNumeric() const; // boolean, integer, single or double

    bool AsBool() const { return std::get<1>(data_); }
    std::int16_t AsInt16() const { return std::get<2>(data_); }
    std::int32_t AsInt32() const { return std::get<3>(data_); }
    float AsSingle() const { return std::get<4>(data_); }
    double AsDouble() const { return std::get<5>(data_); }
    const std::string& AsText() const { return std::get<6>(data_); }
    // The text of a text value, for appending in place.
    std::string& TextRef() { return std::get<6>(data_); }
    // The text if the value is one, else null.
    std::string* TextIf() { return std::get_if<6>(&data_); }
    const std::string* TextIf() const { return std::get_if<6>(&data_); }

    // The value as text, as a field shows it: numbers in the general number
    // format, booleans as "True"/"False", empty as "".
    std::string ToText(const Locale& locale) const;

    // The value as a number: booleans are -1/0, empty is 0, text by the
    // leading-number rule; nullopt for text that holds no number.
    std::optional<double> ToNumber(const Locale& locale) const;

    bool operator==(const Value&) const = default;

private:
    using Storage =
        std::variant<EmptyValue, bool, std::int16_t, std::int32_t, float, double, std::string>;
    explicit Value(Storage s) : data_(std::move(s)) {}
    Storage data_;
};

// The longest prefix of text (after leading blanks) that reads as a decimal
// number: optional sign, digits, one decimal separator, more digits. Sets
// *consumed to the characters used (0 when no digit was found).
double LeadingNumber(std::string_view text, char decimalSeparator, std::size_t* consumed = nullptr);

// LeadingNumber followed by an optional exponent: "E" or "e", an optional
// sign and at least one digit ("1.5E-03", "-2e+5", "3E4"), the way meters
// send numbers in scientific notation. An "E" without digits after it is not
// part of the number ("12E" reads as 12 and consumes 2). A value beyond the
// largest double reads as an infinity of its sign, one below the smallest
// subnormal as zero of its sign.
double LeadingScientificNumber(std::string_view text, char decimalSeparator,
                               std::size_t* consumed = nullptr);

// The general number format: at most 15 significant digits for a double (7 for
// a single), no trailing zeros, no thousands separators, the locale's decimal
// separator, scientific form ("1E+15", "1.234568E+07", "1E-05") outside the
// plain range.
std::string GeneralNumber(double v, bool single, const Locale& locale);

} // namespace engine
