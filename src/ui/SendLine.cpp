#include "ui/SendLine.h"

#include "ui/AsciiChartDialog.h"
#include "ui/OutputStringEdit.h"
#include "ui/QtMessageSink.h"

#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace ui {

SendLine::SendLine(QWidget* parent) : QWidget(parent) {
    box_ = new QLineEdit(this);
    box_->setObjectName("OutputBuffer");
    box_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    box_->installEventFilter(this);
    send_ = new QPushButton(tr("&Send"), this);
    send_->setObjectName("SendButton");
    send_->setAutoDefault(false);
    chart_ = new QPushButton(tr("ASCII C&hart"), this);
    chart_->setObjectName("AsciiChartButton");
    chart_->setAutoDefault(false);
    chart_->setToolTip(tr("Insert a character by its code, such as a control character"));
    note_ = new QLabel(this);
    note_->setObjectName("OutputBufferShown");
    note_->setTextFormat(Qt::PlainText);
    note_->setWordWrap(true);
    note_->hide();

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(box_, 1);
    row->addWidget(send_);
    row->addWidget(chart_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(note_);
    setFocusProxy(box_);

    connect(send_, &QPushButton::clicked, this, [this] { Send(false); });
    connect(box_, &QLineEdit::returnPressed, this, [this] { Send(true); });
    connect(chart_, &QPushButton::clicked, this, [this] { PickCharacter(); });
    connect(box_, &QLineEdit::textChanged, this, [this] {
        // Only a line with a control character needs the note.
        const QString readable = ReadableBytes(Latin1Bytes(box_->text()));
        note_->setText(tr("Sends: %1").arg(readable));
        note_->setVisible(readable != box_->text());
    });
    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };
}

void SendLine::Send(bool withEnterEnding) {
    const QString text = box_->text();
    const std::string bytes = Latin1Bytes(text) + (withEnterEnding ? enterEnding_ : std::string());
    if (bytes.empty())
        return;
    if (clearAfterSend_) {
        if (!text.isEmpty() && (sent_.empty() || sent_.back() != text))
            sent_.push_back(text);
        recalled_ = sent_.size();
        box_->clear();
    }
    if (onSend)
        onSend(bytes);
}

void SendLine::PickCharacter() {
    int code = 0;
    if (pickCharacter && pickCharacter(code))
        box_->insert(QString(QChar(code)));
    box_->setFocus();
}

void SendLine::Recall(int step) {
    if (sent_.empty())
        return;
    if (step < 0 && recalled_ > 0)
        --recalled_;
    else if (step > 0 && recalled_ < sent_.size())
        ++recalled_;
    box_->setText(recalled_ < sent_.size() ? sent_[recalled_] : QString());
}

bool SendLine::eventFilter(QObject* watched, QEvent* event) {
    if (watched == box_ && clearAfterSend_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            Recall(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace ui
