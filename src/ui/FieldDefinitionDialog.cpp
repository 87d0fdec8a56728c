#include "ui/FieldDefinitionDialog.h"

#include "config/Validation.h"
#include "engine/DateTimeTokens.h"
#include "engine/Expression.h"
#include "engine/Format.h"
#include "engine/PosixClock.h"
#include "output/KeySender.h"

#include "ui/AsciiChartDialog.h"
#include "ui/DialogButtons.h"
#include "ui/KeystrokePickerDialog.h"
#include "ui/OutputStringEdit.h"
#include "ui/QtMessageSink.h"
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>

namespace ui {

namespace {

const char FilterLetters[] = "CINHOB";

const char* const ErrorStyle = "color: #b00020";

void Refuse(config::MessageSink& messages, const config::Refusal& bad, QLineEdit* focus) {
    if (bad.beep)
        messages.Beep();
    messages.Show(
        {bad.text, bad.title, config::MessageIcon::Exclamation, config::MessageButtons::Ok});
    focus->setFocus();
    focus->selectAll();
}

// The length a box's text stands for: "" is 0 (not used), text that is not a
// whole number is -1 (refused like any length out of range).
long LengthOf(const QString& text) {
    if (text.isEmpty())
        return 0;
    bool ok = false;
    const long length = text.toLong(&ok);
    return ok ? length : -1;
}

QLabel* ResultLabel(const char* objectName, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

void ShowResult(QLabel* label, const QString& text, bool error) {
    label->setText(text);
    label->setStyleSheet(error ? ErrorStyle : "");
}

// The characters of text that a text box shows nothing for, each once, in
// the order they first come, named as ReadableBytes names them: "<TAB> <CR>".
QString HiddenCharacters(const std::string& text) {
    QString names;
    std::string seen;
    for (const char c : text) {
        const QString name = ReadableBytes(std::string(1, c));
        if (name.size() == 1 || seen.find(c) != std::string::npos)
            continue;
        seen += c;
        names += (names.isEmpty() ? "" : " ") + name;
    }
    return names;
}

} // namespace

int FieldDefinitionDialog::FilterIndex(const std::string& letter) {
    const char* found = letter.size() == 1 ? std::strchr(FilterLetters, letter[0]) : nullptr;
    return found && *found ? static_cast<int>(found - FilterLetters) : 0;
}

std::string FieldDefinitionDialog::FilterLetter(int index) {
    return index >= 0 && index < 6 ? std::string(1, FilterLetters[index]) : std::string("C");
}

QString FieldDefinitionDialog::KeyParseMessage(int code) {
    switch (code) {
    case output::UnterminatedBrace:
        return "a \"{\" has no closing \"}\"";
    case output::UnknownKeyName:
        return "unknown key name in braces";
    case output::UnclosedParenthesis:
        return "a \"(\" has no closing \")\"";
    case output::BadRepeatCount:
        return "the repeat count must be a number above 0";
    case output::TooManyKeys:
        return "too many keys (more than 4096)";
    }
    return {};
}

FieldDefinitionDialog::FieldDefinitionDialog(config::Config& cfg, config::MessageSink& messages,
                                             const engine::Locale& locale, QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages), locale_(locale),
      runPicker_([](QDialog& d) { return d.exec() == QDialog::Accepted; }) {
    setWindowTitle("Input Record Definition Editor");
    for (std::size_t i = 1; i <= config::MaxFields; ++i) {
        Definition& d = definitions_[i];
        d.filter = cfg.FieldFilter[i];
        d.format = cfg.FieldFormat[i];
        d.expression = cfg.FieldExpression[i];
        d.postamble = cfg.FieldPostamble[i];
        d.length = cfg.FieldLength[i] == 0 ? QString() : QString::number(cfg.FieldLength[i]);
    }
    auto* layout = new QVBoxLayout(this);

    // The record preamble, with its check below it.
    auto* top = new QFormLayout;
    preamble_ = new QLineEdit(Latin1Text(cfg.RecordPreamble), this);
    preamble_->setObjectName("RecordPreamble");
    preamble_->setMinimumWidth(300);
    QLayout* preambleRow = MacroRow(preamble_, "Preamble", "&Keys...", "C&hars...");
    top->addRow("Record &Preamble Macro:", preambleRow);
    static_cast<QLabel*>(top->labelForField(preambleRow))->setBuddy(preamble_);
    preambleCheck_ = ResultLabel("PreambleCheck", this);
    top->addRow("", preambleCheck_);
    layout->addLayout(top);

    auto* fieldBox = new QGroupBox("Field Definition", this);
    auto* form = new QFormLayout(fieldBox);
    field_ = new QSpinBox(fieldBox);
    field_->setObjectName("FieldNumber");
    // Every field of a fixed length record can be given a length; otherwise
    // only the fields that a record holds matter.
    const int fields = LengthsEditable() ? config::MaxFields
                                         : std::clamp<int>(cfg.NumFields, 1, config::MaxFields);
    field_->setRange(1, fields);
    field_->setSuffix(QString(" of %1").arg(fields));
    field_->setMaximumWidth(field_->fontMetrics().horizontalAdvance("00 of 00") + 48);
    form->addRow("&Field:", field_);

    filter_ = new QComboBox(fieldBox);
    filter_->setObjectName("FieldFilter");
    filter_->addItems({"None (No Filter)", "Ignore This Field", "Numeric Data Only",
                       "Hex To Decimal", "Octal To Decimal", "Binary To Hex"});
    form->addRow("&Input Filter:", filter_);

    length_ = new QLineEdit(fieldBox);
    length_->setObjectName("FieldLength");
    length_->setValidator(
        new QRegularExpressionValidator(QRegularExpression("[0-9]{0,5}"), length_));
    length_->setMaximumWidth(length_->fontMetrics().horizontalAdvance("0000000") + 16);
    length_->setEnabled(LengthsEditable());
    auto* lengthNote = new QLabel(LengthsEditable() ? "bytes; empty when the field is not used"
                                                    : "used with fixed length fields only",
                                  fieldBox);
    auto* lengthRow = new QHBoxLayout;
    lengthRow->addWidget(length_);
    lengthRow->addWidget(lengthNote, 1);
    form->addRow("Field &Length:", lengthRow);
    static_cast<QLabel*>(form->labelForField(lengthRow))->setBuddy(length_);

    format_ = new QComboBox(fieldBox);
    format_->setObjectName("FieldFormat");
    format_->setEditable(true);
    format_->setInsertPolicy(QComboBox::NoInsert);
    format_->addItems({"General Number", "Currency", "Fixed", "Standard", "Percent", "Scientific",
                       "Yes/No", "True/False", "On/Off"});
    form->addRow("F&ormat Expression:", format_);

    expression_ = new QLineEdit(fieldBox);
    expression_->setObjectName("FieldExpression");
    form->addRow("&Math Expression:", expression_);

    postamble_ = new QLineEdit(fieldBox);
    postamble_->setObjectName("FieldPostamble");
    QLayout* postambleRow = MacroRow(postamble_, "Postamble", "Ke&ys...", "Ch&ars...");
    form->addRow("Field Pos&tamble Macro:", postambleRow);
    static_cast<QLabel*>(form->labelForField(postambleRow))->setBuddy(postamble_);
    postambleCheck_ = ResultLabel("PostambleCheck", fieldBox);
    form->addRow("", postambleCheck_);
    layout->addWidget(fieldBox);

    auto* sampleBox = new QGroupBox("Sample", this);
    auto* sampleForm = new QFormLayout(sampleBox);
    sample_ = new QLineEdit("12.5", sampleBox);
    sample_->setObjectName("SampleValue");
    sample_->setToolTip("The field's value as the math expression receives it; "
                        "field(n) reads this value for every field.");
    sampleForm->addRow("&Sample Field Value:", sample_);
    expressionSample_ = ResultLabel("ExpressionSample", sampleBox);
    sampleForm->addRow("Math Expression Gives:", expressionSample_);
    formatSample_ = ResultLabel("FormatSample", sampleBox);
    sampleForm->addRow("Formatted Value:", formatSample_);
    layout->addWidget(sampleBox);
    layout->addWidget(OkCancelButtons(this));

    connect(preamble_, &QLineEdit::textChanged, this,
            [this] { ShowMacroCheck(preamble_, preambleCheck_); });
    connect(field_, &QSpinBox::valueChanged, this, [this](int field) { ShowField(field); });
    connect(filter_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!showing_)
            Current().filter = FilterLetter(index);
    });
    connect(length_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!showing_)
            Current().length = text;
    });
    connect(length_, &QLineEdit::textEdited, this, [this] { LengthEdited(); });
    // The format is kept as it stands in the box, typed or picked.
    connect(format_, &QComboBox::editTextChanged, this, [this](const QString& text) {
        if (!showing_)
            Current().format = Latin1Bytes(text);
        ShowSamples();
    });
    connect(expression_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!showing_)
            Current().expression = Latin1Bytes(text);
        ShowSamples();
    });
    connect(postamble_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!showing_)
            Current().postamble = Latin1Bytes(text);
        ShowMacroCheck(postamble_, postambleCheck_);
    });
    connect(sample_, &QLineEdit::textChanged, this, [this] { ShowSamples(); });

    ShowMacroCheck(preamble_, preambleCheck_);
    ShowField(1);
}

bool FieldDefinitionDialog::LengthsEditable() const {
    // A fixed number of bytes per record always comes with fixed length
    // fields; either way the lengths must be reachable.
    return cfg_.RecordStructure == 2 || cfg_.EndOfRecordEvent == 2;
}

QLayout* FieldDefinitionDialog::MacroRow(QLineEdit* box, const QString& name,
                                         const QString& keysCaption, const QString& charsCaption) {
    auto* keys = new QPushButton(keysCaption, this);
    keys->setObjectName(name + "Keys");
    keys->setToolTip("Insert a key name or a modifier of the keystroke notation");
    connect(keys, &QPushButton::clicked, this, [this, box] { InsertKeystroke(box); });
    auto* chars = new QPushButton(charsCaption, this);
    chars->setObjectName(name + "Chars");
    chars->setToolTip("Insert a character (control characters too) from the ASCII chart");
    connect(chars, &QPushButton::clicked, this, [this, box] { InsertCharacter(box); });
    auto* row = new QHBoxLayout;
    row->addWidget(box, 1);
    row->addWidget(keys);
    row->addWidget(chars);
    return row;
}

void FieldDefinitionDialog::InsertKeystroke(QLineEdit* box) {
    KeystrokePickerDialog picker(this);
    if (runPicker_(picker) && !picker.SelectedText().isEmpty())
        box->insert(picker.SelectedText());
    box->setFocus();
}

void FieldDefinitionDialog::InsertCharacter(QLineEdit* box) {
    AsciiChartDialog chart(this);
    if (runPicker_(chart) && chart.SelectedCode() >= 0) {
        const QChar c(chart.SelectedCode());
        // Keystrokes read these characters as notation; braced, each types
        // itself.
        const bool notation = QStringLiteral("+^%~(){}").contains(c);
        box->insert(cfg_.TransferMode == config::SendKeystrokes && notation ? QString("{%1}").arg(c)
                                                                            : QString(c));
    }
    box->setFocus();
}

void FieldDefinitionDialog::ShowField(int field) {
    current_ = field;
    const Definition& d = Current();
    showing_ = true;
    filter_->setCurrentIndex(FilterIndex(d.filter));
    length_->setText(d.length);
    format_->setEditText(Latin1Text(d.format));
    expression_->setText(Latin1Text(d.expression));
    postamble_->setText(Latin1Text(d.postamble));
    showing_ = false;
    acceptedLength_ = d.length;
    ShowSamples();
    ShowMacroCheck(postamble_, postambleCheck_);
}

void FieldDefinitionDialog::LengthEdited() {
    const QString text = length_->text();
    if (text.isEmpty() || !config::CheckFieldLength(LengthOf(text))) {
        acceptedLength_ = text;
        return;
    }
    // A keystroke that leaves a length out of range is refused and undone.
    const config::Check bad = config::CheckFieldLength(LengthOf(text));
    length_->setText(acceptedLength_);
    Refuse(messages_, *bad, length_);
    length_->deselect();
}

void FieldDefinitionDialog::ShowSamples() {
    // Every field holds the sample, so that field(n) has something to read.
    std::array<engine::Value, 42> fields{};
    const engine::Value sample = engine::Value::Text(Latin1Bytes(sample_->text()));
    for (int i = 1; i <= config::MaxFields; ++i)
        fields[static_cast<std::size_t>(i)] = sample;
    engine::Value value = sample;
    const std::string& expression = Current().expression;
    if (expression.empty()) {
        ShowResult(expressionSample_, "no math expression: the value is kept", false);
    } else {
        engine::Evaluator evaluator(locale_);
        if (evaluator.EvaluateExpression(expression, value, fields))
            ShowResult(expressionSample_, Latin1Text(value.ToText(locale_)), false);
        else
            ShowResult(expressionSample_, "error in the math expression", true);
    }
    // What the field would deliver: the format applies to whatever the
    // expression left, an error's result included.
    const std::string& format = Current().format;
    const std::string shown =
        format.empty() ? value.ToText(locale_) : engine::FormatValue(value, format, locale_);
    ShowResult(formatSample_, Latin1Text(shown), false);
}

void FieldDefinitionDialog::ShowMacroCheck(const QLineEdit* box, QLabel* check) {
    const std::string text = Latin1Bytes(box->text());
    // A control character from the chart (a tab between logged fields, say)
    // shows nothing in the box; the check names it.
    const QString hidden = HiddenCharacters(text);
    const QString holds =
        hidden.isEmpty() ? QString() : "\nAlso holds " + hidden + ", which the box cannot show.";
    switch (cfg_.TransferMode) {
    case config::SendKeystrokes: {
        if (text.empty()) {
            ShowResult(check, "", false);
            return;
        }
        // The date/time tokens are filled in before the text is parsed, as
        // the runtime does; they become digits at any time.
        engine::PosixClock clock;
        output::UsKeyboard keyboard;
        std::vector<std::uint16_t> queue;
        const int code =
            output::ParseKeyString(engine::ExpandDateTimeTokens(text, clock), keyboard, queue);
        if (code == output::KeysOk)
            ShowResult(check, "Valid keystrokes." + holds, false);
        else
            ShowResult(check, "Not valid keystrokes: " + KeyParseMessage(code) + "." + holds, true);
        return;
    }
    case config::DdeServer:
        ShowResult(check, "DDE Server mode does not send the macros.", false);
        return;
    default:
        ShowResult(check,
                   "Log To Disk mode writes this text, date and time tokens filled in." + holds,
                   false);
    }
}

void FieldDefinitionDialog::accept() {
    const bool fixed = LengthsEditable();
    config::Config next = cfg_;
    next.RecordPreamble = Latin1Bytes(preamble_->text());
    for (int i = 1; i <= config::MaxFields; ++i) {
        const auto n = static_cast<std::size_t>(i);
        const Definition& d = definitions_[n];
        next.FieldFilter[n] = d.filter;
        next.FieldFormat[n] = d.format;
        next.FieldExpression[n] = d.expression;
        next.FieldPostamble[n] = d.postamble;
        if (!fixed)
            continue; // the lengths were not editable
        // An empty box is a field not used; anything typed must be a length.
        const long length = LengthOf(d.length);
        if (!d.length.isEmpty()) {
            if (const config::Check bad = config::CheckFieldLength(length)) {
                field_->setValue(i);
                Refuse(messages_, *bad, length_);
                return; // nothing stored
            }
        }
        next.FieldLength[n] = static_cast<config::Integer>(length);
    }
    if (const config::Check bad = config::CheckFieldLengthSum(next)) {
        Refuse(messages_, *bad, length_);
        return;
    }
    config::DeriveFixedFieldCount(next);
    const bool changed =
        next.RecordPreamble != cfg_.RecordPreamble || next.FieldFilter != cfg_.FieldFilter ||
        next.FieldLength != cfg_.FieldLength || next.FieldFormat != cfg_.FieldFormat ||
        next.FieldExpression != cfg_.FieldExpression ||
        next.FieldPostamble != cfg_.FieldPostamble || next.NumFields != cfg_.NumFields;
    if (changed) {
        next.ConfigChanged = config::True;
        cfg_ = next;
    }
    QDialog::accept();
}

} // namespace ui
