#pragma once
// A clipboard for tests: keeps the last link put on it and its text, and
// offers that link to the paste commands.

#include "control/Clipboard.h"

#include <optional>
#include <string>

namespace control {

class RecordingClipboard : public Clipboard {
public:
    std::optional<std::string> link;
    std::string text;
    void PutLink(const std::string& linkText, const std::string& plainText) override {
        link = linkText;
        text = plainText;
    }
    std::optional<std::string> Link() override { return link; }
};

} // namespace control
