#include "support/MqttBroker.h"

#include <mosquitto.h>

#include <arpa/inet.h>
#include <csignal>
#include <fstream>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace testsupport {

using namespace std::chrono_literals;

namespace {

bool Listening(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return ok;
}

std::string Replace(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

} // namespace

std::string MosquittoProgram() {
    for (const char* path : {"/usr/sbin/mosquitto", "/usr/bin/mosquitto"})
        if (::access(path, X_OK) == 0)
            return path;
    return "";
}

int FreePort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

MqttBroker::MqttBroker(const std::string& listeners) : port_(FreePort()) {
    std::string extra = Replace(listeners, "{DIR}", dir_.path.string());
    for (std::size_t i = 0; extra.find("{PORT" + std::to_string(i) + "}") != std::string::npos;
         ++i) {
        extraPorts_.push_back(FreePort());
        extra =
            Replace(extra, "{PORT" + std::to_string(i) + "}", std::to_string(extraPorts_.back()));
    }
    // Started by root, mosquitto would become the user "mosquitto", who may
    // not read the test's files: it stays who the test is.
    const passwd* user = ::getpwuid(::getuid());
    std::ofstream(dir_.path / "mosquitto.conf")
        << "user " << (user ? user->pw_name : "root") << "\n"
        << "per_listener_settings true\n"
        << "persistence true\n"
        // A subscriber that is away (the broker restarted) misses nothing.
        << "max_queued_messages 0\n"
        << "persistence_location " << dir_.path.string() << "/\n"
        << "log_dest file " << (dir_.path / "mosquitto.log").string() << "\n"
        << "listener " << port_ << " 127.0.0.1\n"
        << "allow_anonymous true\n"
        << extra;
}

MqttBroker::~MqttBroker() {
    Stop();
}

bool MqttBroker::Start() {
    process_ = std::make_unique<ChildProcess>(std::vector<std::string>{
        MosquittoProgram(), "-c", (dir_.path / "mosquitto.conf").string()});
    return WaitFor(5s, [this] {
        if (!Listening(port_))
            return false;
        for (int port : extraPorts_)
            if (!Listening(port))
                return false;
        return true;
    });
}

void MqttBroker::Stop() {
    if (!process_)
        return;
    process_->Signal(SIGTERM);
    process_->WaitExit(5s);
    process_.reset();
}

std::string MqttBroker::Log() const {
    return ReadFileBytes(dir_.path / "mosquitto.log");
}

MqttSubscriber::MqttSubscriber(int port, const std::string& filter, const std::string& clientId)
    : filter_(filter) {
    mosquitto_lib_init();
    const std::string id =
        clientId.empty() ? "corvane-test-sub-" + std::to_string(::getpid()) : clientId;
    client_ = mosquitto_new(id.c_str(), false, this);
    mosquitto_reconnect_delay_set(client_, 1, 1, false);
    mosquitto_connect_callback_set(client_, [](mosquitto* m, void* self, int rc) {
        auto* s = static_cast<MqttSubscriber*>(self);
        if (rc == 0)
            mosquitto_subscribe(m, nullptr, s->filter_.c_str(), 1);
    });
    mosquitto_subscribe_callback_set(client_, [](mosquitto*, void* self, int, int, const int*) {
        auto* s = static_cast<MqttSubscriber*>(self);
        std::lock_guard lock(s->mutex_);
        s->subscribed_ = true;
    });
    mosquitto_message_callback_set(client_, [](mosquitto*, void* self, const mosquitto_message* m) {
        auto* s = static_cast<MqttSubscriber*>(self);
        std::lock_guard lock(s->mutex_);
        s->messages_.push_back({m->topic,
                                std::string(static_cast<const char*>(m->payload),
                                            static_cast<std::size_t>(m->payloadlen)),
                                m->retain});
    });
    mosquitto_connect_async(client_, "127.0.0.1", port, 10);
    mosquitto_loop_start(client_);
}

MqttSubscriber::~MqttSubscriber() {
    mosquitto_disconnect(client_);
    mosquitto_loop_stop(client_, false);
    mosquitto_destroy(client_);
    mosquitto_lib_cleanup();
}

bool MqttSubscriber::WaitSubscribed() {
    return WaitFor(5s, [this] {
        std::lock_guard lock(mutex_);
        return subscribed_;
    });
}

std::vector<MqttSubscriber::Message> MqttSubscriber::Messages() {
    std::lock_guard lock(mutex_);
    return messages_;
}

std::vector<std::string> MqttSubscriber::Payloads(const std::string& topic) {
    std::vector<std::string> payloads;
    for (const Message& m : Messages())
        if (m.topic == topic)
            payloads.push_back(m.payload);
    return payloads;
}

} // namespace testsupport
