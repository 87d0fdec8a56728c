// `corvane format` and `corvane expand`: display formats and date/time tokens
// from the command line.

#include "app/Commands.h"
#include "app/Help.h"
#include "engine/DateTimeTokens.h"
#include "engine/Format.h"
#include "engine/PosixClock.h"
#include "engine/ProcessLocale.h"

#include <cstdio>
#include <iostream>
#include <optional>

namespace app {

namespace {

// "YYYY-MM-DDTHH:MM:SS" (the "T" may be a blank).
std::optional<engine::DateTime> ParseIsoDateTime(const std::string& text) {
    engine::DateTime t;
    char sep = 0;
    int consumed = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%n", &t.Year, &t.Month, &t.Day, &sep,
                    &t.Hour, &t.Minute, &t.Second, &consumed) != 7 ||
        static_cast<std::size_t>(consumed) != text.size() || (sep != 'T' && sep != ' '))
        return std::nullopt;
    if (t.Month < 1 || t.Month > 12 || t.Day < 1 || t.Day > 31 || t.Hour > 23 || t.Minute > 59 ||
        t.Second > 59)
        return std::nullopt;
    return t;
}

// A clock that always shows one moment.
class FixedClock : public engine::Clock {
public:
    explicit FixedClock(engine::DateTime t) : t_(t) {}
    std::int32_t TickCount() override { return 0; }
    engine::DateTime Now() override { return t_; }

private:
    engine::DateTime t_;
};

} // namespace

int CmdFormat(const Args& args) {
    engine::Locale locale = engine::ReadProcessLocale();
    if (args.size() == 3 && args[0] == "--datetime") {
        auto when = ParseIsoDateTime(args[1]);
        if (!when) {
            std::cerr << "corvane format: --datetime takes YYYY-MM-DDTHH:MM:SS\n";
            return 2;
        }
        std::cout << engine::FormatDateTime(*when, args[2], locale) << '\n';
        return 0;
    }
    if (args.size() != 2) {
        return UsageError("format");
    }
    std::cout << engine::FormatValue(engine::Value::Text(args[0]), args[1], locale) << '\n';
    return 0;
}

int CmdExpand(const Args& args) {
    if (args.size() == 3 && args[1] == "--now") {
        auto when = ParseIsoDateTime(args[2]);
        if (!when) {
            std::cerr << "corvane expand: --now takes YYYY-MM-DDTHH:MM:SS\n";
            return 2;
        }
        FixedClock clock(*when);
        std::cout << engine::ExpandDateTimeTokens(args[0], clock) << '\n';
        return 0;
    }
    if (args.size() != 1) {
        return UsageError("expand");
    }
    engine::PosixClock clock;
    std::cout << engine::ExpandDateTimeTokens(args[0], clock) << '\n';
    return 0;
}

} // namespace app
