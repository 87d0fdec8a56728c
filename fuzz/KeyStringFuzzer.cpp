// The keystroke string parser on any text, on the built-in US layout, and the
// playing of what it parsed: at the end of a send no key may still be down,
// or the desktop would keep a stuck modifier.

#include "FuzzSupport.h"
#include "output/KeySender.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    output::UsKeyboard keyboard;
    std::vector<std::uint16_t> queue;
    const int code = output::ParseKeyString(text, keyboard, queue);
    fuzz::Require(queue.size() <= output::KeyQueueCapacity, "the key queue keeps its bound");
    if (code != output::KeysOk)
        return 0;

    output::KeyEventSource source(queue);
    std::vector<int> down;
    int vk = 0;
    bool release = false;
    std::size_t events = 0;
    while (source.NextKeyEvent(vk, release)) {
        fuzz::Require(++events <= 4 * queue.size() + 8, "playing a queue ends");
        auto at = std::find(down.begin(), down.end(), vk);
        if (release) {
            fuzz::Require(at != down.end(), "only a key that is down is released");
            down.erase(at);
        } else {
            fuzz::Require(at == down.end(), "a key that is down is not pressed again");
            down.push_back(vk);
        }
    }
    fuzz::Require(down.empty(), "no key stays down after a send");
    return 0;
}
