#include "output/KeySender.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

namespace output {

const std::vector<KeyName>& KeyNameTable() {
    static const std::vector<KeyName> table = [] {
        std::vector<KeyName> t = {
            {"CAPSLOCK", 20},
            {"NUMLOCK", 144},
            {"SCROLLOCK", 145},
            {"ESCAPE", 27},
            {"ESC", 27},
            {"ENTER", 13},
            {"HELP", 47},
            {"PRTSC", 44},
            {"TAB", 9},
            // "BREAK" is the Ctrl key on purpose: "{BREAK}a{BREAK}" types Ctrl+A.
            {"BREAK", 17},
            {"CLEAR", 12},
            {"BACKSPACE", 8},
            {"BS", 8},
            {"BKSP", 8},
            {"DELETE", 46},
            {"DEL", 46},
            {"INSERT", 45},
            {"LEFT", 37},
            {"RIGHT", 39},
            {"UP", 38},
            {"DOWN", 40},
            {"PGUP", 33},
            {"PGDN", 34},
            {"HOME", 36},
            {"END", 35},
        };
        static const char* const f[] = {"F1", "F2",  "F3",  "F4",  "F5",  "F6",  "F7",  "F8",
                                        "F9", "F10", "F11", "F12", "F13", "F14", "F15", "F16"};
        for (int i = 0; i < 16; ++i)
            t.push_back({f[i], 112 + i});
        static const char* const pad[] = {"NUMPAD0", "NUMPAD1", "NUMPAD2", "NUMPAD3", "NUMPAD4",
                                          "NUMPAD5", "NUMPAD6", "NUMPAD7", "NUMPAD8", "NUMPAD9"};
        for (int i = 0; i < 10; ++i)
            t.push_back({pad[i], 96 + i});
        return t;
    }();
    return table;
}

int LookupKeyName(std::string_view name, Keyboard& keyboard) {
    if (name.size() == 1)
        return keyboard.VkKeyScan(static_cast<unsigned char>(name[0]));
    std::size_t b = name.find_first_not_of(' ');
    std::size_t e = name.find_last_not_of(' ');
    std::string upper = b == std::string_view::npos ? "" : std::string(name.substr(b, e - b + 1));
    for (char& c : upper)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const auto& row : KeyNameTable())
        if (upper == row.name)
            return row.vk;
    return 0;
}

namespace {

// The recursive parser over 1-based positions.
class Parser {
public:
    Parser(std::string_view s, Keyboard& kb, std::vector<std::uint16_t>& q)
        : s_(s), kb_(kb), q_(q) {}

    int Run() {
        q_.clear();
        pos_ = 0;
        while (!PastEnd()) {
            int code = Unit();
            if (code != KeysOk)
                return code;
        }
        return KeysOk;
    }

private:
    bool PastEnd() const { return pos_ > Len(); }
    long Len() const { return static_cast<long>(s_.size()); }
    char At(long p) const { return s_[static_cast<std::size_t>(p - 1)]; }

    int Push(int item) {
        if (q_.size() >= KeyQueueCapacity)
            return TooManyKeys;
        q_.push_back(static_cast<std::uint16_t>(item));
        return KeysOk;
    }

    int PushKey(int key, long count) {
        bool shift = (key & 0x100) != 0;
        if (shift)
            if (int c = Push(VkShift))
                return c;
        // A negative count pushes until the queue is full.
        for (long i = 0; count < 0 || i < count; ++i)
            if (int c = Push(key & 0xFF))
                return c;
        if (shift)
            return Push(VkShift);
        return KeysOk;
    }

    int Braced() {
        int key = -1;
        long scan = pos_;
        bool known = false;
        if (pos_ + 1 <= Len() && At(pos_ + 1) == '}') {
            key = kb_.VkKeyScan('}');
            known = true;
            scan = pos_ + 1;
        }
        do
            ++scan;
        while (scan <= Len() && At(scan) != ' ' && At(scan) != '}');
        if (scan > Len())
            return UnterminatedBrace;
        if (!known) {
            key = LookupKeyName(s_.substr(static_cast<std::size_t>(pos_),
                                          static_cast<std::size_t>(scan - pos_ - 1)),
                                kb_);
            if (key == 0)
                return UnknownKeyName;
        }
        long count = 1;
        if (At(scan) == ' ') {
            // The count: a leading number, rounded to the nearest whole number.
            std::string rest(s_.substr(static_cast<std::size_t>(scan)));
            std::size_t i = 0;
            std::string digits;
            if (i < rest.size() && (rest[i] == '-' || rest[i] == '+'))
                digits += rest[i++];
            while (i < rest.size() &&
                   (std::isdigit(static_cast<unsigned char>(rest[i])) || rest[i] == '.'))
                digits += rest[i++];
            double v = std::strtod(digits.substr(0, 32).c_str(), nullptr);
            if (!std::isfinite(v) || std::fabs(v) > 1e9)
                v = v < 0 ? -1 : KeyQueueCapacity + 1;
            count = std::lround(v);
            if (count == 0)
                return BadRepeatCount;
        }
        if (int c = PushKey(key, count))
            return c;
        // Leave the position on the closing brace; a count without one stops
        // at the end of the string.
        pos_ = scan;
        while (pos_ <= Len() && At(pos_) != '}')
            ++pos_;
        return KeysOk;
    }

    int Unit() {
        ++pos_;
        if (PastEnd())
            return KeysOk;
        if (++depth_ > 1000) // nesting this deep is no key string
            return UnclosedParenthesis;
        int code = UnitAt(At(pos_));
        --depth_;
        return code;
    }

    int UnitAt(char c) {
        switch (c) {
        case '{':
            return Braced();
        case '(':
            while (!(pos_ + 1 <= Len() && At(pos_ + 1) == ')') && !PastEnd())
                if (int code = Unit())
                    return code;
            if (PastEnd())
                return UnclosedParenthesis;
            ++pos_;
            return KeysOk;
        case '~':
            return Push(13);
        case '+':
        case '^':
        case '%': {
            int toggle = c == '+' ? VkShift : c == '^' ? VkControl : VkMenu;
            if (int code = Push(toggle))
                return code;
            if (int code = Unit())
                return code;
            return Push(toggle);
        }
        default: {
            // Only the Shift bit of the answer counts; a character no key
            // types is key 255 wrapped in Shift toggles.
            int key = kb_.VkKeyScan(static_cast<unsigned char>(c));
            if (key == -1)
                key = 0x1FF;
            return PushKey(key, 1);
        }
        }
    }

    std::string_view s_;
    Keyboard& kb_;
    std::vector<std::uint16_t>& q_;
    long pos_ = 0;
    int depth_ = 0;
};

} // namespace

int ParseKeyString(std::string_view text, Keyboard& keyboard, std::vector<std::uint16_t>& queue) {
    return Parser(text, keyboard, queue).Run();
}

bool KeyEventSource::NextKeyEvent(int& vk, bool& release) {
    if (releasePending_) {
        releasePending_ = false;
        vk = lastKey_;
        release = true;
        return true;
    }
    if (read_ >= queue_.size()) {
        if (held_.empty())
            return false;
        vk = held_.back();
        held_.pop_back();
        release = true;
        return true;
    }
    int item = queue_[read_++];
    vk = item;
    if (item == VkShift || item == VkControl || item == VkMenu) {
        auto down = std::find(held_.begin(), held_.end(), item);
        release = down != held_.end();
        if (release)
            held_.erase(down);
        else
            held_.push_back(item);
        return true;
    }
    release = false;
    lastKey_ = item;
    releasePending_ = true;
    return true;
}

KeySender::KeySender(Keyboard& keyboard, engine::Clock& clock, EventPump pump)
    : keyboard_(keyboard), clock_(clock), pump_(std::move(pump)) {}

int KeySender::SimSendKeys(std::string_view text, long interCharDelay) {
    std::vector<std::uint16_t> queue;
    int code = ParseKeyString(text, keyboard_, queue);
    if (code != KeysOk)
        return code;
    if (sending_) {
        waiting_.emplace_back(std::move(queue), interCharDelay);
        return KeysOk;
    }
    sending_ = true;
    bool going = Play(queue, interCharDelay);
    while (going && !waiting_.empty()) {
        auto next = std::move(waiting_.front());
        waiting_.pop_front();
        going = Play(next.first, next.second);
    }
    waiting_.clear();
    sending_ = false;
    return KeysOk;
}

bool KeySender::Play(const std::vector<std::uint16_t>& queue, long interCharDelay) {
    // Caps Lock would turn the case of every letter: off for the send, on again after.
    bool caps = keyboard_.CapsLockOn();
    if (caps)
        keyboard_.SetCapsLock(false);
    KeyEventSource source(queue);
    int vk = 0;
    bool release = false;
    bool going = true;
    int nextVk = 0;
    bool nextRelease = false, peeked = false;
    auto next = [&] {
        if (!peeked)
            return source.NextKeyEvent(vk, release);
        vk = nextVk;
        release = nextRelease;
        peeked = false;
        return true;
    };
    while (next()) {
        // Without pauses, Shift released and pressed again at once ("AB")
        // stays down instead: the target gets the same characters, with one
        // press fewer that would have to wait for the server's clock to move
        // on. (Ctrl is left alone: "{BREAK 2}" taps it on purpose.)
        if (release && interCharDelay == 0 && vk == VkShift &&
            source.NextKeyEvent(nextVk, nextRelease)) {
            if (nextVk == vk && !nextRelease)
                continue;
            peeked = true;
        }
        if (vk != 0xFF)
            keyboard_.KeyEvent(vk, release);
        if (!going)
            continue;
        // Menus opened by an Alt combination get two seconds to appear.
        if (release && vk == VkMenu)
            going = WaitClockSeconds(clock_, 2, pump_);
        if (going && interCharDelay > 0)
            going = WaitMilliseconds(interCharDelay);
        if (!going)
            source.Stop();
    }
    if (caps)
        keyboard_.SetCapsLock(true);
    return going;
}

bool KeySender::WaitMilliseconds(long ms) {
    std::int32_t start = clock_.TickCount();
    while (true) {
        // The difference survives the wrap-around of the tick count.
        std::int32_t elapsed = static_cast<std::int32_t>(
            static_cast<std::uint32_t>(clock_.TickCount()) - static_cast<std::uint32_t>(start));
        if (elapsed >= ms || elapsed < 0)
            return true;
        if (pump_ && !pump_(static_cast<int>(std::min<long>(ms - elapsed, WaitPollMs))))
            return false;
    }
}

bool WaitClockSeconds(engine::Clock& clock, int seconds, const EventPump& pump) {
    auto secondOfDay = [&clock] {
        engine::DateTime t = clock.Now();
        return t.Hour * 3600 + t.Minute * 60 + t.Second;
    };
    const int start = secondOfDay();
    while ((secondOfDay() - start + 86400) % 86400 < seconds)
        if (pump && !pump(WaitPollMs))
            return false;
    return true;
}

} // namespace output
