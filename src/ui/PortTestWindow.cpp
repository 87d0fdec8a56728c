#include "ui/PortTestWindow.h"

#include "analyzer/InputAnalysis.h"
#include "ui/AsciiChartDialog.h"
#include "ui/QtMessageSink.h"
#include "ui/SendLine.h"

#include <QApplication>
#include <QCheckBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace ui {

namespace {

QLabel* Counter(const char* name, QWidget* parent) {
    auto* label = new QLabel(QStringLiteral("0"), parent);
    label->setObjectName(name);
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance(QStringLiteral("0000000")));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QPushButton* Button(const QString& caption, const char* name, QWidget* parent) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    button->setAutoDefault(false);
    return button;
}

} // namespace

PortTestWindow::PortTestWindow(config::Config& cfg, serial::Port& port,
                               config::MessageSink& messages, QWidget* parent)
    : QMainWindow(parent), cfg_(cfg), port_(port), messages_(messages) {
    setWindowTitle(tr("Port Test"));
    setObjectName("ComShow");
    const QFont terminal = QFontDatabase::systemFont(QFontDatabase::FixedFont);

    // Input: the display, its counters, the pre-input table switch.
    auto* inputBox = new QGroupBox(tr("Input Data"));
    buffer_ = new QPlainTextEdit;
    buffer_->setObjectName("Buffer");
    buffer_->setReadOnly(true);
    buffer_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    buffer_->setFont(terminal);
    buffer_->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    buffer_->setMinimumSize(QSize(buffer_->fontMetrics().horizontalAdvance(QString(60, 'M')),
                                  buffer_->fontMetrics().lineSpacing() * 14));
    byteCount_ = Counter("BufByteCount", inputBox);
    selStart_ = Counter("SelStartPosition", inputBox);
    selCount_ = Counter("SelByteCount", inputBox);
    auto* clear = Button(tr("&Clear Input"), "BufferClearButton", inputBox);
    preInput_ = new QCheckBox(tr("Activate &Pre-Input Character Translation Table"));
    preInput_->setObjectName("Check1");

    auto* selected = new QGroupBox(tr("Selected Text:"));
    auto* selectedLayout = new QHBoxLayout(selected);
    selectedLayout->addWidget(new QLabel(tr("Start Position:")));
    selectedLayout->addWidget(selStart_);
    selectedLayout->addSpacing(12);
    selectedLayout->addWidget(new QLabel(tr("Byte Count:")));
    selectedLayout->addWidget(selCount_);
    selectedLayout->addStretch();

    auto* counters = new QHBoxLayout;
    counters->addWidget(new QLabel(tr("Total Byte Count:")));
    counters->addWidget(byteCount_);
    counters->addSpacing(12);
    counters->addWidget(selected, 1);
    counters->addWidget(clear, 0, Qt::AlignBottom);

    auto* inputLayout = new QVBoxLayout(inputBox);
    inputLayout->addWidget(buffer_, 1);
    inputLayout->addLayout(counters);
    inputLayout->addWidget(preInput_);

    // Output: what to send (Enter sends it as it is), and the lines.
    auto* outputBox = new QGroupBox(tr("Output"));
    output_ = new SendLine(outputBox);
    auto* dtr = Button(tr("&DTR~"), "DTRButton", outputBox);
    auto* brk = Button(tr("&Break"), "Command1", outputBox);
    auto* lineRow = new QHBoxLayout;
    lineRow->addWidget(dtr);
    lineRow->addWidget(brk);
    lineRow->addStretch();
    auto* outputLayout = new QVBoxLayout(outputBox);
    outputLayout->addWidget(output_);
    outputLayout->addLayout(lineRow);

    analyze_ = Button(tr("&Analyze Input"), "AnalyzeButton", this);
    auto* quit = Button(tr("&Quit"), "QuitButton", this);
    auto* bottom = new QHBoxLayout;
    bottom->addStretch();
    bottom->addWidget(analyze_);
    bottom->addWidget(quit);

    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(inputBox, 1);
    layout->addWidget(outputBox);
    layout->addLayout(bottom);
    setCentralWidget(central);

    // Edit: for whichever text box has the focus.
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->setObjectName("mnuEdit");
    auto focused = [](auto apply) {
        QWidget* w = QApplication::focusWidget();
        if (auto* line = qobject_cast<QLineEdit*>(w))
            apply(line);
        else if (auto* text = qobject_cast<QPlainTextEdit*>(w))
            apply(text);
    };
    QAction* cut = edit->addAction(tr("Cu&t"), this, [focused] { focused([](auto* w) { w->cut(); }); });
    cut->setObjectName("mnuCut");
    cut->setShortcut(QKeySequence::Cut);
    QAction* copy =
        edit->addAction(tr("&Copy"), this, [focused] { focused([](auto* w) { w->copy(); }); });
    copy->setObjectName("mnuCopy");
    copy->setShortcut(QKeySequence::Copy);
    QAction* paste =
        edit->addAction(tr("&Paste"), this, [focused] { focused([](auto* w) { w->paste(); }); });
    paste->setObjectName("mnuPaste");
    paste->setShortcut(QKeySequence::Paste);

    connect(clear, &QPushButton::clicked, this, [this] { ClearInput(); });
    output_->onSend = [this](const std::string& bytes) { Send(bytes); };
    output_->pickCharacter = [this](int& code) { return pickCharacter && pickCharacter(code); };
    // The same pulse as the runtime window's DTR~ button.
    connect(dtr, &QPushButton::clicked, this, [this] { port_.PulseDTR(); });
    connect(brk, &QPushButton::clicked, this, [this] { serial::StartBreak(port_, breakTicks_); });
    connect(analyze_, &QPushButton::clicked, this, [this] { Analyze(); });
    connect(quit, &QPushButton::clicked, this, &QWidget::close);
    connect(buffer_, &QPlainTextEdit::selectionChanged, this, [this] { RefreshCounters(); });

    pickCharacter = [this](int& code) { return AsciiChartDialog::PickCode(this, code); };

    timer_ = new QTimer(this);
    connect(timer_, &QTimer::timeout, this, [this] { Tick(); });
    timer_->start(50);
    RefreshCounters();
}

void PortTestWindow::Tick() {
    RefreshCounters();
    serial::BreakTimerTick(port_, breakTicks_);
    port_.FlushPendingOutput(pendingOutput_);
    std::string shown;
    std::uint8_t bytes[4096];
    const bool table = preInput_->isChecked();
    while (const std::size_t n = port_.Read(bytes, sizeof bytes))
        for (std::size_t i = 0; i < n; ++i)
            shown += analyzer::ShownInput(bytes[i], table, cfg_);
    if (!shown.empty())
        Append(shown);
}

void PortTestWindow::Append(const std::string& shown) {
    // On the screen each character is one character, except that a line feed
    // right after a carriage return shares its line break.
    QString screen;
    screen.reserve(static_cast<qsizetype>(shown.size()));
    for (unsigned char c : shown) {
        const bool joined = c == '\n' && lastWasCr_;
        lastWasCr_ = c == '\r';
        if (!joined) {
            inputAt_.push_back(input_.size());
            screen += (c == '\r' || c == '\n') ? QChar('\n') : QChar(c);
        }
        input_ += static_cast<char>(c);
    }
    // Appended at the end, with the caret following, whatever is selected.
    QTextCursor end(buffer_->document());
    end.movePosition(QTextCursor::End);
    end.insertText(screen);
    QTextCursor caret = buffer_->textCursor();
    if (!caret.hasSelection()) {
        caret.movePosition(QTextCursor::End);
        buffer_->setTextCursor(caret);
    }
    buffer_->verticalScrollBar()->setValue(buffer_->verticalScrollBar()->maximum());
    RefreshCounters();
}

void PortTestWindow::RefreshCounters() {
    const QTextCursor cursor = buffer_->textCursor();
    auto offset = [this](int position) {
        return position < static_cast<int>(inputAt_.size())
                   ? inputAt_[static_cast<std::size_t>(position)]
                   : input_.size();
    };
    const std::size_t start = offset(cursor.selectionStart());
    const std::size_t end = offset(cursor.selectionEnd());
    byteCount_->setText(QString::number(input_.size()));
    selStart_->setText(QString::number(start + 1));
    selCount_->setText(QString::number(end - start));
    analyze_->setEnabled(!input_.empty());
}

void PortTestWindow::ClearInput() {
    buffer_->clear();
    input_.clear();
    inputAt_.clear();
    lastWasCr_ = false;
    RefreshCounters();
}

void PortTestWindow::Send(const std::string& bytes) {
    pendingOutput_ += bytes;
    port_.FlushPendingOutput(pendingOutput_);
}

void PortTestWindow::Analyze() {
    analyzer::InputAnalysis analysis;
    const config::Message overflow{analyzer::AnalysisOverflow, "Port Test",
                                   config::MessageIcon::Exclamation, config::MessageButtons::Ok};
    switch (analyzer::AnalyzeInput(input_, analysis)) {
    case analyzer::AnalysisStatus::Empty:
        messages_.Beep();
        break;
    case analyzer::AnalysisStatus::Overflow:
        messages_.Show(overflow);
        break;
    case analyzer::AnalysisStatus::Proposed:
        if (messages_.Show({analyzer::AnalysisQuestion(analysis), analyzer::AnalysisTitle,
                            config::MessageIcon::Question, config::MessageButtons::YesNo}) !=
            config::MessageAnswer::Yes)
            break;
        if (!analyzer::ApplyAnalysis(analysis, cfg_))
            messages_.Show(overflow);
        else if (onConfigured)
            onConfigured();
        break;
    }
    buffer_->setFocus();
}

} // namespace ui
