#pragma once
// The clipboard as the DDE commands use it: a link to one of the runtime's
// items ("app|topic!item" in the link format, beside the item's text as
// plain text), and reading a link back for the paste commands. NoClipboard
// stands in where there is none (the headless runtime): putting does nothing
// and nothing can be pasted.

#include <optional>
#include <string>

namespace control {

class Clipboard {
public:
    virtual ~Clipboard() = default;
    // Clears the clipboard, then puts the link and the item's text on it.
    virtual void PutLink(const std::string& linkText, const std::string& plainText) = 0;
    // The link text on the clipboard, if it holds one.
    virtual std::optional<std::string> Link() = 0;
};

class NoClipboard : public Clipboard {
public:
    void PutLink(const std::string&, const std::string&) override {}
    std::optional<std::string> Link() override { return std::nullopt; }
};

} // namespace control
