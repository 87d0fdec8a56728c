#include "ui/RecordDialogs.h"

#include "config/Validation.h"

#include "ui/AsciiChartDialog.h"
#include "ui/DialogButtons.h"
#include "ui/OutputStringEdit.h"
#include "ui/QtMessageSink.h"
#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace ui {

namespace {

// A group of radio buttons, the last one with a text box beside it when
// chars is given; the checked one is index.
QButtonGroup* RadioChoices(QGroupBox* box, const QStringList& captions, int index,
                           QWidget* lastBox = nullptr) {
    auto* group = new QButtonGroup(box);
    auto* layout = new QGridLayout(box);
    for (int i = 0; i < captions.size(); ++i) {
        auto* button = new QRadioButton(captions[i], box);
        group->addButton(button, i);
        layout->addWidget(button, i, 0);
    }
    if (lastBox)
        layout->addWidget(lastBox, static_cast<int>(captions.size()) - 1, 1);
    if (auto* checked = group->button(index))
        checked->setChecked(true);
    return group;
}

// A character box with an ASCII chart button that inserts a character by its
// code (how a control character such as ETX or TAB gets into the box) and a
// note that names the control characters it holds, which the box cannot show.
QWidget* CharacterRow(QLineEdit* box, const QString& chartCaption,
                      const std::function<bool(int&)>& pick) {
    auto* row = new QWidget(box->parentWidget());
    box->setParent(row);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box, 1);
    auto* chart = new QPushButton(chartCaption, row);
    chart->setObjectName(box->objectName() + "Chart");
    chart->setToolTip("Insert a character by its code from the ASCII chart");
    layout->addWidget(chart);
    auto* note = new QLabel(row);
    note->setObjectName(box->objectName() + "Shown");
    layout->addWidget(note);
    const auto show = [box, note] {
        const QString readable = ReadableBytes(Latin1Bytes(box->text()));
        note->setText(readable == box->text() ? QString() : readable);
    };
    QObject::connect(box, &QLineEdit::textChanged, note, show);
    QObject::connect(chart, &QPushButton::clicked, box, [box, &pick] {
        int code = 0;
        if (!pick || !pick(code))
            return;
        if (box->maxLength() == 1)
            box->clear();
        box->insert(QString(QChar(code)));
        box->setFocus();
    });
    show();
    return row;
}

void Refuse(config::MessageSink& messages, const config::Refusal& bad, QWidget* focus) {
    if (bad.beep)
        messages.Beep();
    messages.Show(
        {bad.text, bad.title, config::MessageIcon::Exclamation, config::MessageButtons::Ok});
    focus->setFocus();
}

} // namespace

RecordEventsDialog::RecordEventsDialog(config::Config& cfg, config::MessageSink& messages,
                                       QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages) {
    setWindowTitle("Start and End Of Record Events");
    auto* layout = new QVBoxLayout(this);
    auto* startBox = new QGroupBox("Start Of Record Event", this);
    startChars_ = new QLineEdit(Latin1Text(cfg.StartOfRecordChars), startBox);
    startChars_->setObjectName("StartOfRecordChars");
    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };
    start_ =
        RadioChoices(startBox,
                     {"&Any Character Received", "A&lpha/Numeric Char Received",
                      "&Numeric Char Received", "S&pecial Char Received:"},
                     cfg.StartOfRecordEvent, CharacterRow(startChars_, "C&hart...", pickCharacter));
    layout->addWidget(startBox);
    auto* endBox = new QGroupBox("End Of Record Event", this);
    endChars_ = new QLineEdit(Latin1Text(cfg.EndOfRecordChars), endBox);
    endChars_->setObjectName("EndOfRecordChars");
    end_ = RadioChoices(endBox,
                        {"&Carriage Return or CrLf Received", "&Time Delay Between Records",
                         "&Fixed number of Bytes Received", "Sp&ecial Char Received:"},
                        cfg.EndOfRecordEvent, CharacterRow(endChars_, "Cha&rt...", pickCharacter));
    layout->addWidget(endBox);
    layout->addWidget(OkCancelButtons(this));
}

void RecordEventsDialog::accept() {
    const int start = start_->checkedId(), end = end_->checkedId();
    const std::string startChars = Latin1Bytes(startChars_->text());
    const std::string endChars = Latin1Bytes(endChars_->text());
    if (auto bad = config::CheckStartEvent(start, startChars)) {
        Refuse(messages_, *bad, startChars_);
        return;
    }
    if (auto bad = config::CheckEndEvent(end, endChars)) {
        Refuse(messages_, *bad, endChars_);
        return;
    }
    config::ChooseStartOfRecordEvent(cfg_, static_cast<config::Integer>(start));
    config::ChooseEndOfRecordEvent(cfg_, static_cast<config::Integer>(end));
    if (cfg_.StartOfRecordChars != startChars || cfg_.EndOfRecordChars != endChars) {
        cfg_.StartOfRecordChars = startChars;
        cfg_.EndOfRecordChars = endChars;
        cfg_.ConfigChanged = config::True;
    }
    QDialog::accept();
}

NumberDialog::NumberDialog(const Spec& spec, long value, config::MessageSink& messages,
                           QWidget* parent)
    : QDialog(parent), spec_(spec), messages_(messages) {
    setWindowTitle(spec.title);
    auto* form = new QFormLayout;
    value_ = new QLineEdit(QString::number(value), this);
    value_->setObjectName("Number");
    value_->setValidator(new QIntValidator(-99999999, 99999999, value_));
    form->addRow(spec.label, value_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(OkCancelButtons(this));
}

void NumberDialog::AddDelimiter(const std::string& delimiter) {
    delimiter_ = new QLineEdit(Latin1Text(delimiter), this);
    delimiter_->setObjectName("DelimiterChar");
    delimiter_->setMaxLength(1);
    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };
    auto* row = CharacterRow(delimiter_, "C&hart...", pickCharacter);
    auto* label = new QLabel("&Delimiter Character:", this);
    label->setBuddy(delimiter_);
    static_cast<QFormLayout*>(layout()->itemAt(0)->layout())->addRow(label, row);
}

long NumberDialog::Number() const {
    bool ok = false;
    const long n = value_->text().trimmed().toLong(&ok);
    return ok ? n : -1;
}

void NumberDialog::accept() {
    if (auto bad = spec_.check(Number())) {
        Refuse(messages_, *bad, value_);
        value_->selectAll();
        return;
    }
    if (delimiter_ && delimiter_->text().isEmpty()) {
        messages_.Show({"Delimiter Character Must Be Specified", "Invalid Input",
                        config::MessageIcon::Exclamation, config::MessageButtons::Ok});
        delimiter_->setFocus();
        return;
    }
    QDialog::accept();
}

RecordStructureDialog::RecordStructureDialog(const config::Config& cfg, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Input Record Structure");
    auto* layout = new QVBoxLayout(this);
    auto* box = new QGroupBox("Record Structure", this);
    choices_ = RadioChoices(box,
                            {"Each data record contains a &single data field",
                             "Each record contains multiple &delimited data fields",
                             "Each record contains multiple &fixed length data fields"},
                            cfg.RecordStructure);
    layout->addWidget(box);
    layout->addWidget(OkCancelButtons(this));
}

bool EditRecordFraming(config::Config& cfg, config::MessageSink& messages, QWidget* parent,
                       const std::function<bool(QDialog&)>& run) {
    RecordEventsDialog events(cfg, messages, parent);
    if (!run(events))
        return false;
    auto storeNumber = [&cfg](config::Integer& setting, long value) {
        if (setting != value) {
            setting = static_cast<config::Integer>(value);
            cfg.ConfigChanged = config::True;
        }
    };
    if (cfg.EndOfRecordEvent == 2) {
        NumberDialog fixed({"Fixed Length Record", "&Record Length (bytes, with any Cr or CrLf):",
                            config::CheckRecordLength},
                           cfg.RecordLength, messages, parent);
        if (run(fixed))
            storeNumber(cfg.RecordLength, fixed.Number());
        return true;
    }
    // A pause ends a record whatever its fields are: the structure follows,
    // as it does after a carriage return or a special character.
    if (cfg.EndOfRecordEvent == 1) {
        NumberDialog timed({"Timed Input", "&Time between records (ticks of 1/20 s, 1 to 255):",
                            config::CheckTimeDelayTicks},
                           cfg.TimeDelayTicks, messages, parent);
        if (!run(timed))
            return true;
        storeNumber(cfg.TimeDelayTicks, timed.Number());
    }
    RecordStructureDialog structure(cfg, parent);
    if (!run(structure))
        return true;
    storeNumber(cfg.RecordStructure, structure.Choices()->checkedId());
    if (cfg.RecordStructure == 0)
        storeNumber(cfg.NumFields, 1);
    if (cfg.RecordStructure == 1) {
        NumberDialog delimited({"Delimited Record", "&Maximum Number of Data Fields:",
                                config::CheckDelimitedFieldCount},
                               cfg.NumFields, messages, parent);
        delimited.AddDelimiter(cfg.DelimiterChar);
        if (run(delimited)) {
            storeNumber(cfg.NumFields, delimited.Number());
            const std::string delimiter = Latin1Bytes(delimited.Delimiter()->text());
            if (delimiter != cfg.DelimiterChar) {
                cfg.DelimiterChar = delimiter;
                cfg.ConfigChanged = config::True;
            }
        }
    }
    return true;
}

} // namespace ui
