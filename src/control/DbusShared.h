#pragma once
// What the D-Bus backends share.
//
// Texts cross the bus as Latin-1: byte n of a Corvane string is code point n
// of the D-Bus string, and back. A D-Bus string cannot hold NUL, so a text is
// carried up to its first NUL; a code point above 255 from another program
// arrives as "?".

#include <QDBusMessage>
#include <QString>

#include <string>

namespace control {

// A call to the bus itself (RequestName, NameHasOwner, ...), which answers
// at once, never another program.
inline QDBusMessage BusDaemonCall(const QString& method) {
    return QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", method);
}

inline QString FromBytes(const std::string& bytes) {
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

inline std::string ToBytes(const QString& text) {
    const QByteArray bytes = text.toLatin1();
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

} // namespace control
