#pragma once
// The Corvane D-Bus convention for DDE: how an application name and a topic
// become a bus name, the object, interface and error names every server
// uses, the text of an item, and the clipboard's link text.

#include <string>
#include <string_view>

namespace control {

inline constexpr const char* DdeObjectPath = "/org/corvane/Dde";
inline constexpr const char* DdeInterface = "org.corvane.Dde1";
inline constexpr const char* DdeErrorRefused = "org.corvane.Dde1.Error.Refused";
inline constexpr const char* DdeErrorUnknownItem = "org.corvane.Dde1.Error.UnknownItem";
// Beside DDE, the same object serves what belongs to a running runtime
// rather than to DDE: PressHotKey(i slot) runs a hot key slot's action.
inline constexpr const char* RuntimeInterface = "org.corvane.Runtime1";
inline constexpr const char* RuntimeErrorNoHotKey = "org.corvane.Runtime1.Error.NoHotKey";
// The application name under which every runtime serves its topic.
inline constexpr const char* DdeServerApp = "Corvane";
// How long a client waits for another program to answer an Execute.
inline constexpr int DdeExecuteTimeoutMs = 1000;

// The bus name of application app, topic topic: "org.corvane." + app + "." +
// topic, or app + "." + topic when app already holds a dot (it then names its
// own prefix). Every character outside [A-Za-z0-9_] (but the dots of such an
// app) becomes "_", an element that starts with a digit gets a leading "_",
// and an empty element becomes "_", since a bus name has no empty element.
std::string DdeBusName(std::string_view app, std::string_view topic);

// What an item publishes: its text up to the first NUL, as a text box shows it.
std::string ItemText(std::string_view text);

// "app|topic!item", the clipboard's link text, and back: the application is
// the text before "|"; with a "!" after it the topic is what lies between
// and the item what follows, otherwise the topic is the rest and the item "".
struct LinkAddress {
    std::string app, topic, item;
    bool operator==(const LinkAddress&) const = default;
};
std::string LinkText(const LinkAddress& address);
LinkAddress ParseLinkText(std::string_view text);

// The messages of a runtime that goes on without its server.
std::string NameTakenMessage(const std::string& busName);
std::string NoSessionBusMessage();

} // namespace control
