#pragma once
// What a DDE server answers: Execute, Request and Poke, in the runtime's own
// terms. The bus backend (DbusServer) receives the calls and forwards them
// here; DdeRuntime is the runtime's handler.

#include <optional>
#include <string>

namespace control {

enum class PokeResult { Done, UnknownItem, Refused };

class DdeServerHandler {
public:
    virtual ~DdeServerHandler() = default;
    // One command; false when it is refused.
    virtual bool Execute(const std::string& command) = 0;
    // An item's text, or nullopt when there is no such item.
    virtual std::optional<std::string> Request(const std::string& item) = 0;
    virtual PokeResult Poke(const std::string& item, const std::string& text) = 0;
};

} // namespace control
