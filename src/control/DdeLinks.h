#pragma once
// Corvane as a DDE client of other programs, over a DdeClient.
//
// TargetCommand: in DDE Server mode, after each record, a command goes to
// another program by Execute. The conversation is opened at the first record
// that needs it and kept; when the other program goes away it counts as
// disconnected and the next record connects anew.
//
// ClientLinks: the command-source link (the CommandBuffer label follows
// another program's item) and the output-buffer link (the OutputBuffer label
// does). Each is established at start when its Auto flag says so, and at the
// tick after its request flag was set (paste, refresh); every new text of the
// followed item goes to the label's handler.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "control/Clipboard.h"
#include "control/DdeClient.h"
#include "engine/RuntimeState.h"

#include <functional>
#include <string>

namespace control {

class TargetCommand {
public:
    TargetCommand(const config::Config& cfg, DdeClient& client) : cfg_(cfg), client_(client) {}
    ~TargetCommand() { Disconnect(); }

    // Connects to DdeCmdApp/DdeCmdTopic if not connected, then sends command
    // there. An empty command neither connects nor sends.
    void Execute(const std::string& command);
    void Disconnect();
    Conversation conversation() const { return conversation_; }

private:
    const config::Config& cfg_;
    DdeClient& client_;
    Conversation conversation_ = 0;
};

enum class LinkKind { Command, Buffer };

// The Edit menu's entries for one link: DDEPaste, DDERefresh, DDEKill (and
// the Buffer ones).
struct LinkMenu {
    bool paste = false;     // the clipboard holds a link
    bool refresh = false;   // an application and a topic are set
    bool terminate = false; // the link is on
    bool operator==(const LinkMenu&) const = default;
};

class ClientLinks {
public:
    ClientLinks(config::Config& cfg, engine::RuntimeState& state, DdeClient& client,
                Clipboard& clipboard, config::MessageSink& messages);
    ~ClientLinks() { EndAll(); }

    // Where each link's texts go: the CommandBuffer and OutputBuffer labels.
    std::function<void(const std::string& text)> commandText;
    std::function<void(const std::string& text)> bufferText;

    // Start-up: each link whose Auto flag is set.
    void EstablishAuto();
    // Sets the label's link to its settings' application, topic and item.
    // Needs both an application and a topic; a link that cannot be set up
    // is reported ("Cannot Establish DDE Command Link With: app,topic,item").
    void Establish(LinkKind kind);

    LinkMenu Menu(LinkKind kind);
    // DDEPaste: the clipboard's link becomes the link's settings, and the
    // link is set up at the next tick.
    void Paste(LinkKind kind);
    // DDERefresh: set up again at the next tick.
    void Refresh(LinkKind kind);
    // DDEKill: the link is ended.
    void Terminate(LinkKind kind);
    bool Active(LinkKind kind) const;

    // The runtime stops: both links end.
    void EndAll();

private:
    struct Link {
        std::string& app;
        std::string& topic;
        std::string& item;
        bool& requestFlag;
        const char* failureText;
        LinkId id = 0;
    };
    Link& Of(LinkKind kind) { return kind == LinkKind::Command ? command_ : buffer_; }
    const Link& Of(LinkKind kind) const { return kind == LinkKind::Command ? command_ : buffer_; }
    void Fail(Link& link);
    void End(Link& link);

    const config::Config& cfg_;
    DdeClient& client_;
    Clipboard& clipboard_;
    config::MessageSink& messages_;
    Link command_;
    Link buffer_;
};

} // namespace control
