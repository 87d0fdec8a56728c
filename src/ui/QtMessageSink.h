#pragma once
// Messages of the windowed program: a QMessageBox with the message's title,
// text, icon and buttons, modal to the window in front; the beep is the
// desktop's. Also the one conversion of device text to and from Qt: byte n
// is code point n.

#include "config/MessageSink.h"

#include <string>

class QString;
class QWidget;

namespace ui {

class QtMessageSink : public config::MessageSink {
public:
    explicit QtMessageSink(QWidget* parent = nullptr) : parent_(parent) {}
    void SetParent(QWidget* parent) { parent_ = parent; }

    config::MessageAnswer Show(const config::Message& message) override;
    void Beep(long soundType = 0) override;

private:
    QWidget* parent_;
};

QString Latin1Text(const std::string& bytes);
std::string Latin1Bytes(const QString& text); // characters beyond 255 become '?'

} // namespace ui
