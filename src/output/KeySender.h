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
    // Drops the rest of the queue: only the releases of the keys that are
    // down remain.
    void Stop() { read_ = queue_.size(); }

private:
    const std::vector<std::uint16_t>& queue_;
    std::size_t read_ = 0;
    std::vector<int> held_; // modifiers down, in the order they were pressed
    bool releasePending_ = false;
    int lastKey_ = 0;
};

// What a wait calls between two looks at the clock or the windows: it lets
// the program's own events run, then sleeps until another event arrives or
// maxWaitMs pass, so that the wait does not spin. It returns false once the
// program is closing, and the wait then ends at once.
using EventPump = std::function<bool(int maxWaitMs)>;

// The longest sleep between two looks: waits end at most this late.
constexpr int WaitPollMs = 20;

// Pumps until the time of day, read in whole seconds, has moved on by
// seconds (across midnight too). False when the program began closing.
bool WaitClockSeconds(engine::Clock& clock, int seconds, const EventPump& pump);

class KeySender {
public:
    // pump runs the program's own events during waits (none: the waits poll
    // the clock without a pause).
    KeySender(Keyboard& keyboard, engine::Clock& clock, EventPump pump);

    // Parses and types text. Returns 0 or the parser's code; on a code nothing
    // is typed. X11 keeps no keyboard state per program that keys held in our
    // own windows could leak through, so of the keyboard state only Caps Lock
    // is saved, turned off for the send and turned on again. A send started from an event pumped
    // during another send is parsed at once but typed after the one in progress.
    // Once the program is closing, the rest of the send is dropped and only
    // the keys that are down are released.
    int SimSendKeys(std::string_view text, long interCharDelay);

private:
    // False when the program began closing during the send.
    bool Play(const std::vector<std::uint16_t>& queue, long interCharDelay);
    bool WaitMilliseconds(long ms);

    Keyboard& keyboard_;
    engine::Clock& clock_;
    EventPump pump_;
    bool sending_ = false;
    std::deque<std::pair<std::vector<std::uint16_t>, long>> waiting_;
};

} // namespace output
