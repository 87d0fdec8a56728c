#include "ui/KeystrokePickerDialog.h"

#include "output/KeySender.h"

#include "ui/DialogButtons.h"
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QSpinBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace ui {

namespace {

// What a named key does, by its virtual key (aliases such as "ESC" and
// "ESCAPE" share one).
QString DescribeKey(int vk) {
    if (vk >= 112 && vk <= 127)
        return QString("Function key F%1").arg(vk - 111);
    if (vk >= 96 && vk <= 105)
        return QString("Numeric keypad %1").arg(vk - 96);
    static const struct {
        int vk;
        const char* text;
    } names[] = {
        {20, "Caps Lock"},
        {144, "Num Lock"},
        {145, "Scroll Lock"},
        {27, "Escape"},
        {13, "Enter"},
        {47, "Help"},
        {44, "Print Screen"},
        {9, "Tab"},
        // The name is the Ctrl key's: each use turns Ctrl over.
        {17, "Ctrl down; the next {BREAK} lets it up again"},
        {12, "Clear"},
        {8, "Backspace"},
        {46, "Delete"},
        {45, "Insert"},
        {37, "Left arrow"},
        {39, "Right arrow"},
        {38, "Up arrow"},
        {40, "Down arrow"},
        {33, "Page Up"},
        {34, "Page Down"},
        {36, "Home"},
        {35, "End"},
    };
    for (const auto& n : names)
        if (n.vk == vk)
            return n.text;
    return {};
}

// A braced key takes a repeat count before its closing brace.
bool TakesCount(const QString& text) {
    return text.startsWith('{') && text.endsWith('}');
}

} // namespace

KeystrokePickerDialog::KeystrokePickerDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Keystrokes");
    keys_ = new QTreeWidget(this);
    keys_->setObjectName("Keys");
    keys_->setColumnCount(2);
    keys_->setHeaderLabels({"Keystroke", "Meaning"});
    keys_->setRootIsDecorated(false);
    keys_->setSelectionMode(QAbstractItemView::SingleSelection);

    auto group = [this](const QString& caption) {
        auto* item = new QTreeWidgetItem(keys_, {caption});
        item->setFlags(Qt::ItemIsEnabled); // a heading, not a choice
        item->setFirstColumnSpanned(true);
        QFont bold = item->font(0);
        bold.setBold(true);
        item->setFont(0, bold);
        item->setExpanded(true);
        return item;
    };
    QTreeWidgetItem* named = group("Named keys");
    for (const output::KeyName& key : output::KeyNameTable()) {
        auto* item =
            new QTreeWidgetItem(named, {QString("{%1}").arg(key.name), DescribeKey(key.vk)});
        if (key.vk == output::VkControl)
            item->setToolTip(1, "{BREAK}a{BREAK} types Ctrl+A");
    }

    QTreeWidgetItem* modifiers = group("Modifiers and Enter");
    const char* const specials[][2] = {
        {"+", "Shift over the next key or (group): +a types A"},
        {"^", "Ctrl over the next key or (group): ^c types Ctrl+C"},
        {"%", "Alt over the next key or (group): %f types Alt+F"},
        {"~", "Enter"},
    };
    for (const auto& s : specials)
        new QTreeWidgetItem(modifiers, {s[0], s[1]});

    // The notation's own characters, typed as themselves.
    QTreeWidgetItem* literal = group("Characters of the notation, typed as they are");
    for (const char* c : {"+", "^", "%", "~", "(", ")", "{", "}"})
        new QTreeWidgetItem(literal, {QString("{%1}").arg(c), QString("The character %1").arg(c)});

    keys_->resizeColumnToContents(0);
    keys_->setColumnWidth(0, keys_->columnWidth(0) + 24);
    connect(keys_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (item->flags() & Qt::ItemIsSelectable)
            accept();
    });
    connect(keys_, &QTreeWidget::itemSelectionChanged, this, [this] { EnableRepeat(); });

    repeat_ = new QSpinBox(this);
    repeat_->setObjectName("Repeat");
    repeat_->setRange(1, 255);
    auto* repeatLabel = new QLabel("&Repeat count:", this);
    repeatLabel->setBuddy(repeat_);
    auto* repeatRow = new QHBoxLayout;
    repeatRow->addWidget(repeatLabel);
    repeatRow->addWidget(repeat_);
    repeatRow->addStretch(1);

    auto* keysLabel = new QLabel("&Choose a keystroke:", this);
    keysLabel->setBuddy(keys_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(keysLabel);
    layout->addWidget(keys_, 1);
    layout->addLayout(repeatRow);
    layout->addWidget(OkCancelButtons(this));
    resize(600, 520);
    SelectText("{ENTER}");
}

QString KeystrokePickerDialog::SelectedText() const {
    const auto items = keys_->selectedItems();
    if (items.isEmpty())
        return {};
    QString text = items.first()->text(0);
    if (TakesCount(text) && repeat_->value() > 1) {
        // "{TAB}" becomes "{TAB 3}", "{}}" becomes "{} 3}".
        text.chop(1);
        text += QString(" %1}").arg(repeat_->value());
    }
    return text;
}

bool KeystrokePickerDialog::SelectText(const QString& text) {
    for (QTreeWidgetItemIterator it(keys_, QTreeWidgetItemIterator::Selectable); *it; ++it)
        if ((*it)->text(0) == text) {
            keys_->setCurrentItem(*it);
            keys_->scrollToItem(*it);
            return true;
        }
    return false;
}

void KeystrokePickerDialog::EnableRepeat() {
    const auto items = keys_->selectedItems();
    repeat_->setEnabled(!items.isEmpty() && TakesCount(items.first()->text(0)));
}

} // namespace ui
