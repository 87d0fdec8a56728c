#include "output/MqttLink.h"

#include <mosquitto.h>

#include <QObject>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>

namespace output {

namespace {

// The broker notices a dead client (and publishes its will) within one and a
// half of these; the client notices a dead broker as soon.
constexpr int KeepAliveSeconds = 10;
// Messages the library has on the wire unacknowledged at once.
constexpr int SendMaximum = 100;
// How long a goodbye may take on the attempt's thread.
constexpr int GoodbyeLoops = 20;

std::string ConnackWhy(int rc) {
    switch (rc) {
    case 1:
        return "the broker does not speak MQTT 3.1.1";
    case 2:
        return "the broker refused the client id";
    case 3:
        return "the broker is unavailable";
    case 4:
        return "the broker refused the user name or password";
    case 5:
        return "the broker refused the connection as not authorised: check the user name and "
               "password, or the client certificate";
    default:
        return "the broker refused the connection (" + std::string(mosquitto_connack_string(rc)) +
               ")";
    }
}

// "OpenSSL Error[0]: error:0A000086:SSL routines::certificate verify failed"
// -> "certificate verify failed".
std::string OpenSslReason(const std::string& log) {
    const std::size_t colons = log.rfind("::");
    if (colons != std::string::npos)
        return log.substr(colons + 2);
    const std::size_t colon = log.rfind(':');
    return colon == std::string::npos ? log : log.substr(colon + 1);
}

} // namespace

struct MqttLink::Attempt {
    MqttLink* link;
    QObject* context;
    unsigned generation;
    BrokerConnection connection;
    BrokerWill will;
    std::string clientId;

    std::mutex postMutex; // a leaf: nothing else is locked while it is held
    std::atomic<bool> stop{false};
    std::mutex clientMutex; // the client's life, against Publish and Subscribe
    mosquitto* client = nullptr;
    std::atomic<bool> connected{false};
    std::atomic<bool> done{false};
    std::thread thread;

    std::mutex errorMutex;
    std::string refusal, logError;

    // Runs fn on the link's thread, unless the attempt has been ended.
    void Post(std::function<void(MqttLink&)> fn) {
        std::lock_guard lock(postMutex);
        if (stop)
            return;
        QMetaObject::invokeMethod(
            context,
            [link = link, generation = generation, fn = std::move(fn)] {
                if (link->generation_ == generation)
                    fn(*link);
            },
            Qt::QueuedConnection);
    }
    void Lost(const std::string& why) {
        Post([why](MqttLink& l) {
            if (l.events.disconnected)
                l.events.disconnected(why);
        });
    }
    std::string Why(int rc, int savedErrno);
    void Configure(mosquitto* m);
    void Run();
};

std::string MqttLink::Attempt::Why(int rc, int savedErrno) {
    std::string log;
    {
        std::lock_guard lock(errorMutex);
        if (!refusal.empty())
            return refusal;
        log = logError;
    }
    const std::string where =
        connection.address.host + ":" + std::to_string(connection.address.port);
    if (rc == MOSQ_ERR_TLS || log.find("OpenSSL") != std::string::npos ||
        log.find("TLS") != std::string::npos) {
        const std::string reason = OpenSslReason(log);
        if (reason.find("verify failed") != std::string::npos)
            return "the TLS handshake failed, as the broker's certificate could not be verified "
                   "(" +
                   reason +
                   "): check that the CA file (or the system's trust store) holds "
                   "the authority that signed it, and that the address names the host the "
                   "certificate is made for";
        return "the TLS handshake with " + where + " failed" +
               (reason.empty() ? std::string() : " (" + reason + ")") +
               ": check that the broker speaks TLS on this port, and the certificate and key "
               "files";
    }
    switch (rc) {
    case MOSQ_ERR_ERRNO:
        if (savedErrno == ECONNREFUSED)
            return "nothing accepts connections at " + where + " (connection refused)";
        return std::string(std::strerror(savedErrno)) + " (" + where + ")";
    case MOSQ_ERR_EAI:
        return "the host name " + connection.address.host + " cannot be resolved";
    case MOSQ_ERR_KEEPALIVE:
        return "the broker at " + where + " stopped answering";
    case MOSQ_ERR_CONN_LOST:
    case MOSQ_ERR_NO_CONN:
        return "the connection to " + where + " was lost";
    default:
        return std::string(mosquitto_strerror(rc)) + " (" + where + ")";
    }
}

void MqttLink::Attempt::Configure(mosquitto* m) {
    mosquitto_threaded_set(m, true);
    mosquitto_int_option(m, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    mosquitto_int_option(m, MOSQ_OPT_SEND_MAXIMUM, SendMaximum);
    if (!connection.user.empty())
        mosquitto_username_pw_set(m, connection.user.c_str(),
                                  connection.password.empty() ? nullptr
                                                              : connection.password.c_str());
    if (!will.topic.empty())
        mosquitto_will_set(m, will.topic.c_str(), static_cast<int>(will.payload.size()),
                           will.payload.data(), will.qos, will.retain);
    if (connection.address.tls) {
        // The given CA file, else the system's trust store; the host name is
        // always verified. An encrypted key is not asked for on a terminal.
        if (connection.caFile.empty())
            mosquitto_int_option(m, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
        mosquitto_tls_set(m, connection.caFile.empty() ? nullptr : connection.caFile.c_str(),
                          connection.caFile.empty() ? "/etc/ssl/certs" : nullptr,
                          connection.certFile.empty() ? nullptr : connection.certFile.c_str(),
                          connection.keyFile.empty() ? nullptr : connection.keyFile.c_str(),
                          [](char*, int, int, void*) { return 0; });
        mosquitto_tls_opts_set(m, 1, nullptr, nullptr);
    }
    mosquitto_connect_callback_set(m, [](mosquitto*, void* self, int rc) {
        auto* a = static_cast<Attempt*>(self);
        if (rc != 0) {
            std::lock_guard lock(a->errorMutex);
            a->refusal = ConnackWhy(rc);
            return;
        }
        a->connected = true;
        a->Post([](MqttLink& l) {
            if (l.events.connected)
                l.events.connected();
        });
    });
    mosquitto_publish_callback_set(m, [](mosquitto*, void* self, int mid) {
        static_cast<Attempt*>(self)->Post([mid](MqttLink& l) {
            if (l.events.published)
                l.events.published(mid);
        });
    });
    mosquitto_message_callback_set(m, [](mosquitto*, void* self, const mosquitto_message* msg) {
        std::string topic = msg->topic ? msg->topic : "";
        std::string payload(static_cast<const char*>(msg->payload),
                            static_cast<std::size_t>(msg->payloadlen));
        static_cast<Attempt*>(self)->Post([topic, payload](MqttLink& l) {
            if (l.events.message)
                l.events.message(topic, payload);
        });
    });
    mosquitto_log_callback_set(m, [](mosquitto*, void* self, int level, const char* text) {
        if (!(level & MOSQ_LOG_ERR) || !text)
            return;
        auto* a = static_cast<Attempt*>(self);
        std::lock_guard lock(a->errorMutex);
        a->logError = text;
    });
}

void MqttLink::Attempt::Run() {
    mosquitto* m = mosquitto_new(clientId.c_str(), true, this);
    if (!m) {
        Lost(std::string("the MQTT client cannot be made: ") + std::strerror(errno));
        done = true;
        return;
    }
    Configure(m);
    {
        std::lock_guard lock(clientMutex);
        client = m;
    }
    errno = 0;
    int rc = mosquitto_connect(m, connection.address.host.c_str(), connection.address.port,
                               KeepAliveSeconds);
    int savedErrno = errno;
    while (rc == MOSQ_ERR_SUCCESS && !stop) {
        rc = mosquitto_loop(m, 100, 1);
        savedErrno = errno;
    }
    if (stop) {
        // A goodbye, so that the broker does not publish the will.
        if (connected && mosquitto_disconnect(m) == MOSQ_ERR_SUCCESS)
            for (int i = 0; i < GoodbyeLoops && mosquitto_loop(m, 50, 1) == MOSQ_ERR_SUCCESS; ++i) {
            }
    } else {
        Lost(Why(rc, savedErrno));
    }
    {
        std::lock_guard lock(clientMutex);
        client = nullptr;
    }
    connected = false;
    mosquitto_destroy(m);
    done = true;
}

MqttLink::MqttLink() : context_(std::make_unique<QObject>()) {
    mosquitto_lib_init();
}

MqttLink::~MqttLink() {
    Disconnect();
    // A goodbye takes a moment; a thread still inside a connect (an
    // unreachable host) is left to end by itself, and touches nothing of
    // this link any more.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    for (auto& attempt : retired_)
        while (!attempt->done && std::chrono::steady_clock::now() < giveUp)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    bool detached = false;
    for (auto& attempt : retired_) {
        if (attempt->done) {
            attempt->thread.join();
        } else {
            attempt->thread.detach();
            detached = true;
        }
    }
    if (!detached)
        mosquitto_lib_cleanup();
}

void MqttLink::Connect(const BrokerConnection& connection, const BrokerWill& will,
                       const std::string& clientId) {
    Disconnect();
    auto attempt = std::make_shared<Attempt>();
    attempt->link = this;
    attempt->context = context_.get();
    attempt->generation = ++generation_;
    attempt->connection = connection;
    attempt->will = will;
    attempt->clientId = clientId;
    attempt->thread = std::thread([attempt] { attempt->Run(); });
    attempt_ = std::move(attempt);
}

int MqttLink::Publish(const std::string& topic, const std::string& payload, int qos, bool retain) {
    if (!attempt_ || !attempt_->connected)
        return -1;
    std::lock_guard lock(attempt_->clientMutex);
    int id = -1;
    if (!attempt_->client ||
        mosquitto_publish(attempt_->client, &id, topic.c_str(), static_cast<int>(payload.size()),
                          payload.data(), qos, retain) != MOSQ_ERR_SUCCESS)
        return -1;
    return id;
}

bool MqttLink::Subscribe(const std::string& topic, int qos) {
    if (!attempt_ || !attempt_->connected)
        return false;
    std::lock_guard lock(attempt_->clientMutex);
    return attempt_->client &&
           mosquitto_subscribe(attempt_->client, nullptr, topic.c_str(), qos) == MOSQ_ERR_SUCCESS;
}

void MqttLink::Disconnect() {
    ++generation_; // events already on their way are dropped
    if (!attempt_)
        return;
    {
        std::lock_guard lock(attempt_->postMutex);
        attempt_->stop = true;
    }
    retired_.push_back(std::move(attempt_));
    Retire();
}

void MqttLink::Retire() {
    // Threads that have finished are joined; the others later.
    for (auto it = retired_.begin(); it != retired_.end();) {
        if ((*it)->done) {
            (*it)->thread.join();
            it = retired_.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace output
