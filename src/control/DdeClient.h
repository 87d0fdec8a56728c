#pragma once
// Corvane as a DDE client of other programs: conversations for Execute (the
// target application command) and automatic links that follow another
// program's item (the command-source and output-buffer links). The D-Bus
// backend is DbusClient; the tests use a recording fake
// (tests/support/FakeDdeClient.h).
//
// Callbacks run from the event loop, between ticks or inside a pumped wait,
// never from within a call of this interface.

#include <cstdint>
#include <functional>
#include <string>

namespace control {

// Non-zero while connected.
using Conversation = std::uint32_t;
using LinkId = std::uint32_t;

// What an automatic link hears.
struct LinkEvents {
    // The item's text when the link is established, then every new text.
    std::function<void(const std::string& text)> value;
    // The link could not be established (nobody serves the name, the item is
    // unknown, no answer in time).
    std::function<void()> failed;
    // An established link broke: the server went away.
    std::function<void()> dropped;
};

class DdeClient {
public:
    virtual ~DdeClient() = default;
    // A conversation when some program serves app/topic now, else 0.
    // onDisconnect runs once when that server goes away.
    virtual Conversation Connect(const std::string& app, const std::string& topic,
                                 std::function<void()> onDisconnect) = 0;
    // Ends the conversation; its onDisconnect is not called.
    virtual void Disconnect(Conversation conversation) = 0;
    // Sends command as an Execute with a 1000 ms timeout. The answer is not
    // awaited: the result of a target command is never used.
    virtual void Execute(Conversation conversation, const std::string& command) = 0;
    // Starts following app/topic's item. 0 when the link cannot even be
    // asked for (no bus); otherwise failed or value follows later.
    virtual LinkId StartLink(const std::string& app, const std::string& topic,
                             const std::string& item, LinkEvents events) = 0;
    // Ends a link; none of its events runs afterwards.
    virtual void EndLink(LinkId link) = 0;
};

} // namespace control
