#pragma once
// The record counter the runtime window shows: text that the user or another
// program may set to anything, increased once for every delivered record.
// Text that is no number counts as 0; the result is written back in the
// general number format. The counter remembers whether its text is plain
// digits (what it holds unless someone wrote something else), so that the
// usual increase only carries through the last digits instead of reading
// the whole text again for every record.

#include "engine/Locale.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace engine {

class RecordCounter {
public:
    RecordCounter() = default;
    explicit RecordCounter(std::string text) { *this = std::move(text); }
    RecordCounter& operator=(std::string text);
    RecordCounter& operator=(const char* text) { return *this = std::string(text); }

    const std::string& Text() const { return text_; }
    operator const std::string&() const { return text_; }

    void Increase(const Locale& locale) {
        if (plain_ && text_.back() != '9')
            ++text_.back();
        else
            IncreaseCarrying(locale);
    }

    friend bool operator==(const RecordCounter& a, std::string_view b) { return a.text_ == b; }
    friend bool operator==(const RecordCounter& a, const RecordCounter& b) {
        return a.text_ == b.text_;
    }
    friend std::ostream& operator<<(std::ostream& out, const RecordCounter& counter);

private:
    void IncreaseCarrying(const Locale& locale);

    std::string text_;
    // Decimal digits without a leading zero, short of the 15 digits from
    // which the general number format takes over.
    bool plain_ = false;
};

} // namespace engine
