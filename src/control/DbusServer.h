#pragma once
// The runtime's DDE server on the D-Bus session bus: the object
// /org/corvane/Dde with the interface org.corvane.Dde1 (Execute, Request,
// Poke, and the Changed signal), published under one bus name. Calls arrive
// from the Qt event loop, between ticks, and go to a DdeServerHandler.

#include "control/DdeNames.h"
#include "control/DdeServer.h"

#include <QDBusConnection>

#include <memory>
#include <string>

namespace control {

class DdeObject;

class DbusServer : public DdeBus {
public:
    explicit DbusServer(DdeServerHandler& handler,
                        QDBusConnection connection = QDBusConnection::sessionBus());
    ~DbusServer() override;
    DbusServer(const DbusServer&) = delete;
    DbusServer& operator=(const DbusServer&) = delete;

    // Publishes the object under busName; the Changed signal goes out on it.
    Status Start(const std::string& busName) override;
    void Stop() override;
    bool Serving() const override { return serving_; }
    void Changed(const std::string& item, const std::string& text) override;

private:
    std::unique_ptr<DdeObject> object_;
    QDBusConnection connection_;
    QString busName_;
    bool serving_ = false;
};

} // namespace control
