#include "ui/HotKeysDialog.h"

#include "control/CommandInterpreter.h"
#include "control/HotKeyNames.h"
#include "control/HotKeys.h"

#include "ui/AsciiChartDialog.h"
#include "ui/DialogButtons.h"
#include "ui/OutputStringEdit.h"
#include "ui/QtMessageSink.h"
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <cctype>

namespace ui {

namespace {

enum Column { KeyColumn, ActionColumn, SendsColumn };

QString ActionCaption(int action) {
    const auto& captions = control::HotKeyActionCaptions();
    if (action < 0 || action >= static_cast<int>(captions.size()))
        return QString::number(action); // an action this program does not know does nothing
    return QString::fromLatin1(
        captions[static_cast<std::size_t>(action)].data(),
        static_cast<qsizetype>(captions[static_cast<std::size_t>(action)].size()));
}

bool SameCombination(int a, int b) {
    return (a & 0xFF) == (b & 0xFF) &&
           control::PlatformModifiers(a) == control::PlatformModifiers(b);
}

} // namespace

std::string HotKeysDialog::HotKeyCommand(const std::string& topic, int slot) {
    // Quoted as a shell wants a word with blanks or other special characters.
    const bool plain = !topic.empty() && std::all_of(topic.begin(), topic.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
    });
    std::string word = topic;
    if (!plain) {
        word = "'";
        for (char c : topic)
            word += c == '\'' ? std::string("'\\''") : std::string(1, c);
        word += "'";
    }
    return "corvane hotkey " + word + " " + std::to_string(slot);
}

std::string HotKeysDialog::DuplicateMessage(const std::string& name, int firstSlot) {
    return name + " is already the hot key of slot " + std::to_string(firstSlot + 1) +
           ".\rA key combination can start one action only.";
}

HotKeysDialog::HotKeysDialog(config::Config& cfg, config::MessageSink& messages, QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages), codes_(cfg.HotKeyCode),
      actions_(cfg.HotKeyAction) {
    setWindowTitle("Hot Keys");
    for (std::size_t i = 0; i < notations_.size(); ++i)
        notations_[i] = QString::fromLatin1(control::EncodeOutputString(cfg.HotKeyData[i]));

    auto* slotsBox = new QGroupBox("Hot &Keys", this);
    table_ = PickingTable(config::NumHotKeys, {"Hot Key", "Action", "Sends"}, slotsBox);
    table_->setObjectName("HotKeys");
    for (int slot = 0; slot < config::NumHotKeys; ++slot) {
        ShowRow(slot);
    }
    table_->setColumnWidth(KeyColumn, 170);
    table_->setColumnWidth(ActionColumn, 190);
    table_->setMinimumSize(560, table_->verticalHeader()->defaultSectionSize() * 12);
    auto* slotsLayout = new QVBoxLayout(slotsBox);
    slotsLayout->addWidget(table_);

    auto* editBox = new QGroupBox(this);
    editBox->setObjectName("SelectedHotKey");
    key_ = new QComboBox(editBox);
    key_->setObjectName("Key");
    for (const control::HotKeyKey& key : control::HotKeyKeyList())
        key_->addItem(QString::fromLatin1(key.name.data(), static_cast<qsizetype>(key.name.size())),
                      key.virtualKey);
    key_->setMaxVisibleItems(16);
    alt_ = new QCheckBox("&ALT+", editBox);
    ctrl_ = new QCheckBox("&CTRL+", editBox);
    shift_ = new QCheckBox("&SHIFT+", editBox);
    alt_->setObjectName("Alt");
    ctrl_->setObjectName("Ctrl");
    shift_->setObjectName("Shift");
    auto* keyRow = new QHBoxLayout;
    keyRow->addWidget(key_);
    keyRow->addSpacing(8);
    keyRow->addWidget(alt_);
    keyRow->addWidget(ctrl_);
    keyRow->addWidget(shift_);
    keyRow->addStretch(1);
    keyNote_ = new QLabel(editBox);
    keyNote_->setObjectName("KeyNote");
    keyNote_->setWordWrap(true);
    // The same slot from a key of the desktop's own settings: what to bind.
    command_ = new QLabel(editBox);
    command_->setObjectName("HotKeyCommand");
    command_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    action_ = new QComboBox(editBox);
    action_->setObjectName("Action");
    for (int action = 0; action < static_cast<int>(control::HotKeyActionCaptions().size());
         ++action)
        action_->addItem(ActionCaption(action));
    action_->setMaxVisibleItems(14);
    text_ = new OutputStringEdit({}, editBox);
    text_->setObjectName("HotKeyData");
    auto* form = new QFormLayout(editBox);
    form->addRow("K&ey:", keyRow);
    static_cast<QLabel*>(form->labelForField(keyRow))->setBuddy(key_);
    form->addRow("", keyNote_);
    form->addRow("", command_);
    form->addRow("Ac&tion:", action_);
    form->addRow("Strin&g to Transmit:", text_);
    form->addRow("", text_->MakeSummaryLabel(editBox));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(slotsBox, 1);
    layout->addWidget(editBox);
    chart_ = AddChartAndOkCancel(this, layout);

    connect(table_, &QTableWidget::currentCellChanged, this, [this](int row) { SelectSlot(row); });
    connect(key_, &QComboBox::currentIndexChanged, this, [this] { TakeKey(); });
    for (QCheckBox* box : {alt_, ctrl_, shift_})
        connect(box, &QCheckBox::toggled, this, [this] { TakeKey(); });
    connect(action_, &QComboBox::currentIndexChanged, this, [this] { TakeAction(); });
    connect(text_, &QLineEdit::textChanged, this, [this](const QString& notation) {
        if (showing_)
            return;
        notations_[static_cast<std::size_t>(selected_)] = notation;
        ShowRow(selected_);
    });
    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };
    connect(chart_, &QPushButton::clicked, this, [this] {
        int code = 0;
        if (!pickCharacter(code))
            return;
        text_->InsertCode(code);
        text_->setFocus();
    });

    QWidget* const order[] = {table_, key_, alt_, ctrl_, shift_, action_, text_, chart_};
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
    SelectSlot(0);
}

void HotKeysDialog::SelectSlot(int slot) {
    if (slot < 0 || slot >= config::NumHotKeys || slot == selected_)
        return;
    selected_ = slot;
    findChild<QGroupBox*>("SelectedHotKey")->setTitle(QString("Hot Key %1").arg(slot + 1));
    ShowSlot();
    if (table_->currentRow() != slot)
        table_->setCurrentCell(slot, KeyColumn);
}

void HotKeysDialog::SetKeyBoxes(int code) {
    // A key the list does not hold gets an entry of its own after the list.
    const int listedKeys = static_cast<int>(control::HotKeyKeyList().size());
    while (key_->count() > listedKeys)
        key_->removeItem(key_->count() - 1);
    const int virtualKey = code & 0xFF;
    int index = key_->findData(virtualKey);
    if (index < 0) {
        key_->addItem(QString::fromStdString(control::HotKeyKeyName(virtualKey)), virtualKey);
        index = key_->count() - 1;
    }
    key_->setCurrentIndex(index);
    const int high = virtualKey == 0 ? 0 : (code >> 8) & 0xFF;
    alt_->setChecked((high & control::HotKeyAlt) != 0);
    ctrl_->setChecked((high & control::HotKeyCtrl) != 0);
    shift_->setChecked((high & control::HotKeyShift) != 0);
}

void HotKeysDialog::ShowSlot() {
    const auto i = static_cast<std::size_t>(selected_);
    showing_ = true;
    SetKeyBoxes(codes_[i]);
    action_->setCurrentIndex(actions_[i] >= 0 && actions_[i] < action_->count() ? actions_[i] : -1);
    text_->setText(notations_[i]);
    showing_ = false;
    EnableBoxes();
    ShowKeyNote();
}

void HotKeysDialog::TakeKey() {
    if (showing_)
        return;
    const auto i = static_cast<std::size_t>(selected_);
    const int virtualKey = key_->currentData().toInt();
    if (virtualKey == 0) {
        // "None": the slot is no hot key any more, and has nothing to do.
        codes_[i] = 0;
        actions_[i] = control::NoAction;
        notations_[i].clear();
    } else {
        const int high = (alt_->isChecked() ? control::HotKeyAlt : 0) |
                         (ctrl_->isChecked() ? control::HotKeyCtrl : 0) |
                         (shift_->isChecked() ? control::HotKeyShift : 0);
        codes_[i] = static_cast<config::Integer>(high << 8 | virtualKey);
    }
    showing_ = true;
    action_->setCurrentIndex(actions_[i]);
    text_->setText(notations_[i]);
    showing_ = false;
    EnableBoxes();
    ShowRow(selected_);
    ShowKeyNote();
}

void HotKeysDialog::TakeAction() {
    if (showing_)
        return;
    const auto i = static_cast<std::size_t>(selected_);
    actions_[i] = static_cast<config::Integer>(action_->currentIndex());
    EnableBoxes();
    ShowRow(selected_);
}

void HotKeysDialog::EnableBoxes() {
    // A slot without a key has nothing to do, and only "Transmit String"
    // has a string.
    const auto i = static_cast<std::size_t>(selected_);
    const bool used = (codes_[i] & 0xFF) != 0;
    action_->setEnabled(used);
    text_->setEnabled(used && actions_[i] == control::TransmitString);
    chart_->setEnabled(text_->isEnabled());
}

void HotKeysDialog::ShowRow(int slot) {
    const auto i = static_cast<std::size_t>(slot);
    table_->item(slot, KeyColumn)
        ->setText(QString::fromStdString(control::HotKeyDisplayName(codes_[i])));
    const bool used = (codes_[i] & 0xFF) != 0;
    table_->item(slot, ActionColumn)->setText(used ? ActionCaption(actions_[i]) : QString());
    table_->item(slot, SendsColumn)
        ->setText(used && actions_[i] == control::TransmitString
                      ? ReadableBytes(control::DecodeOutputString(Latin1Bytes(notations_[i])))
                      : QString());
}

void HotKeysDialog::ShowKeyNote() {
    const int code = codes_[static_cast<std::size_t>(selected_)];
    QString note;
    if ((code & 0xFF) != 0)
        for (int other = 0; other < config::NumHotKeys; ++other)
            if (other != selected_ &&
                SameCombination(codes_[static_cast<std::size_t>(other)], code)) {
                note = QString("%1 is also the hot key of slot %2: each combination can start "
                               "one action only.")
                           .arg(QString::fromStdString(control::HotKeyDisplayName(code)))
                           .arg(other + 1);
                break;
            }
    // Kept, but said: the desktop takes these before Corvane could.
    if (note.isEmpty() && control::IsConsoleSwitchKey(code))
        note = QString::fromStdString(
            control::ConsoleSwitchWarning({control::HotKeyDisplayName(code)}));
    keyNote_->setText(note);
    keyNote_->setVisible(!note.isEmpty());
    command_->setText("From the desktop's keyboard settings: " +
                      QString::fromStdString(HotKeyCommand(config::DdeTopic(cfg_), selected_)));
    command_->setVisible((code & 0xFF) != 0);
}

void HotKeysDialog::accept() {
    if (const auto duplicate = control::FindDuplicateHotKey(codes_)) {
        const int code = codes_[static_cast<std::size_t>(duplicate->second)];
        messages_.Show({DuplicateMessage(control::HotKeyDisplayName(code), duplicate->first),
                        "Duplicate Hot Key", config::MessageIcon::Exclamation,
                        config::MessageButtons::Ok});
        SelectSlot(duplicate->second);
        key_->setFocus();
        return; // nothing stored
    }
    config::HotKeyArray<std::string> data;
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = control::DecodeOutputString(Latin1Bytes(notations_[i]));
    if (codes_ != cfg_.HotKeyCode || actions_ != cfg_.HotKeyAction || data != cfg_.HotKeyData) {
        cfg_.HotKeyCode = codes_;
        cfg_.HotKeyAction = actions_;
        cfg_.HotKeyData = data;
        cfg_.ConfigChanged = config::True;
    }
    QDialog::accept();
}

} // namespace ui
