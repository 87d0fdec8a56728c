#include "control/DdeItems.h"

#include "control/DdeNames.h"
#include "output/WindowSystem.h"

#include <algorithm>

namespace control {

std::optional<DdeItems::Item> DdeItems::Find(std::string_view name) const {
    const std::string upper = output::UpperCase(std::string(name));
    if (upper == "RECORDNUMBER")
        return Item{Item::RecordNumber};
    if (upper == "DATETIME")
        return Item{Item::DateTime};
    if (upper == "COMMANDBUFFER")
        return Item{Item::CommandBuffer};
    // "Field(" digits ")", the number written as the program writes it.
    constexpr std::string_view prefix = "FIELD(";
    if (upper.size() < prefix.size() + 2 || upper.compare(0, prefix.size(), prefix) != 0 ||
        upper.back() != ')')
        return std::nullopt;
    const std::string digits = upper.substr(prefix.size(), upper.size() - prefix.size() - 1);
    if (digits.size() > 2 || digits[0] == '0' ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    const int field = std::stoi(digits);
    if (field > std::clamp<int>(cfg_.NumFields, 1, config::MaxFields))
        return std::nullopt;
    return Item{Item::Field, field};
}

std::string DdeItems::FieldName(int field) {
    return "Field(" + std::to_string(field) + ")";
}

std::string DdeItems::Name(const Item& item) {
    switch (item.kind) {
    case Item::Field:
        return FieldName(item.field);
    case Item::RecordNumber:
        return "RecordNumber";
    case Item::DateTime:
        return "DateTime";
    case Item::CommandBuffer:
        break;
    }
    return "CommandBuffer";
}

const std::string& DdeItems::Storage(const Item& item) const {
    switch (item.kind) {
    case Item::Field:
        return state_.FieldText[static_cast<std::size_t>(item.field)];
    case Item::RecordNumber:
        return state_.RecordNumber;
    case Item::DateTime:
        return state_.DateTimeText;
    case Item::CommandBuffer:
        break;
    }
    return commandBuffer_;
}

std::string DdeItems::Text(const Item& item) const {
    return ItemText(Storage(item));
}

void DdeItems::Set(const Item& item, const std::string& text) {
    switch (item.kind) {
    case Item::Field:
        state_.FieldText[static_cast<std::size_t>(item.field)] = text;
        break;
    case Item::RecordNumber:
        state_.RecordNumber = text;
        break;
    case Item::DateTime:
        state_.DateTimeText = text;
        break;
    case Item::CommandBuffer:
        commandBuffer_ = text;
        break;
    }
    Published(item);
}

void DdeItems::Published(const Item& item) const {
    if (changed)
        changed(Name(item), Text(item));
}

} // namespace control
