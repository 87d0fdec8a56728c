#pragma once
// The runtime's DDE items: "Field(1)" .. "Field(n)" (the field boxes of the
// NumFields fields), "RecordNumber", "DateTime" and "CommandBuffer". Their
// texts live in the runtime state (the command buffer's here); every time an
// item's text is set, the changed hook hears the item's name and the text it
// publishes (up to its first NUL).

#include "config/Config.h"
#include "engine/RuntimeState.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace control {

class DdeItems {
public:
    DdeItems(const config::Config& cfg, engine::RuntimeState& state) : cfg_(cfg), state_(state) {}

    struct Item {
        enum Kind { Field, RecordNumber, DateTime, CommandBuffer } kind;
        int field = 0; // 1..NumFields for a field
    };
    // The item of that name, compared without regard to case, as DDE names are.
    std::optional<Item> Find(std::string_view name) const;
    static std::string Name(const Item& item);
    static std::string FieldName(int field);

    // What the item publishes now.
    std::string Text(const Item& item) const;
    // Sets the item's text and tells the changed hook.
    void Set(const Item& item, const std::string& text);
    // Tells the changed hook about a text that was set elsewhere.
    void Published(const Item& item) const;

    std::function<void(const std::string& item, const std::string& text)> changed;

private:
    const std::string& Storage(const Item& item) const;

    const config::Config& cfg_;
    engine::RuntimeState& state_;
    std::string commandBuffer_;
};

} // namespace control
