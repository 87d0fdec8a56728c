#include "control/DdeNames.h"

namespace control {

namespace {

bool IsNameChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// One element (or, with keepDots, a dotted run of elements) made legal.
void AppendElements(std::string& out, std::string_view text, bool keepDots) {
    bool atStart = true;
    for (char c : text) {
        if (keepDots && c == '.') {
            if (atStart)
                out += '_'; // an empty element
            out += '.';
            atStart = true;
            continue;
        }
        if (atStart && c >= '0' && c <= '9')
            out += '_';
        out += IsNameChar(c) ? c : '_';
        atStart = false;
    }
    if (atStart)
        out += '_';
}

} // namespace

std::string DdeBusName(std::string_view app, std::string_view topic) {
    std::string name;
    const bool ownPrefix = app.find('.') != std::string_view::npos;
    if (!ownPrefix)
        name = "org.corvane.";
    AppendElements(name, app, ownPrefix);
    name += '.';
    AppendElements(name, topic, false);
    return name;
}

std::string ItemText(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

std::string LinkText(const LinkAddress& address) {
    return address.app + "|" + address.topic + "!" + address.item;
}

LinkAddress ParseLinkText(std::string_view text) {
    LinkAddress address;
    const std::size_t bar = text.find('|');
    address.app = std::string(text.substr(0, bar));
    if (bar == std::string_view::npos)
        return address;
    std::string_view rest = text.substr(bar + 1);
    const std::size_t bang = rest.find('!');
    address.topic = std::string(rest.substr(0, bang));
    if (bang != std::string_view::npos)
        address.item = std::string(rest.substr(bang + 1));
    return address;
}

std::string NameTakenMessage(const std::string& busName) {
    return "The DDE name " + busName +
           " is already taken by another program on the session bus: this runtime goes on "
           "without its DDE server.";
}

std::string NoSessionBusMessage() {
    return "No D-Bus session bus can be reached: this runtime goes on without its DDE server, "
           "and DDE commands and links to other programs do not work.";
}

} // namespace control
