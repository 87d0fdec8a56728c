#pragma once
// A line of text for the other end of a serial line, as the Port Test window
// (text for the instrument) and the virtual serial device (text the
// instrument sends) offer it: the box, "&Send", and "ASCII C&hart" for the
// control characters no key types. Enter in the box sends too, with an
// optional ending (a carriage return on the virtual device). A note beside
// the box names the control characters it holds, which the box cannot show.
//
// Optionally the box empties after each send and keeps the lines sent, for
// Up and Down to bring back.

#include <QWidget>

#include <functional>
#include <string>
#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;

namespace ui {

class SendLine : public QWidget {
    Q_OBJECT
public:
    explicit SendLine(QWidget* parent = nullptr);

    // The bytes to send: the box's text (Latin-1), plus the Enter ending when
    // the line was sent with Enter. Not called for nothing at all.
    std::function<void(const std::string& bytes)> onSend;
    // Picks a character code for the chart button; the ASCII chart unless
    // something else is put here. False when the user cancels.
    std::function<bool(int& code)> pickCharacter;

    // What Enter adds to the text (nothing unless set).
    void SetEnterEnding(const std::string& ending) { enterEnding_ = ending; }
    // Whether the box empties after a send, the line kept for Up and Down.
    void SetClearAfterSend(bool clear) { clearAfterSend_ = clear; }

    // Sends the line as the Send button does, or as Enter does.
    void Send(bool withEnterEnding);

    QLineEdit* Box() const { return box_; }
    QPushButton* SendButton() const { return send_; }
    QPushButton* ChartButton() const { return chart_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void PickCharacter();
    void Recall(int step);

    QLineEdit* box_;
    QPushButton* send_;
    QPushButton* chart_;
    QLabel* note_;
    std::string enterEnding_;
    bool clearAfterSend_ = false;
    std::vector<QString> sent_;
    std::size_t recalled_ = 0; // sent_.size() while the box holds a new line
};

} // namespace ui
