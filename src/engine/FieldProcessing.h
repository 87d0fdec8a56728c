#pragma once
// What happens to a field's data: the per-character input filter applied as
// bytes are framed, and the chain run on each field when the record is
// complete (base conversion, math expression, display format, output
// translation).

#include "config/Config.h"
#include "engine/Expression.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"

#include <string>

namespace engine {

// The characters (zero, one or two) to append to field fieldIndex for the
// byte state.InChar.
std::string FilterInputChar(int fieldIndex, const config::Config& cfg, const RuntimeState& state,
                            const Locale& locale);

// Appends the filtered byte to the field's text (the fast path of the above).
void AppendFiltered(int fieldIndex, const config::Config& cfg, RuntimeState& state,
                    const Locale& locale);

// Reads text (leading spaces skipped) as a number in base 16 or 8: digits up
// to the first non-digit of the base; up to 4 hexadecimal (6 octal)
// significant digits give a signed 16-bit value, more a signed 32-bit one.
// Returns false when the number does not fit 32 bits.
bool ConvertBase(const std::string& text, int base, long& value);

// Runs the chain on fields 1..NumFields, each field's whole chain before the
// next field.
void ProcessFields(RuntimeState& state, const config::Config& cfg, Evaluator& evaluator,
                   const Locale& locale);

} // namespace engine
