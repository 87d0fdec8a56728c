#pragma once
// Date/time tokens in macros ("{YEAR}", "{HOUR}", ...) and the runtime's
// date/time display.

#include "config/Config.h"
#include "engine/Clock.h"
#include "engine/Locale.h"
#include "engine/RuntimeState.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace engine {

// Replaces the first occurrence (in any letter case) of each of "{CENTURY}",
// "{YEAR}", "{MONTH}", "{DAY}", "{HOUR}", "{MINUTE}", "{SECOND}", in that
// order, by two digits of the clock read afresh for each token.
std::string ExpandDateTimeTokens(std::string_view text, Clock& clock);

// The tick's date/time refresh: when the display is on and the second has
// changed, the display text is rendered anew. Returns true when it changed.
bool RefreshDateTimeDisplay(RuntimeState& state, const config::Config& cfg, Clock& clock,
                            const Locale& locale);

// ask(title, prompt, prefill) returns the answer, or nullopt when cancelled.
using AskText = std::function<std::optional<std::string>(
    const std::string& title, const std::string& prompt, const std::string& prefill)>;

// The setup window's date/time command: turns the display over and, when it
// is now on, asks for the format; only a non-empty, different answer is kept.
void ToggleDateTimeDisplay(config::Config& cfg, const AskText& ask);

} // namespace engine
