#pragma once
// A message sink for tests: records every message and beep and answers from
// a queue (Ok when it is empty); a question answered Deferred keeps its answer
// callback in later, for the test to answer as a user would.

#include "config/MessageSink.h"

#include <deque>
#include <functional>
#include <vector>

namespace config {

class RecordingMessageSink : public MessageSink {
public:
    std::vector<Message> shown;
    std::vector<Message> retracted;
    std::vector<long> beeps;
    std::deque<MessageAnswer> answers;
    std::vector<std::function<void(MessageAnswer)>> later;

    MessageAnswer Show(const Message& message) override {
        shown.push_back(message);
        if (answers.empty())
            return message.buttons == MessageButtons::RetryCancel ? MessageAnswer::Cancel
                                                                  : MessageAnswer::Ok;
        MessageAnswer a = answers.front();
        answers.pop_front();
        return a;
    }
    MessageAnswer Ask(const Message& message,
                      std::function<void(MessageAnswer)> answered) override {
        const MessageAnswer a = Show(message);
        if (a == MessageAnswer::Deferred)
            later.push_back(std::move(answered));
        return a;
    }
    void Retract(const Message& message) override { retracted.push_back(message); }
    void Beep(long soundType = 0) override { beeps.push_back(soundType); }
};

} // namespace config
