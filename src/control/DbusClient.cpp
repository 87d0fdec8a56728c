#include "control/DbusClient.h"

#include "control/DbusShared.h"
#include "control/DdeNames.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QObject>

namespace control {

namespace {

// How long establishing a link waits for the other program's current value.
// Nothing waits meanwhile: the answer comes through the event loop.
constexpr int LinkRequestTimeoutMs = 5000;

QDBusMessage DdeCall(const QString& busName, const QString& member) {
    return QDBusMessage::createMethodCall(busName, DdeObjectPath, DdeInterface, member);
}

} // namespace

// One automatic link: Changed signals of the server for one item, and the
// server's owner watched for the link's end. Its events stop at End(); the
// object itself is deleted by the event loop, since End() may be called from
// inside one of its own events.
class DbusLink : public QObject {
    Q_OBJECT
public:
    DbusLink(QDBusConnection connection, QString busName, QString item, LinkEvents events)
        : connection_(std::move(connection)), busName_(std::move(busName)), item_(std::move(item)),
          events_(std::move(events)) {}

    bool Start() {
        if (!connection_.isConnected())
            return false;
        // Signals first, so that no change between the answer and the
        // subscription is missed.
        connection_.connect(busName_, DdeObjectPath, DdeInterface, "Changed", this,
                            SLOT(OnChanged(QString, QString)));
        watcher_ = new QDBusServiceWatcher(busName_, connection_,
                                           QDBusServiceWatcher::WatchForOwnerChange, this);
        QObject::connect(watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
                         [this] { OwnerChanged(); });
        QDBusMessage request = DdeCall(busName_, "Request");
        request << item_;
        auto* pending =
            new QDBusPendingCallWatcher(connection_.asyncCall(request, LinkRequestTimeoutMs), this);
        QObject::connect(pending, &QDBusPendingCallWatcher::finished, this, [this, pending] {
            pending->deleteLater();
            Answered(*pending);
        });
        return true;
    }

    void End() {
        if (ended_)
            return;
        ended_ = true;
        connection_.disconnect(busName_, DdeObjectPath, DdeInterface, "Changed", this,
                               SLOT(OnChanged(QString, QString)));
        deleteLater();
    }

public slots:
    void OnChanged(const QString& item, const QString& text) {
        if (ended_ || item.compare(item_, Qt::CaseInsensitive) != 0)
            return;
        changedSeen_ = true;
        if (events_.value)
            events_.value(ToBytes(text));
    }

private:
    void Answered(const QDBusPendingCallWatcher& pending) {
        if (ended_)
            return;
        const QDBusMessage reply = pending.reply();
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1) {
            if (events_.failed)
                events_.failed();
            return;
        }
        established_ = true;
        // A change that came first is newer than this answer.
        if (!changedSeen_ && events_.value)
            events_.value(ToBytes(reply.arguments()[0].toString()));
    }

    void OwnerChanged() {
        // Before the answer, a lost owner shows as a failed request.
        if (!ended_ && established_ && events_.dropped)
            events_.dropped();
    }

    QDBusConnection connection_;
    QString busName_, item_;
    LinkEvents events_;
    QDBusServiceWatcher* watcher_ = nullptr;
    bool ended_ = false, established_ = false, changedSeen_ = false;
};

DbusClient::DbusClient(QDBusConnection connection) : connection_(std::move(connection)) {}

DbusClient::~DbusClient() {
    for (auto& [id, link] : links_) {
        link->End();
        delete link;
    }
    for (auto& [busName, name] : names_)
        delete name.watcher;
}

DbusClient::Name& DbusClient::Watch(const QString& busName) {
    auto [it, added] = names_.try_emplace(busName);
    if (added) {
        auto* watcher =
            new QDBusServiceWatcher(busName, connection_, QDBusServiceWatcher::WatchForOwnerChange);
        QObject::connect(
            watcher, &QDBusServiceWatcher::serviceOwnerChanged, watcher,
            [this](const QString& name, const QString& oldOwner, const QString& newOwner) {
                OwnerChanged(name, oldOwner, newOwner);
            });
        it->second.watcher = watcher;
    }
    return it->second;
}

void DbusClient::OwnerChanged(const QString& busName, const QString& oldOwner,
                              const QString& newOwner) {
    Name& name = Watch(busName);
    name.known = true;
    name.owned = !newOwner.isEmpty();
    if (oldOwner.isEmpty())
        return;
    // The program that was talked to is gone: its conversations end.
    std::vector<std::function<void()>> ended;
    for (auto it = conversations_.begin(); it != conversations_.end();) {
        if (it->second.busName != busName) {
            ++it;
            continue;
        }
        ended.push_back(std::move(it->second.onDisconnect));
        it = conversations_.erase(it);
    }
    for (auto& disconnected : ended)
        if (disconnected)
            disconnected();
}

Conversation DbusClient::Connect(const std::string& app, const std::string& topic,
                                 std::function<void()> onDisconnect) {
    if (!connection_.isConnected())
        return 0;
    const QString busName = FromBytes(DdeBusName(app, topic));
    // Watched before the first question, so that a change right after the
    // answer is not missed. The bus itself answers NameHasOwner, never the
    // program asked for, so it is quick even when that program is busy; it
    // is asked once per name.
    Name& name = Watch(busName);
    if (!name.known) {
        QDBusMessage ask = BusDaemonCall("NameHasOwner");
        ask << busName;
        const QDBusMessage answer = connection_.call(ask, QDBus::Block, DdeExecuteTimeoutMs);
        if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().size() != 1)
            return 0;
        name.known = true;
        name.owned = answer.arguments()[0].toBool();
    }
    if (!name.owned)
        return 0;
    const Conversation id = next_++;
    conversations_[id] = Peer{busName, std::move(onDisconnect)};
    return id;
}

void DbusClient::Disconnect(Conversation conversation) {
    conversations_.erase(conversation);
}

void DbusClient::Execute(Conversation conversation, const std::string& command) {
    auto it = conversations_.find(conversation);
    if (it == conversations_.end() || command.empty())
        return;
    QDBusMessage call = DdeCall(it->second.busName, "Execute");
    call << FromBytes(command);
    // The pending answer is dropped: the bus keeps the call until the
    // answer or the timeout, and nothing here waits for either.
    connection_.asyncCall(call, DdeExecuteTimeoutMs);
}

LinkId DbusClient::StartLink(const std::string& app, const std::string& topic,
                             const std::string& item, LinkEvents events) {
    auto* link = new DbusLink(connection_, FromBytes(DdeBusName(app, topic)), FromBytes(item),
                              std::move(events));
    if (!link->Start()) {
        delete link;
        return 0;
    }
    const LinkId id = next_++;
    links_[id] = link;
    return id;
}

void DbusClient::EndLink(LinkId id) {
    auto it = links_.find(id);
    if (it == links_.end())
        return;
    it->second->End();
    links_.erase(it);
}

DdeAnswer CallDde(QDBusConnection connection, const std::string& busName, const QString& member,
                  const std::vector<std::string>& args, int timeoutMs) {
    DdeAnswer answer;
    if (!connection.isConnected()) {
        answer.kind = DdeAnswer::NoBus;
        answer.error = ToBytes(connection.lastError().message());
        return answer;
    }
    QDBusMessage call = DdeCall(FromBytes(busName), member);
    for (const std::string& a : args)
        call << FromBytes(a);
    const QDBusMessage reply = connection.call(call, QDBus::Block, timeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        answer.kind = DdeAnswer::Ok;
        if (!reply.arguments().isEmpty())
            answer.text = ToBytes(reply.arguments()[0].toString());
        return answer;
    }
    const QString name = reply.errorName();
    answer.error = ToBytes(reply.errorMessage());
    if (name == DdeErrorRefused)
        answer.kind = DdeAnswer::Refused;
    else if (name == DdeErrorUnknownItem)
        answer.kind = DdeAnswer::UnknownItem;
    else if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
             name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        answer.kind = DdeAnswer::NoServer;
    else
        answer.kind = DdeAnswer::Failed;
    return answer;
}

} // namespace control

#include "DbusClient.moc"
