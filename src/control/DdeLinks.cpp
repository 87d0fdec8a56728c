#include "control/DdeLinks.h"

#include "control/DdeNames.h"

namespace control {

void TargetCommand::Execute(const std::string& command) {
    if (command.empty())
        return;
    if (conversation_ == 0)
        conversation_ =
            client_.Connect(cfg_.DdeCmdApp, cfg_.DdeCmdTopic, [this] { conversation_ = 0; });
    if (conversation_ != 0)
        client_.Execute(conversation_, command);
}

void TargetCommand::Disconnect() {
    if (conversation_ != 0)
        client_.Disconnect(conversation_);
    conversation_ = 0;
}

ClientLinks::ClientLinks(config::Config& cfg, engine::RuntimeState& state, DdeClient& client,
                         Clipboard& clipboard, config::MessageSink& messages)
    : cfg_(cfg), client_(client), clipboard_(clipboard),
      messages_(messages), command_{cfg.CmdLinkApp, cfg.CmdLinkTopic, cfg.CmdLinkItem,
                                    state.RelinkCommandPending,
                                    "Cannot Establish DDE Command Link With: "},
      buffer_{cfg.OutLinkApp, cfg.OutLinkTopic, cfg.OutLinkItem, state.RelinkOutputPending,
              "Cannot Establish DDE Output Buffer Link With: "} {}

void ClientLinks::EstablishAuto() {
    if (cfg_.CmdLinkAuto)
        Establish(LinkKind::Command);
    if (cfg_.OutLinkAuto)
        Establish(LinkKind::Buffer);
}

void ClientLinks::Establish(LinkKind kind) {
    Link& link = Of(kind);
    if (link.app.empty() || link.topic.empty())
        return;
    End(link);
    auto& handler = kind == LinkKind::Command ? commandText : bufferText;
    LinkEvents events;
    events.value = [&handler](const std::string& text) {
        if (handler)
            handler(text);
    };
    events.failed = [this, &link] { Fail(link); };
    // A link that breaks later is dropped without a message.
    events.dropped = [this, &link] { End(link); };
    link.id = client_.StartLink(link.app, link.topic, link.item, std::move(events));
    if (link.id == 0)
        Fail(link);
}

void ClientLinks::Fail(Link& link) {
    End(link);
    messages_.Show({link.failureText + link.app + "," + link.topic + "," + link.item, "",
                    config::MessageIcon::None, config::MessageButtons::Ok});
}

void ClientLinks::End(Link& link) {
    if (link.id != 0)
        client_.EndLink(link.id);
    link.id = 0;
}

LinkMenu ClientLinks::Menu(LinkKind kind) {
    const Link& link = Of(kind);
    LinkMenu menu;
    menu.paste = clipboard_.Link().has_value();
    menu.refresh = !link.app.empty() && !link.topic.empty();
    menu.terminate = link.id != 0;
    return menu;
}

void ClientLinks::Paste(LinkKind kind) {
    auto text = clipboard_.Link();
    if (!text)
        return;
    Link& link = Of(kind);
    LinkAddress address = ParseLinkText(*text);
    link.app = address.app;
    link.topic = address.topic;
    link.item = address.item;
    link.requestFlag = true;
}

void ClientLinks::Refresh(LinkKind kind) {
    Of(kind).requestFlag = true;
}

void ClientLinks::Terminate(LinkKind kind) {
    End(Of(kind));
}

bool ClientLinks::Active(LinkKind kind) const {
    return Of(kind).id != 0;
}

void ClientLinks::EndAll() {
    End(command_);
    End(buffer_);
}

} // namespace control
