#pragma once
// What a DDE server answers: Execute, Request and Poke, in the runtime's own
// terms. The bus backend (DbusServer) receives the calls and forwards them
// here; DdeRuntime is the runtime's handler. DdeBus is the bus side as the
// runtime sees it.

#include <optional>
#include <string>

namespace control {

enum class PokeResult { Done, UnknownItem, Refused };

class DdeServerHandler {
public:
    virtual ~DdeServerHandler() = default;
    // One command; false when it is refused.
    virtual bool Execute(const std::string& command) = 0;
    // Why the last command was refused, when more can be said; empty
    // otherwise. The bus gives it to the caller with the refusal.
    virtual std::string RefusalReason() const { return {}; }
    // An item's text, or nullopt when there is no such item.
    virtual std::optional<std::string> Request(const std::string& item) = 0;
    virtual PokeResult Poke(const std::string& item, const std::string& text) = 0;
    // A hot key slot pressed from outside (a key binding of the desktop, run
    // as a command): its action runs as if its combination had been pressed.
    // False, with why, for a slot that is not one of 0..49 or has no key.
    virtual bool PressHotKey(int slot, std::string& why) {
        (void)slot;
        why = "this server has no hot keys";
        return false;
    }
};

// The server's place on the bus: published under a name, it forwards the
// calls to its handler and signals every change of an item.
class DdeBus {
public:
    enum class Status { Serving, NameTaken, NoBus };
    virtual ~DdeBus() = default;
    // Publishes the server and takes busName; a name another program owns
    // is not waited for: the server then does not serve.
    virtual Status Start(const std::string& busName) = 0;
    // Gives the name back and withdraws the server.
    virtual void Stop() = 0;
    virtual bool Serving() const = 0;
    // An item's name and its new text.
    virtual void Changed(const std::string& item, const std::string& text) = 0;
};

} // namespace control
