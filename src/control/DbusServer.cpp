#include "control/DbusServer.h"

#include "control/DbusShared.h"
#include "control/DdeNames.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVirtualObject>

namespace control {

namespace {

const char* const IntrospectionXml = R"(<interface name="org.corvane.Dde1">
  <method name="Execute"><arg name="command" type="s" direction="in"/></method>
  <method name="Request">
    <arg name="item" type="s" direction="in"/><arg name="text" type="s" direction="out"/>
  </method>
  <method name="Poke">
    <arg name="item" type="s" direction="in"/><arg name="text" type="s" direction="in"/>
  </method>
  <signal name="Changed"><arg name="item" type="s"/><arg name="text" type="s"/></signal>
</interface>
<interface name="org.corvane.Runtime1">
  <method name="PressHotKey"><arg name="slot" type="i" direction="in"/></method>
</interface>
)";

bool AllStrings(const QList<QVariant>& args, qsizetype count) {
    if (args.size() != count)
        return false;
    for (const QVariant& a : args)
        if (a.metaType().id() != QMetaType::QString)
            return false;
    return true;
}

} // namespace

// Handles the object's messages directly, so that no meta-object is needed
// and each call is answered as soon as the handler returns.
class DdeObject : public QDBusVirtualObject {
public:
    explicit DdeObject(DdeServerHandler& handler) : handler_(handler) {}

    QString introspect(const QString&) const override { return IntrospectionXml; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.type() != QDBusMessage::MethodCallMessage ||
            (!message.interface().isEmpty() && message.interface() != DdeInterface &&
             message.interface() != RuntimeInterface))
            return false;
        connection.send(Answer(message));
        return true;
    }

private:
    QDBusMessage Answer(const QDBusMessage& message) {
        const QString member = message.member();
        const QList<QVariant> args = message.arguments();
        if (member == QLatin1String("PressHotKey")) {
            if (args.size() != 1 || args[0].metaType().id() != QMetaType::Int)
                return message.createErrorReply(QDBusError::InvalidArgs,
                                                "PressHotKey takes the slot, an int32");
            std::string why;
            if (handler_.PressHotKey(args[0].toInt(), why))
                return message.createReply();
            return message.createErrorReply(RuntimeErrorNoHotKey, FromBytes(why));
        }
        if (member == QLatin1String("Execute") && AllStrings(args, 1)) {
            if (handler_.Execute(ToBytes(args[0].toString())))
                return message.createReply();
            QString text = "The command was refused: " + args[0].toString();
            if (const std::string reason = handler_.RefusalReason(); !reason.empty())
                text += " (" + FromBytes(reason) + ")";
            return message.createErrorReply(DdeErrorRefused, text);
        }
        if (member == QLatin1String("Request") && AllStrings(args, 1)) {
            if (auto text = handler_.Request(ToBytes(args[0].toString())))
                return message.createReply(FromBytes(*text));
            return UnknownItem(message, args[0].toString());
        }
        if (member == QLatin1String("Poke") && AllStrings(args, 2)) {
            switch (handler_.Poke(ToBytes(args[0].toString()), ToBytes(args[1].toString()))) {
            case PokeResult::Done:
                return message.createReply();
            case PokeResult::UnknownItem:
                return UnknownItem(message, args[0].toString());
            case PokeResult::Refused:
                break;
            }
            return message.createErrorReply(DdeErrorRefused,
                                            "The command was refused: " + args[1].toString());
        }
        if (member == QLatin1String("Execute") || member == QLatin1String("Request") ||
            member == QLatin1String("Poke"))
            return message.createErrorReply(QDBusError::InvalidArgs,
                                            member + " takes string arguments");
        return message.createErrorReply(QDBusError::UnknownMethod,
                                        "No method " + member + " in " + DdeInterface);
    }

    static QDBusMessage UnknownItem(const QDBusMessage& message, const QString& item) {
        return message.createErrorReply(DdeErrorUnknownItem, "No such item: " + item);
    }

    DdeServerHandler& handler_;
};

DbusServer::DbusServer(DdeServerHandler& handler, QDBusConnection connection)
    : object_(std::make_unique<DdeObject>(handler)), connection_(std::move(connection)) {}

DbusServer::~DbusServer() {
    Stop();
}

DbusServer::Status DbusServer::Start(const std::string& busName) {
    Stop();
    if (!connection_.isConnected())
        return Status::NoBus;
    // The object first, so that whoever sees the name finds it.
    if (!connection_.registerVirtualObject(DdeObjectPath, object_.get()))
        return Status::NameTaken;
    busName_ = FromBytes(busName);
    // A name that is taken is not waited for (no queueing).
    constexpr uint DoNotQueue = 4, PrimaryOwner = 1;
    const QDBusMessage reply = connection_.call(
        BusDaemonCall("RequestName") << busName_ << DoNotQueue, QDBus::Block, DdeExecuteTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1 ||
        reply.arguments()[0].toUInt() != PrimaryOwner) {
        connection_.unregisterObject(DdeObjectPath);
        busName_.clear();
        return Status::NameTaken;
    }
    serving_ = true;
    return Status::Serving;
}

void DbusServer::Stop() {
    if (!serving_)
        return;
    serving_ = false;
    // Given back without waiting for the answer.
    connection_.asyncCall(BusDaemonCall("ReleaseName") << busName_, DdeExecuteTimeoutMs);
    connection_.unregisterObject(DdeObjectPath);
    busName_.clear();
}

void DbusServer::Changed(const std::string& item, const std::string& text) {
    if (!serving_)
        return;
    QDBusMessage signal = QDBusMessage::createSignal(DdeObjectPath, DdeInterface, "Changed");
    signal << FromBytes(item) << FromBytes(text);
    connection_.send(signal);
}

} // namespace control
