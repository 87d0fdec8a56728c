#pragma once
// "Port Test": shows every character that arrives at the port, sends text to
// the instrument, drives DTR and BREAK, and proposes a record structure from
// what arrived ("&Analyze Input"), written into the configuration when the
// user accepts it.
//
// The input display is read-only: it shows what arrived, and the analysis,
// the byte counters and the selection counters all work on exactly those
// characters. A carriage return, a line feed, or the two together start a
// new line on the screen; the counters still count each of them.

#include "config/Config.h"
#include "config/MessageSink.h"
#include "serial/Port.h"

#include <QMainWindow>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTimer;

namespace ui {

class SendLine;

class PortTestWindow : public QMainWindow {
    Q_OBJECT
public:
    PortTestWindow(config::Config& cfg, serial::Port& port, config::MessageSink& messages,
                   QWidget* parent = nullptr);

    // One tick: refreshes the counters, ends a BREAK that has lasted its time,
    // sends what is still waiting, and shows what the port has received. A
    // 50 ms timer calls it while the window is shown.
    void Tick();

    // The characters the input display holds, as bytes.
    const std::string& InputText() const { return input_; }

    // Runs after the user accepted a proposal (the configuration holds it).
    std::function<void()> onConfigured;
    // Picks a character code for the output box; the ASCII chart unless a
    // test puts something else here. False when the user cancels.
    std::function<bool(int& code)> pickCharacter;

private:
    void Send(const std::string& bytes);
    void ClearInput();
    void Analyze();
    void Append(const std::string& shown);
    void RefreshCounters();

    config::Config& cfg_;
    serial::Port& port_;
    config::MessageSink& messages_;

    QPlainTextEdit* buffer_;
    QLabel* byteCount_;
    QLabel* selStart_;
    QLabel* selCount_;
    QCheckBox* preInput_;
    SendLine* output_;
    QPushButton* analyze_;
    QTimer* timer_;

    std::string input_;                 // what the display holds, byte for byte
    std::vector<std::size_t> inputAt_;  // per character on the screen: its offset in input_
    bool lastWasCr_ = false;            // a line feed right after it joins its line break
    std::string pendingOutput_;
    std::int16_t breakTicks_ = 0;
};

} // namespace ui
