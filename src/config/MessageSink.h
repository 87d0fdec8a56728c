#pragma once
// Messages the user sees go out through a sink that the program supplies: a
// message box in the windowed program, standard error ("title: text") when
// headless, a list in the tests. The core never shows anything itself.

#include <functional>
#include <string>
#include <vector>

namespace config {

enum class MessageIcon { None, Question, Exclamation, Information };
enum class MessageButtons { Ok, RetryCancel, YesNo };
// Deferred: nobody can answer now (headless); the caller keeps its work and
// asks again later.
enum class MessageAnswer { Ok, Retry, Cancel, Yes, No, Deferred };

struct Message {
    std::string text;
    std::string title;
    MessageIcon icon = MessageIcon::None;
    MessageButtons buttons = MessageButtons::Ok;
    bool operator==(const Message&) const = default;
};

class MessageSink {
public:
    virtual ~MessageSink() = default;
    virtual MessageAnswer Show(const Message& message) = 0;
    // A question whose answer may come later. A sink that may wait for the
    // user answers at once, as Show does. One that must not hold up its
    // caller (the window of a running runtime, which goes on reading) shows
    // the question, answers Deferred, and later calls answered once with the
    // user's answer, from the event loop, never from inside Ask. A question
    // taken back with Retract is never answered.
    virtual MessageAnswer Ask(const Message& message, std::function<void(MessageAnswer)> answered) {
        (void)answered;
        return Show(message);
    }
    // The message no longer holds (a lost device is back, the log can be
    // written again): a sink that still shows it takes it down.
    virtual void Retract(const Message& message) { (void)message; }
    // soundType 0 is the standard beep; other values are platform sound types.
    virtual void Beep(long soundType = 0) = 0;
};

// Shows nothing and answers Ok: for messages that are not to be shown, such as
// those of repeated attempts whose outcome is reported otherwise.
class SilentMessageSink : public MessageSink {
public:
    MessageAnswer Show(const Message&) override { return MessageAnswer::Ok; }
    void Beep(long) override {}
};

// Keeps the messages instead of showing them, answering Ok (or the escape
// answer of a question): what a check would have told the user becomes, say,
// the reason a command from another program is refused.
class KeptMessages : public MessageSink {
public:
    std::vector<Message> kept;
    MessageAnswer Show(const Message& message) override {
        kept.push_back(message);
        return message.buttons == MessageButtons::RetryCancel ? MessageAnswer::Cancel
               : message.buttons == MessageButtons::YesNo     ? MessageAnswer::No
                                                              : MessageAnswer::Ok;
    }
    void Beep(long) override {}
};

} // namespace config
