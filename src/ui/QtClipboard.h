#pragma once
// The desktop clipboard for the DDE link commands: a link is put as the
// MIME type application/x-corvane-dde-link ("app|topic!item") beside the
// item's text as text/plain, and read back from the same type.

#include "control/Clipboard.h"

namespace ui {

class QtClipboard : public control::Clipboard {
public:
    void PutLink(const std::string& linkText, const std::string& plainText) override;
    std::optional<std::string> Link() override;
};

} // namespace ui
