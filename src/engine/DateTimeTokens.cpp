#include "engine/DateTimeTokens.h"

#include "engine/Format.h"

#include <cctype>
#include <cstdio>

namespace engine {

namespace {

std::string Two(int v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%02d", ((v % 100) + 100) % 100);
    return buf;
}

} // namespace

std::string ExpandDateTimeTokens(std::string_view text, Clock& clock) {
    static const char* const tokens[] = {"{CENTURY}", "{YEAR}",   "{MONTH}", "{DAY}",
                                         "{HOUR}",    "{MINUTE}", "{SECOND}"};
    std::string current(text);
    for (int k = 0; k < 7; ++k) {
        std::string upper = current;
        for (char& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        std::size_t p = upper.find(tokens[k]);
        if (p == std::string::npos)
            continue;
        DateTime now = clock.Now();
        int values[] = {now.Year / 100, now.Year,   now.Month, now.Day,
                        now.Hour,       now.Minute, now.Second};
        current.replace(p, std::char_traits<char>::length(tokens[k]), Two(values[k]));
    }
    return current;
}

bool RefreshDateTimeDisplay(RuntimeState& state, const config::Config& cfg, Clock& clock,
                            const Locale& locale) {
    if (!cfg.ShowDateTime)
        return false;
    DateTime now = clock.Now();
    if (state.LastDateTime && *state.LastDateTime == now)
        return false;
    state.LastDateTime = now;
    state.DateTimeText = FormatDateTime(now, cfg.DateTimeFormat, locale);
    return true;
}

void ToggleDateTimeDisplay(config::Config& cfg, const AskText& ask) {
    cfg.ConfigChanged = config::True;
    cfg.ShowDateTime = cfg.ShowDateTime ? config::False : config::True;
    if (!cfg.ShowDateTime)
        return;
    auto answer = ask("Date/Time Format", "Enter Format Expression for Date/Time Display",
                      cfg.DateTimeFormat);
    if (answer && !answer->empty() && *answer != cfg.DateTimeFormat)
        cfg.DateTimeFormat = *answer;
}

} // namespace engine
