#include "ui/OutputStringsDialog.h"

#include "config/Validation.h"
#include "control/CommandInterpreter.h"

#include "ui/AsciiChartDialog.h"
#include "ui/DialogButtons.h"
#include "ui/OutputStringEdit.h"
#include "ui/QtMessageSink.h"
#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTableWidget>
#include <QVBoxLayout>

#include <utility>

namespace ui {

namespace {

enum OutputColumn { OutputCaptionColumn, OutputSendsColumn };

// What a TimerEnabled value does, as the runtime reads it: whether timed
// output starts on activation, and the action (0 transmit, 1 DTR, 2 BREAK;
// "Toggle DTR" wins when both of its bits are set).
std::pair<bool, int> TimerMeaning(int timerEnabled) {
    const int action = (timerEnabled & 4) ? 1 : (timerEnabled & 8) ? 2 : 0;
    return {(timerEnabled & 1) != 0, action};
}

} // namespace

OutputStringsDialog::OutputStringsDialog(config::Config& cfg, config::MessageSink& messages,
                                         QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages) {
    setWindowTitle("Serial Output Strings");
    for (int n = 1; n <= config::NumOutputStrings; ++n) {
        const auto i = static_cast<std::size_t>(n);
        names_[i] = Latin1Text(cfg.OutputStringName[i]);
        notations_[i] = QString::fromLatin1(control::EncodeOutputString(cfg.OutputString[i]));
    }

    // The 20 strings: a list of all, and the boxes of the selected one.
    auto* stringsBox = new QGroupBox("&Output Strings", this);
    table_ = PickingTable(config::NumOutputStrings, {"Caption", "Sends"}, stringsBox);
    table_->setObjectName("OutputStrings");
    for (int n = 1; n <= config::NumOutputStrings; ++n)
        ShowRow(n);
    table_->setColumnWidth(OutputCaptionColumn, 130);
    table_->setMinimumSize(380, table_->verticalHeader()->defaultSectionSize() * 12);
    caption_ = new QLineEdit(stringsBox);
    caption_->setObjectName("OutputStringName");
    text_ = new OutputStringEdit({}, stringsBox);
    text_->setObjectName("OutputString");
    textSummary_ = text_->MakeSummaryLabel(stringsBox);
    auto* stringForm = new QFormLayout;
    stringForm->addRow("Button &Caption:", caption_);
    stringForm->addRow("&String:", text_);
    stringForm->addRow("", textSummary_);
    auto* stringsLayout = new QVBoxLayout(stringsBox);
    stringsLayout->addWidget(table_, 1);
    stringsLayout->addLayout(stringForm);

    auto* ackBox = new QGroupBox("Acknowledgement", this);
    ack_ = new OutputStringEdit(cfg.AckString, ackBox);
    ack_->setObjectName("AckString");
    auto* ackForm = new QFormLayout(ackBox);
    ackForm->addRow(new QLabel("Sent to the device after each data record.", ackBox));
    ackForm->addRow("&Acknowledgement String:", ack_);
    ackForm->addRow("", ack_->MakeSummaryLabel(ackBox));

    auto* timedBox = new QGroupBox("Timed Output", this);
    timerText_ = new OutputStringEdit(cfg.TimerString, timedBox);
    timerText_->setObjectName("TimerString");
    interval_ = new QLineEdit(QString::number(cfg.TimerInterval), timedBox);
    interval_->setObjectName("TimerInterval");
    // Digits only; nine of them, so that a value too large can be typed and
    // then refused with its message.
    interval_->setValidator(
        new QRegularExpressionValidator(QRegularExpression("[0-9]{0,9}"), interval_));
    interval_->setFixedWidth(interval_->fontMetrics().horizontalAdvance("999999999") + 24);
    auto* intervalRow = new QHBoxLayout;
    intervalRow->addWidget(interval_);
    intervalRow->addWidget(new QLabel("(0 = no timed output)", timedBox), 1);
    timerOn_ = new QCheckBox("&Enable Timer On Activation", timedBox);
    timerOn_->setObjectName("TimerOn");
    auto* actionBox = new QGroupBox("Action", timedBox);
    action_ = new QButtonGroup(actionBox);
    auto* actionLayout = new QVBoxLayout(actionBox);
    const char* const actions[] = {"T&ransmit String", "Toggle &DTR", "Issue &Break"};
    for (int i = 0; i < 3; ++i) {
        auto* option = new QRadioButton(actions[i], actionBox);
        action_->addButton(option, i);
        actionLayout->addWidget(option);
    }
    const auto [runsOnActivation, action] = TimerMeaning(cfg.TimerEnabled);
    timerOn_->setChecked(runsOnActivation);
    action_->button(action)->setChecked(true);
    auto* timedForm = new QFormLayout(timedBox);
    timedForm->addRow("Timer S&tring:", timerText_);
    timedForm->addRow("", timerText_->MakeSummaryLabel(timedBox));
    timedForm->addRow("Timer &Interval (ms):", intervalRow);
    static_cast<QLabel*>(timedForm->labelForField(intervalRow))->setBuddy(interval_);
    timedForm->addRow(timerOn_);
    timedForm->addRow(actionBox);

    auto* right = new QVBoxLayout;
    right->addWidget(ackBox);
    right->addWidget(timedBox);
    right->addStretch(1);
    auto* columns = new QHBoxLayout;
    columns->addWidget(stringsBox, 1);
    columns->addLayout(right);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    chart_ = AddChartAndOkCancel(this, layout);

    connect(table_, &QTableWidget::currentCellChanged, this,
            [this](int row) { SelectString(row + 1); });
    connect(caption_, &QLineEdit::textChanged, this, [this](const QString& name) {
        names_[static_cast<std::size_t>(selected_)] = name;
        ShowRow(selected_);
    });
    connect(text_, &QLineEdit::textChanged, this, [this](const QString& notation) {
        notations_[static_cast<std::size_t>(selected_)] = notation;
        ShowRow(selected_);
    });
    lastEdit_ = text_;
    for (OutputStringEdit* edit : {text_, ack_, timerText_})
        connect(edit, &OutputStringEdit::Focused, this, [this, edit] { lastEdit_ = edit; });
    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };
    connect(chart_, &QPushButton::clicked, this, [this] { PickCharacter(); });

    QWidget* const order[] = {table_,   caption_,           text_, ack_, timerText_, interval_,
                              timerOn_, action_->button(0), chart_};
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
    SelectString(1);
}

void OutputStringsDialog::SelectString(int n) {
    if (n < 1 || n > config::NumOutputStrings || n == selected_)
        return;
    selected_ = n;
    const auto i = static_cast<std::size_t>(n);
    const QString name = names_[i], notation = notations_[i];
    caption_->setText(name);
    text_->setText(notation);
    if (table_->currentRow() != n - 1)
        table_->setCurrentCell(n - 1, OutputCaptionColumn);
}

void OutputStringsDialog::ShowRow(int n) {
    const auto i = static_cast<std::size_t>(n);
    table_->item(n - 1, OutputCaptionColumn)->setText(names_[i]);
    table_->item(n - 1, OutputSendsColumn)
        ->setText(ReadableBytes(control::DecodeOutputString(Latin1Bytes(notations_[i]))));
}

void OutputStringsDialog::PickCharacter() {
    int code = 0;
    if (!pickCharacter(code))
        return;
    lastEdit_->InsertCode(code);
    lastEdit_->setFocus();
}

void OutputStringsDialog::accept() {
    const long interval = interval_->text().isEmpty() ? 0 : interval_->text().toLong();
    if (const config::Check bad = config::CheckTimerInterval(interval)) {
        if (bad->beep)
            messages_.Beep();
        messages_.Show(
            {bad->text, bad->title, config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        interval_->setFocus();
        interval_->selectAll();
        return; // nothing stored
    }
    config::Config next = cfg_;
    for (int n = 1; n <= config::NumOutputStrings; ++n) {
        const auto i = static_cast<std::size_t>(n);
        next.OutputStringName[i] = Latin1Bytes(names_[i]);
        next.OutputString[i] = control::DecodeOutputString(Latin1Bytes(notations_[i]));
    }
    next.AckString = ack_->Bytes();
    next.TimerString = timerText_->Bytes();
    next.TimerInterval = static_cast<config::Long>(interval);
    // A value that means the same as the stored one is left as it is, so
    // that OK alone never marks the configuration changed.
    const int timerEnabled = (timerOn_->isChecked() ? 1 : 0) + (2 << action_->checkedId());
    if (TimerMeaning(timerEnabled) != TimerMeaning(cfg_.TimerEnabled))
        next.TimerEnabled = static_cast<config::Integer>(timerEnabled);
    const bool changed =
        next.OutputStringName != cfg_.OutputStringName || next.OutputString != cfg_.OutputString ||
        next.AckString != cfg_.AckString || next.TimerString != cfg_.TimerString ||
        next.TimerInterval != cfg_.TimerInterval || next.TimerEnabled != cfg_.TimerEnabled;
    if (changed) {
        next.ConfigChanged = config::True;
        cfg_ = next;
    }
    QDialog::accept();
}

} // namespace ui
