#pragma once
// Corvane as a DDE client on the D-Bus session bus. A conversation is a bus
// name that has an owner; losing (or changing) the owner is the disconnect. Execute is sent
// without waiting for its answer, so a slow program never holds up a tick.
// An automatic link asks for the item once (Request) and then follows the
// server's Changed signals for that item.

#include "control/DdeClient.h"

#include <QDBusConnection>

#include <map>
#include <memory>
#include <string>
#include <vector>

class QDBusServiceWatcher;

namespace control {

class DbusLink;

class DbusClient : public DdeClient {
public:
    explicit DbusClient(QDBusConnection connection = QDBusConnection::sessionBus());
    ~DbusClient() override;
    DbusClient(const DbusClient&) = delete;
    DbusClient& operator=(const DbusClient&) = delete;

    Conversation Connect(const std::string& app, const std::string& topic,
                         std::function<void()> onDisconnect) override;
    void Disconnect(Conversation conversation) override;
    void Execute(Conversation conversation, const std::string& command) override;
    LinkId StartLink(const std::string& app, const std::string& topic, const std::string& item,
                     LinkEvents events) override;
    void EndLink(LinkId link) override;

private:
    // A bus name asked for: its owner is followed from the first Connect on,
    // so that asking again (every record while the program is not there)
    // costs no round trip.
    struct Name {
        QDBusServiceWatcher* watcher = nullptr;
        bool known = false;
        bool owned = false;
    };
    struct Peer {
        QString busName;
        std::function<void()> onDisconnect;
    };
    Name& Watch(const QString& busName);
    void OwnerChanged(const QString& busName, const QString& oldOwner, const QString& newOwner);

    QDBusConnection connection_;
    std::map<QString, Name> names_;
    std::map<Conversation, Peer> conversations_;
    std::map<LinkId, DbusLink*> links_;
    std::uint32_t next_ = 1;
};

// One call to a DDE server, waiting for its answer (for the command line and
// the benchmarks; the runtime never waits on another program).
struct DdeAnswer {
    enum Kind { Ok, Refused, UnknownItem, NoServer, NoBus, Failed } kind = Failed;
    std::string text;  // what Request gave
    std::string error; // the bus's description of a failure
};
DdeAnswer CallDde(QDBusConnection connection, const std::string& busName, const QString& member,
                  const std::vector<std::string>& args, int timeoutMs);

} // namespace control
