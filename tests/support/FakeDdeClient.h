#pragma once
// A DDE client for tests: servers are a set of "app|topic" names the test
// switches on and off; executes and links are recorded, and the test drives
// the links' events by hand.

#include "control/DdeClient.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace control {

class FakeDdeClient : public DdeClient {
public:
    struct Link {
        std::string app, topic, item;
        LinkEvents events;
        bool ended = false;
    };
    std::set<std::string> servers;            // "app|topic" that answer Connect
    std::vector<std::string> executed;        // "app|topic: command"
    std::vector<std::string> connects;        // every Connect asked, "app|topic"
    std::map<Conversation, std::string> open; // conversation -> "app|topic"
    std::map<Conversation, std::function<void()>> onDisconnect;
    std::map<LinkId, Link> links;
    bool busAvailable = true;

    Conversation Connect(const std::string& app, const std::string& topic,
                         std::function<void()> disconnected) override {
        const std::string name = app + "|" + topic;
        connects.push_back(name);
        if (!servers.count(name))
            return 0;
        const Conversation c = next_++;
        open[c] = name;
        onDisconnect[c] = std::move(disconnected);
        return c;
    }
    void Disconnect(Conversation c) override {
        open.erase(c);
        onDisconnect.erase(c);
    }
    void Execute(Conversation c, const std::string& command) override {
        executed.push_back(open.count(c) ? open[c] + ": " + command : "?: " + command);
    }
    LinkId StartLink(const std::string& app, const std::string& topic, const std::string& item,
                     LinkEvents events) override {
        if (!busAvailable)
            return 0;
        const LinkId id = next_++;
        links[id] = Link{app, topic, item, std::move(events)};
        return id;
    }
    void EndLink(LinkId id) override { links[id].ended = true; }

    // The server app|topic goes away: its conversations end.
    void StopServer(const std::string& name) {
        servers.erase(name);
        for (auto it = open.begin(); it != open.end();) {
            if (it->second != name) {
                ++it;
                continue;
            }
            auto callback = onDisconnect[it->first];
            onDisconnect.erase(it->first);
            it = open.erase(it);
            if (callback)
                callback();
        }
    }
    // The newest link still running, or null.
    Link* LastLink() {
        for (auto it = links.rbegin(); it != links.rend(); ++it)
            if (!it->second.ended)
                return &it->second;
        return nullptr;
    }

private:
    std::uint32_t next_ = 1;
};

} // namespace control
