#include "engine/RecordCounter.h"

#include "engine/Value.h"

#include <algorithm>
#include <ostream>

namespace engine {

namespace {

constexpr std::size_t GeneralDigits = 15;

bool IsPlain(const std::string& text) {
    return !text.empty() && text.size() < GeneralDigits && (text[0] != '0' || text.size() == 1) &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c - '0') <= 9; });
}

} // namespace

RecordCounter& RecordCounter::operator=(std::string text) {
    text_ = std::move(text);
    plain_ = IsPlain(text_);
    return *this;
}

void RecordCounter::IncreaseCarrying(const Locale& locale) {
    if (plain_) {
        std::size_t i = text_.size();
        while (i > 0 && text_[i - 1] == '9')
            text_[--i] = '0';
        if (i == 0) {
            text_.insert(text_.begin(), '1');
            plain_ = text_.size() < GeneralDigits;
        } else {
            ++text_[i - 1];
        }
        return;
    }
    const double next = LeadingNumber(text_, locale.DecimalSeparator) + 1;
    if (next > -1e15 && next < 1e15 && next == static_cast<double>(static_cast<long long>(next)))
        *this = std::to_string(static_cast<long long>(next));
    else
        *this = GeneralNumber(next, false, locale);
}

std::ostream& operator<<(std::ostream& out, const RecordCounter& counter) {
    return out << counter.text_;
}

} // namespace engine
