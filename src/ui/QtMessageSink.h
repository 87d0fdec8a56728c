#pragma once
// Messages of the windowed program: a QMessageBox with the message's title,
// text, icon and buttons; the beep is the desktop's. Also the one conversion
// of device text to and from Qt: byte n is code point n.
//
// Two ways to show: waiting, a modal box whose answer Show returns (the setup
// window, its dialogs, a runtime that is closing), and not waiting, for a
// running runtime, whose port is read between the events of the same thread:
// there every box is shown without a local event loop, Show returns at once,
// and a question (Retry or Cancel) answers Deferred and its box hands the
// user's answer over when it is clicked. A box that says what an open one
// already says is not shown twice.

#include "config/MessageSink.h"

#include <QPointer>

#include <string>
#include <vector>

class QMessageBox;
class QString;
class QWidget;

namespace ui {

class QtMessageSink : public config::MessageSink {
public:
    explicit QtMessageSink(QWidget* parent = nullptr) : parent_(parent) {}
    ~QtMessageSink() override;
    QtMessageSink(const QtMessageSink&) = delete;
    QtMessageSink& operator=(const QtMessageSink&) = delete;

    // The window the boxes belong to (and stay above).
    void SetParent(QWidget* parent);
    // Whether each message waits for the user (the default) or not.
    void SetWaiting(bool waiting) { waiting_ = waiting; }
    // Boxes that do not wait are kept back until the window they belong to
    // is there (SetParent with a window), so that they come up above it;
    // ShowHeld shows them without one (the window never came).
    void HoldUntilParent() { holding_ = true; }
    void ShowHeld();

    config::MessageAnswer Show(const config::Message& message) override;
    config::MessageAnswer Ask(const config::Message& message,
                              std::function<void(config::MessageAnswer)> answered) override;
    void Retract(const config::Message& message) override;
    void Beep(long soundType = 0) override;

    // The boxes shown without waiting that are still open.
    std::size_t OpenBoxes();
    // Takes every such box down; none of them answers.
    void CloseAll();
    // Lets every such box stay up on its own, unanswered, after this sink
    // is gone (each goes when the user closes it).
    void ReleaseAll();
    // Runs the event loop until the user has closed every such box (when a
    // runtime could not start, its messages are what is left to read).
    void WaitUntilAllClosed();

private:
    config::MessageAnswer ShowWithoutWaiting(const config::Message& message,
                                             std::function<void(config::MessageAnswer)> answered);

    struct OpenBox {
        QPointer<QMessageBox> box;
        config::Message message;
    };
    struct HeldBox {
        config::Message message;
        std::function<void(config::MessageAnswer)> answered;
    };
    QWidget* parent_;
    bool waiting_ = true;
    bool holding_ = false;
    std::vector<OpenBox> open_;
    std::vector<HeldBox> held_;
};

QString Latin1Text(const std::string& bytes);
std::string Latin1Bytes(const QString& text); // characters beyond 255 become '?'

} // namespace ui
