#pragma once
// The keystroke sender: a key string such as "Total{TAB 2}+(abc)~" is parsed
// whole into a queue of virtual keys, then played one event at a time with
// an optional pause after each event. A malformed string types nothing, so a
// modifier is never left held in the target.

#include "engine/Clock.h"
#include "output/Keyboard.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace output {

// Parser results; the callers ignore them, nothing is shown.
enum KeyParseCode : int {
    KeysOk = 0,
    UnterminatedBrace = 1,
    UnknownKeyName = 2,
    UnclosedParenthesis = 3,
    BadRepeatCount = 4,
    TooManyKeys = 5,
};

constexpr std::size_t KeyQueueCapacity = 4096;
constexpr int VkShift = 16, VkControl = 17, VkMenu = 18;

struct KeyName {
    const char* name;
    int vk;
};
// The braced key names, first match wins.
const std::vector<KeyName>& KeyNameTable();

// A one-character name is looked up on the keyboard as it stands (so {A}
// types Shift+a); a longer one is trimmed, upper-cased and found in the
// table. 0 when unknown.
int LookupKeyName(std::string_view name, Keyboard& keyboard);

// Parses text into queue (virtual keys; 16, 17 and 18 are modifier toggles).
int ParseKeyString(std::string_view text, Keyboard& keyboard, std::vector<std::uint16_t>& queue);

// Plays a queue: every ordinary key is pressed and released before the next
// item; a modifier stays down from its first toggle to its second. A modifier
// still down at the end of the queue ("{BREAK}" alone) is released there, the
// last one pressed first, so that no key stays held on the desktop.
class KeyEventSource {
public:
    explicit KeyEventSource(const std::vector<std::uint16_t>& queue) : queue_(queue) {}
    // False when nothing is left.
    bool NextKeyEvent(int& vk, bool& release);

private:
    const std::vector<std::uint16_t>& queue_;
    std::size_t read_ = 0;
    std::vector<int> held_; // modifiers down, in the order they were pressed
    bool releasePending_ = false;
    int lastKey_ = 0;
};

// Pumps until the time of day, read in whole seconds, has moved on by
// seconds (across midnight too).
void WaitClockSeconds(engine::Clock& clock, int seconds, const std::function<void()>& pump);

class KeySender {
public:
    // pump lets the program's own events run during waits.
    KeySender(Keyboard& keyboard, engine::Clock& clock, std::function<void()> pump);

    // Parses and types text. Returns 0 or the parser's code; on a code nothing
    // is typed. X11 keeps no keyboard state per program that keys held in our
    // own windows could leak through, so of the keyboard state only Caps Lock
    // is saved, turned off for the send and turned on again. A send started from an event pumped
    // during another send is parsed at once but typed after the one in progress.
    int SimSendKeys(std::string_view text, long interCharDelay);

private:
    void Play(const std::vector<std::uint16_t>& queue, long interCharDelay);
    void WaitMilliseconds(long ms);

    Keyboard& keyboard_;
    engine::Clock& clock_;
    std::function<void()> pump_;
    bool sending_ = false;
    std::deque<std::pair<std::vector<std::uint16_t>, long>> waiting_;
};

} // namespace output
