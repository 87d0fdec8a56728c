#include "ui/TranslationTableDialog.h"

#include "output/KeySender.h"
#include "output/Keyboard.h"

#include "ui/AsciiChartDialog.h"
#include "ui/DialogButtons.h"
#include "ui/KeystrokePickerDialog.h"
#include "ui/QtMessageSink.h"
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include <cstdint>
#include <cstring>
#include <vector>

namespace ui {

namespace {

using Table = TranslationTableDialog::Table;

const std::string Ignore = "Ignore";
const std::string VoidRecord = "Void Record";
const std::string Dropped = "NUL"; // a keystroke entry that drops the character

const char* const Notes[] = {
    "Applied to every byte received, before records are framed. Ignore drops the byte; "
    "Void Record discards the record that contains it.",
    "Keystroke notation: {TAB}, {ENTER 2}, {F5}; + Shift, ^ Ctrl, % Alt over the next key or "
    "(group); ~ Enter. The characters + ^ % ~ ( ) [ ] { } are typed as themselves when braced, "
    "as in {+}. NUL drops the character.",
    "A character from the port that translates to NUL is dropped; a NUL that reaches a field "
    "ends the item's text there.",
    "Every character reaches the log file; one translated to NUL is written as a zero byte.",
};

unsigned char Byte(int code) {
    return static_cast<unsigned char>(code);
}

// The character of a code as the dialogs show it: its name for a control
// character, space and DEL, else the character itself.
QString CharacterName(int code) {
    const QString name = AsciiChartDialog::ControlName(code);
    return name.isEmpty() ? QString(QChar(code)) : name;
}

std::string DefaultEntry(Table table, int code) {
    static const config::ByteTable keystrokes = config::BuildDefaultTranslation();
    static const std::string dde = config::DefaultDdeTranslation();
    switch (table) {
    case Table::Keystroke:
        return keystrokes[static_cast<std::size_t>(code)];
    case Table::Dde:
        return dde.substr(static_cast<std::size_t>(code), 1);
    default:
        return std::string(1, static_cast<char>(code));
    }
}

QString ShownEntry(Table table, const std::string& entry) {
    if (table != Table::Keystroke && entry.size() == 1)
        return CharacterName(Byte(entry[0]));
    return Latin1Text(entry);
}

// A character as keystroke text: the characters of the notation braced, so
// that they are typed as themselves.
std::string KeystrokeTextFor(int code) {
    const std::string c(1, static_cast<char>(code));
    return code != 0 && std::strchr("+^%~()[]{}", code) ? "{" + c + "}" : c;
}

struct KeystrokeCheck {
    QString text;
    bool valid;
};

KeystrokeCheck CheckKeystrokes(const std::string& text) {
    if (text == Dropped)
        return {"NUL: the character is dropped.", true};
    if (text.empty())
        return {"Empty: the character types nothing.", true};
    // A layout that needs no display: the parse depends on the notation, not
    // on the keys of the desktop's layout.
    output::UsKeyboard keyboard;
    std::vector<std::uint16_t> queue;
    const char* reason = nullptr;
    switch (output::ParseKeyString(text, keyboard, queue)) {
    case output::KeysOk:
        return {"Valid keystrokes.", true};
    case output::UnterminatedBrace:
        reason = "a \"{\" has no closing \"}\".";
        break;
    case output::UnknownKeyName:
        reason = "unknown key name in braces.";
        break;
    case output::UnclosedParenthesis:
        reason = "a \"(\" has no closing \")\".";
        break;
    case output::BadRepeatCount:
        reason = "the repeat count is 0 or not a number.";
        break;
    default:
        reason = "more than 4096 keys.";
        break;
    }
    return {QString("Not valid keystrokes: %1 A record that contains this character types "
                    "nothing.")
                .arg(reason),
            false};
}

} // namespace

TranslationTableDialog::Table TranslationTableDialog::TableForMode(config::Integer transferMode) {
    if (transferMode == config::SendKeystrokes)
        return Keystroke;
    return transferMode == config::DdeServer ? Dde : Log;
}

QString TranslationTableDialog::Caption(Table table) {
    static const char* const captions[] = {
        "Translation Table - Pre-Input", "Translation Table - Keystroke Mode",
        "Translation Table - DDE Server Mode", "Translation Table - Log To Disk Mode"};
    return captions[table];
}

TranslationTableDialog::TranslationTableDialog(config::Config& cfg, Table table, QWidget* parent)
    : QDialog(parent), cfg_(cfg), preInput_(cfg.PreInputTranslation),
      keystroke_(cfg.TranslationTable), dde_(cfg.DdeTranslation), log_(cfg.LogTranslation) {
    tables_ = new QComboBox(this);
    tables_->setObjectName("Tables");
    tables_->addItems({"Pre-Input Translation", "Keystroke Mode (Send Keystrokes)",
                       "DDE Server Mode", "Log To Disk Mode"});
    tables_->setCurrentIndex(table);
    auto* tablesLabel = new QLabel("&Table:", this);
    tablesLabel->setBuddy(tables_);
    auto* top = new QHBoxLayout;
    top->addWidget(tablesLabel);
    top->addWidget(tables_, 1);

    codes_ = new QTableWidget(256, 4, this);
    codes_->setObjectName("Codes");
    codes_->setHorizontalHeaderLabels({"Dec", "Hex", "Character", "Translation"});
    codes_->verticalHeader()->hide();
    codes_->setSelectionBehavior(QAbstractItemView::SelectRows);
    codes_->setSelectionMode(QAbstractItemView::SingleSelection);
    codes_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    codes_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    for (int code = 0; code < 256; ++code) {
        const QString cells[] = {QString::number(code),
                                 QString::asprintf("%02X", static_cast<unsigned>(code)),
                                 CharacterName(code), QString()};
        for (int column = 0; column < 4; ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            item->setTextAlignment(column < 2 ? Qt::AlignRight | Qt::AlignVCenter
                                              : Qt::AlignLeft | Qt::AlignVCenter);
            codes_->setItem(code, column, item);
        }
    }
    codes_->verticalHeader()->setDefaultSectionSize(codes_->fontMetrics().height() + 6);
    codes_->resizeColumnsToContents();
    for (int column = 0; column < 3; ++column)
        codes_->setColumnWidth(column, codes_->columnWidth(column) + 16);
    codes_->setColumnWidth(EntryColumn, codes_->fontMetrics().horizontalAdvance("{BACKSPACE 2}"));
    codes_->horizontalHeader()->setStretchLastSection(true);
    codes_->setMinimumWidth(360);
    auto* codesLabel = new QLabel("C&odes:", this);
    codesLabel->setBuddy(codes_);

    // The editor of the selected entry: a character (with Ignore and Void
    // Record for the pre-input table) or a keystroke text.
    entryBox_ = new QGroupBox(this);
    entryBox_->setObjectName("Entry");
    pages_ = new QStackedWidget(entryBox_);
    auto* characterPage = new QWidget(pages_);
    replace_ = new QRadioButton("&Replace with:", characterPage);
    replace_->setObjectName("Replace");
    replaceLabel_ = new QLabel("Replace with:", characterPage);
    character_ = new QLineEdit(characterPage);
    character_->setObjectName("Character");
    character_->setMaxLength(1);
    character_->setFixedWidth(character_->fontMetrics().horizontalAdvance("SPACE") + 24);
    auto* characterLabel = new QLabel("C&haracter:", characterPage);
    characterLabel->setBuddy(character_);
    code_ = new QSpinBox(characterPage);
    code_->setObjectName("Code");
    code_->setRange(0, 255);
    auto* codeLabel = new QLabel("&Code:", characterPage);
    codeLabel->setBuddy(code_);
    ignore_ = new QRadioButton("&Ignore (drop the byte)", characterPage);
    ignore_->setObjectName("Ignore");
    void_ = new QRadioButton("&Void Record (discard the record)", characterPage);
    void_->setObjectName("VoidRecord");
    auto* replaceRow = new QHBoxLayout;
    replaceRow->setContentsMargins(24, 0, 0, 0);
    replaceRow->addWidget(characterLabel);
    replaceRow->addWidget(character_);
    replaceRow->addSpacing(12);
    replaceRow->addWidget(codeLabel);
    replaceRow->addWidget(code_);
    replaceRow->addStretch(1);
    auto* characterLayout = new QVBoxLayout(characterPage);
    characterLayout->setContentsMargins(0, 0, 0, 0);
    characterLayout->addWidget(replace_);
    characterLayout->addWidget(replaceLabel_);
    characterLayout->addLayout(replaceRow);
    characterLayout->addWidget(ignore_);
    characterLayout->addWidget(void_);
    characterLayout->addStretch(1);

    auto* keystrokePage = new QWidget(pages_);
    keystrokes_ = new QLineEdit(keystrokePage);
    keystrokes_->setObjectName("Keystrokes");
    auto* keystrokesLabel = new QLabel("&Keystrokes:", keystrokePage);
    keystrokesLabel->setBuddy(keystrokes_);
    verdict_ = new QLabel(keystrokePage);
    verdict_->setObjectName("Verdict");
    verdict_->setWordWrap(true);
    auto* keystrokeLayout = new QVBoxLayout(keystrokePage);
    keystrokeLayout->setContentsMargins(0, 0, 0, 0);
    auto* keystrokeRow = new QHBoxLayout;
    keystrokeRow->addWidget(keystrokesLabel);
    keystrokeRow->addWidget(keystrokes_, 1);
    keys_ = new QPushButton("Ke&ys...", keystrokePage);
    keys_->setObjectName("Keys");
    keys_->setToolTip("Insert a key name such as {ENTER} from the list of keystrokes");
    keystrokeRow->addWidget(keys_);
    keystrokeLayout->addLayout(keystrokeRow);
    keystrokeLayout->addWidget(verdict_);
    keystrokeLayout->addStretch(1);
    pages_->addWidget(characterPage);
    pages_->addWidget(keystrokePage);

    chart_ = new QPushButton("&ASCII Chart...", entryBox_);
    chart_->setObjectName("Chart");
    nul_ = new QPushButton("&NUL", entryBox_);
    nul_->setObjectName("Nul");
    auto* entryButtons = new QHBoxLayout;
    entryButtons->addWidget(chart_);
    entryButtons->addWidget(nul_);
    entryButtons->addStretch(1);
    note_ = new QLabel(entryBox_);
    note_->setObjectName("Note");
    note_->setWordWrap(true);
    auto* entryLayout = new QVBoxLayout(entryBox_);
    entryLayout->addWidget(pages_);
    entryLayout->addLayout(entryButtons);
    entryLayout->addSpacing(8);
    entryLayout->addWidget(note_);
    entryLayout->addStretch(1);

    auto* buttons = OkCancelButtons(this);
    reset_ = buttons->addButton("Reset Table to &Defaults", QDialogButtonBox::ResetRole);
    reset_->setObjectName("Reset");

    auto* codesColumn = new QVBoxLayout;
    codesColumn->addWidget(codesLabel);
    codesColumn->addWidget(codes_, 1);
    auto* middle = new QHBoxLayout;
    middle->addLayout(codesColumn, 1);
    middle->addWidget(entryBox_, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(middle, 1);
    layout->addWidget(buttons);
    resize(820, 520);

    connect(tables_, &QComboBox::currentIndexChanged, this, [this] { ShowTable(); });
    connect(codes_, &QTableWidget::currentCellChanged, this, [this] { LoadEditor(); });
    connect(replace_, &QRadioButton::toggled, this, [this](bool on) {
        if (on && !loading_)
            ReplaceWithCode(code_->value());
    });
    for (QRadioButton* word : {ignore_, void_}) {
        connect(word, &QRadioButton::toggled, this, [this, word](bool on) {
            if (!on || loading_)
                return;
            SetEntry(CurrentCode(), word == ignore_ ? Ignore : VoidRecord);
            LoadEditor();
        });
    }
    connect(character_, &QLineEdit::textEdited, this, [this](const QString& text) {
        if (text.isEmpty())
            return;
        if (text[0].unicode() > 255)
            LoadEditor(); // no 8-bit code: the entry stays as it was
        else
            ReplaceWithCode(text[0].unicode());
    });
    connect(code_, &QSpinBox::valueChanged, this, [this](int code) {
        if (!loading_)
            ReplaceWithCode(code);
    });
    connect(keystrokes_, &QLineEdit::textEdited, this, [this](const QString& text) {
        SetEntry(CurrentCode(), Latin1Bytes(text));
        ShowVerdict();
    });
    connect(chart_, &QPushButton::clicked, this, [this] { ChooseFromChart(); });
    connect(keys_, &QPushButton::clicked, this, [this] {
        KeystrokePickerDialog picker(this);
        if (picker.exec() != QDialog::Accepted || picker.SelectedText().isEmpty())
            return;
        keystrokes_->insert(picker.SelectedText());
        SetEntry(CurrentCode(), Latin1Bytes(keystrokes_->text()));
        ShowVerdict();
        keystrokes_->setFocus();
    });
    connect(nul_, &QPushButton::clicked, this, [this] {
        if (Shown() != Keystroke) {
            ReplaceWithCode(0);
            return;
        }
        keystrokes_->setText(Latin1Text(Dropped));
        SetEntry(CurrentCode(), Dropped);
        ShowVerdict();
    });
    connect(reset_, &QPushButton::clicked, this, [this] {
        switch (Shown()) {
        case PreInput:
            for (int code = 0; code < 256; ++code)
                preInput_[static_cast<std::size_t>(code)] = DefaultEntry(PreInput, code);
            break;
        case Keystroke:
            keystroke_ = config::BuildDefaultTranslation();
            break;
        case Dde:
            dde_ = config::DefaultDdeTranslation();
            break;
        case Log:
            log_ = config::IdentityTranslation();
            break;
        }
        ShowTable();
    });

    ShowTable();
    codes_->setCurrentCell(0, 0);
    codes_->setFocus();
}

TranslationTableDialog::Table TranslationTableDialog::Shown() const {
    return static_cast<Table>(tables_->currentIndex());
}

int TranslationTableDialog::CurrentCode() const {
    return codes_->currentRow() < 0 ? 0 : codes_->currentRow();
}

std::string TranslationTableDialog::Entry(Table table, int code) const {
    const auto i = static_cast<std::size_t>(code);
    switch (table) {
    case PreInput:
        return preInput_[i];
    case Keystroke:
        return keystroke_[i];
    case Dde:
        return i < dde_.size() ? dde_.substr(i, 1) : DefaultEntry(Dde, code);
    default:
        return i < log_.size() ? log_.substr(i, 1) : DefaultEntry(Log, code);
    }
}

void TranslationTableDialog::SetEntry(int code, const std::string& entry) {
    const auto i = static_cast<std::size_t>(code);
    const Table table = Shown();
    if (table == PreInput) {
        preInput_[i] = entry;
    } else if (table == Keystroke) {
        keystroke_[i] = entry;
    } else {
        // A 256-character string; a shorter one read from a file is completed
        // with the defaults before it is edited.
        std::string& text = table == Dde ? dde_ : log_;
        for (int missing = static_cast<int>(text.size()); missing < 256; ++missing)
            text += DefaultEntry(table, missing);
        text[i] = entry.empty() ? '\0' : entry[0];
    }
    FillRow(code);
}

void TranslationTableDialog::ShowTable() {
    const Table table = Shown();
    setWindowTitle(Caption(table));
    codes_->horizontalHeaderItem(EntryColumn)
        ->setText(table == Keystroke ? "Keystrokes" : "Translation");
    for (int code = 0; code < 256; ++code)
        FillRow(code);
    pages_->setCurrentIndex(table == Keystroke ? 1 : 0);
    replace_->setVisible(table == PreInput);
    replaceLabel_->setVisible(table != PreInput);
    ignore_->setVisible(table == PreInput);
    void_->setVisible(table == PreInput);
    nul_->setVisible(table != PreInput);
    note_->setText(Notes[table]);
    LoadEditor();
}

void TranslationTableDialog::FillRow(int code) {
    const Table table = Shown();
    const std::string entry = Entry(table, code);
    QTableWidgetItem* item = codes_->item(code, EntryColumn);
    item->setText(ShownEntry(table, entry));
    QFont font = codes_->font();
    font.setBold(entry != DefaultEntry(table, code));
    item->setFont(font);
    const KeystrokeCheck check =
        table == Keystroke ? CheckKeystrokes(entry) : KeystrokeCheck{QString(), true};
    item->setForeground(check.valid ? codes_->palette().text() : QBrush(Qt::red));
    item->setToolTip(check.valid ? QString() : check.text);
}

void TranslationTableDialog::LoadEditor() {
    const int code = CurrentCode();
    const Table table = Shown();
    const std::string entry = Entry(table, code);
    entryBox_->setTitle(QString("Code %1 (hex %2): %3")
                            .arg(code)
                            .arg(QString::asprintf("%02X", static_cast<unsigned>(code)))
                            .arg(CharacterName(code)));
    loading_ = true;
    if (table == Keystroke) {
        keystrokes_->setText(Latin1Text(entry));
        ShowVerdict();
    } else {
        const bool word = table == PreInput && (entry == Ignore || entry == VoidRecord);
        // A word keeps the code of the byte itself ready for Replace.
        const int replacement = word || entry.empty() ? code : Byte(entry[0]);
        (!word ? replace_ : entry == Ignore ? ignore_ : void_)->setChecked(true);
        code_->setValue(replacement);
        const QString name = AsciiChartDialog::ControlName(replacement);
        character_->setText(name.isEmpty() ? QString(QChar(replacement)) : QString());
        character_->setPlaceholderText(name);
        character_->setEnabled(!word);
        code_->setEnabled(!word);
    }
    loading_ = false;
}

void TranslationTableDialog::ReplaceWithCode(int code) {
    SetEntry(CurrentCode(), std::string(1, static_cast<char>(code)));
    LoadEditor();
}

void TranslationTableDialog::ChooseFromChart() {
    const bool keystrokes = Shown() == Keystroke;
    AsciiChartDialog chart(this);
    chart.SelectCode(keystrokes ? CurrentCode() : code_->value());
    if (chart.exec() != QDialog::Accepted || chart.SelectedCode() < 0)
        return;
    if (!keystrokes) {
        ReplaceWithCode(chart.SelectedCode());
        return;
    }
    keystrokes_->insert(Latin1Text(KeystrokeTextFor(chart.SelectedCode())));
    SetEntry(CurrentCode(), Latin1Bytes(keystrokes_->text()));
    ShowVerdict();
    keystrokes_->setFocus();
}

void TranslationTableDialog::ShowVerdict() {
    const KeystrokeCheck check = CheckKeystrokes(Latin1Bytes(keystrokes_->text()));
    verdict_->setText(check.text);
    verdict_->setStyleSheet(check.valid ? QString() : QString("color: #b00000;"));
}

void TranslationTableDialog::accept() {
    if (preInput_ != cfg_.PreInputTranslation || keystroke_ != cfg_.TranslationTable ||
        dde_ != cfg_.DdeTranslation || log_ != cfg_.LogTranslation) {
        cfg_.PreInputTranslation = preInput_;
        cfg_.TranslationTable = keystroke_;
        cfg_.DdeTranslation = dde_;
        cfg_.LogTranslation = log_;
        cfg_.ConfigChanged = config::True;
    }
    QDialog::accept();
}

} // namespace ui
