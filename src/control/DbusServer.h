#pragma once
// The runtime's DDE server on the D-Bus session bus: the object
// /org/corvane/Dde with the interface org.corvane.Dde1 (Execute, Request,
// Poke, and the Changed signal), published under one bus name. Calls arrive
// from the Qt event loop, between ticks, and go to a DdeServerHandler.

#include "control/DdeServer.h"

#include <QDBusConnection>

#include <memory>
#include <string>

namespace control {

class DdeObject;

class DbusServer {
public:
    enum class Status { Serving, NameTaken, NoBus };

    explicit DbusServer(DdeServerHandler& handler,
                        QDBusConnection connection = QDBusConnection::sessionBus());
    ~DbusServer();
    DbusServer(const DbusServer&) = delete;
    DbusServer& operator=(const DbusServer&) = delete;

    // Publishes the object and takes busName. A name another program owns
    // is not waited for: the server then does not serve.
    Status Start(const std::string& busName);
    // Gives the name back and withdraws the object.
    void Stop();
    bool Serving() const { return serving_; }

    // The Changed signal: an item's name and its new text.
    void Changed(const std::string& item, const std::string& text);

private:
    std::unique_ptr<DdeObject> object_;
    QDBusConnection connection_;
    QString busName_;
    bool serving_ = false;
};

// The messages of a runtime that goes on without its server.
std::string NameTakenMessage(const std::string& busName);
std::string NoSessionBusMessage();

} // namespace control
