#include "ui/TrendWindow.h"

#include "trend/TrendCsv.h"
#include "ui/QtMessageSink.h"
#include "ui/TrendChart.h"
#include "ui/TrendChartView.h"
#include "ui/TrendStatisticsTable.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLocale>
#include <QMenuBar>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace ui {

namespace {

constexpr const char* SettingsApp = "Corvane";
constexpr const char* SettingsSection = "Trend";
constexpr std::int64_t MinuteMs = 60 * 1000;

struct SpanChoice {
    const char* menu;
    const char* box;
    const char* following;
    std::int64_t ms; // 0: all
};
const SpanChoice Spans[] = {
    {"Last &Minute", "Last minute", "the last minute", MinuteMs},
    {"Last &10 Minutes", "Last 10 minutes", "the last 10 minutes", 10 * MinuteMs},
    {"Last &Hour", "Last hour", "the last hour", 60 * MinuteMs},
    {"&All", "All", "all records", 0},
};

QString Clock(std::int64_t ms) {
    return QDateTime::fromMSecsSinceEpoch(ms).toString("hh:mm:ss");
}

// A field's text as the list of fields that are not numbers shows it.
QString Sample(const std::string& text) {
    QString shown;
    for (QChar c : Latin1Text(text))
        if (c.unicode() >= 32)
            shown += c;
    shown = shown.trimmed();
    return shown.isEmpty() ? QString("empty") : QString("\u201c%1\u201d").arg(shown);
}

} // namespace

TrendWindow::TrendWindow(const config::Config& cfg, const engine::Locale& locale,
                         trend::WallClock& clock, config::SettingsStore& store, QWidget* parent)
    : QMainWindow(parent), cfg_(cfg), locale_(locale), clock_(clock), store_(store), data_(locale) {
    setObjectName("TrendWindow");
    if (auto kept = store_.Get(SettingsApp, SettingsSection, "PointsKept"))
        if (const long long n = std::atoll(kept->c_str()); n > 0)
            data_.SetCapacity(static_cast<std::size_t>(n));
    if (auto span = store_.Get(SettingsApp, SettingsSection, "Span"))
        span_ = static_cast<TrendSpan>(std::clamp(std::atoi(span->c_str()), 0, 3));

    chart_ = new TrendChart;
    view_ = new TrendChartView(chart_);
    view_->setObjectName("TrendPlot");
    view_->setMinimumSize(480, 240);
    view_->onZoom = [this](double factor, double at) { ZoomBy(factor, at); };
    view_->onPan = [this](double by) { PanBy(by); };
    table_ = new TrendStatisticsTable(locale_);
    notPlotted_ = new QLabel;
    notPlotted_->setObjectName("NotPlotted");
    notPlotted_->setWordWrap(true);
    notPlotted_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    notPlotted_->setVisible(false);

    auto* lower = new QWidget;
    auto* lowerLayout = new QVBoxLayout(lower);
    lowerLayout->setContentsMargins(0, 0, 0, 0);
    lowerLayout->addWidget(table_);
    lowerLayout->addWidget(notPlotted_);
    auto* splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(view_);
    splitter->addWidget(lower);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    splitter->setSizes({470, 130}); // the plot first; the table shows a few rows

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    BuildMenus();
    layout->addWidget(BuildBar());
    layout->addWidget(splitter, 1);
    setCentralWidget(central);
    records_ = new QLabel;
    records_->setObjectName("TrendRecords");
    statusBar()->addPermanentWidget(records_);

    timer_.setInterval(250);
    connect(&timer_, &QTimer::timeout, this, [this] { Refresh(); });
    connect(this, &TrendWindow::ExportFinished, this,
            [this](bool, const QString& message) { statusBar()->showMessage(message, 10000); });
    resize(980, 660);
    RestorePlace();
    SetSpan(span_);
}

TrendWindow::~TrendWindow() {
    if (export_.joinable())
        export_.join();
}

void TrendWindow::BuildMenus() {
    QMenu* file = menuBar()->addMenu("&File");
    file->addAction("Export &Data as CSV...", QKeySequence("Ctrl+E"), this,
                    [this] { ChooseFileAndExport(true); });
    file->addAction("Export &Plot as PNG...", QKeySequence("Ctrl+Shift+E"), this,
                    [this] { ChooseFileAndExport(false); });
    file->addSeparator();
    file->addAction("&Close", QKeySequence::Close, this, [this] { close(); });

    QMenu* edit = menuBar()->addMenu("&Edit");
    copy_ = edit->addAction("&Copy Figures", QKeySequence::Copy, this, [this] {
        QGuiApplication::clipboard()->setText(table_->SelectedText());
    });
    edit->addAction("Select &All Figures", QKeySequence::SelectAll, this,
                    [this] { table_->selectAll(); });

    QMenu* view = menuBar()->addMenu("&View");
    auto* spans = new QActionGroup(this);
    for (int i = 0; i < 4; ++i) {
        spanActions_[i] = view->addAction(Spans[i].menu);
        spanActions_[i]->setShortcut(QKeySequence(QString("Ctrl+%1").arg(i + 1)));
        spanActions_[i]->setCheckable(true);
        spans->addAction(spanActions_[i]);
        connect(spanActions_[i], &QAction::triggered, this,
                [this, i] { SetSpan(static_cast<TrendSpan>(i)); });
    }
    view->addSeparator();
    pause_ = view->addAction("&Pause");
    pause_->setShortcut(QKeySequence("Ctrl+P"));
    pause_->setCheckable(true);
    pause_->setToolTip("Hold the plot where it is; records are still taken in (Ctrl+P)");
    connect(pause_, &QAction::triggered, this, [this](bool on) { on ? Pause() : Follow(); });
    follow_ = view->addAction("&Follow", this, [this] { Follow(); });
    follow_->setShortcut(QKeySequence(Qt::Key_End));
    follow_->setToolTip("Back to the newest records, at the span chosen (End)");
    view->addAction("Zoom &In", QKeySequence::ZoomIn, this, [this] { ZoomBy(0.5, 0.5); });
    view->addAction("Zoom &Out", QKeySequence::ZoomOut, this, [this] { ZoomBy(2.0, 0.5); });
    view->addSeparator();
    oneScale_ = view->addAction("&One Scale for All Fields");
    oneScale_->setCheckable(true);
    connect(oneScale_, &QAction::toggled, this, [this](bool on) {
        chart_->SetOneScale(on);
        Refresh();
    });
    wholeRun_ = view->addAction("Figures of the &Whole Run");
    wholeRun_->setCheckable(true);
    wholeRun_->setChecked(true);
    wholeRun_->setToolTip("The table's figures of every value since the trend began; unchecked, "
                          "those of the span shown");
    view->addSeparator();
    view->addAction("Points &Kept...", this, [this] { AskPointsKept(); });
    view->addAction("C&lear", this, [this] { Clear(); });
}

QWidget* TrendWindow::BuildBar() {
    auto* bar = new QWidget;
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    auto* showLabel = new QLabel("&Show:");
    spanBox_ = new QComboBox;
    spanBox_->setObjectName("TrendSpan");
    for (const SpanChoice& choice : Spans)
        spanBox_->addItem(choice.box);
    showLabel->setBuddy(spanBox_);
    connect(spanBox_, &QComboBox::activated, this,
            [this](int index) { SetSpan(static_cast<TrendSpan>(index)); });
    auto* pause = new QToolButton;
    pause->setDefaultAction(pause_);
    auto* follow = new QToolButton;
    follow->setDefaultAction(follow_);
    auto* figuresLabel = new QLabel("Fi&gures of:");
    auto* figures = new QComboBox;
    figures->setObjectName("TrendFigures");
    figures->addItems({"the whole run", "the span shown"});
    figuresLabel->setBuddy(figures);
    connect(figures, &QComboBox::activated, this,
            [this](int index) { wholeRun_->setChecked(index == 0); });
    connect(wholeRun_, &QAction::toggled, this, [this, figures](bool on) {
        figures->setCurrentIndex(on ? 0 : 1);
        Refresh();
    });
    row->addWidget(showLabel);
    row->addWidget(spanBox_);
    row->addWidget(pause);
    row->addWidget(follow);
    row->addStretch();
    row->addWidget(figuresLabel);
    row->addWidget(figures);
    return bar;
}

QString TrendWindow::Label(int field) const {
    QString label = QString("Field %1").arg(field);
    if (field >= 1 && field <= config::MaxFields) {
        const std::string& format = cfg_.FieldFormat[static_cast<std::size_t>(field)];
        if (!format.empty())
            label += QString(" (%1)").arg(Latin1Text(format));
    }
    return label;
}

void TrendWindow::RecordDelivered(const output::DeliveredRecord& record) {
    data_.Add(clock_.NowMs(), record.recordNumber, record.fields);
}

void TrendWindow::SetCaption(const QString& runtimeCaption) {
    setWindowTitle(runtimeCaption + " - Trend");
}

void TrendWindow::SetSpan(TrendSpan span) {
    span_ = span;
    const int index = static_cast<int>(span);
    store_.Set(SettingsApp, SettingsSection, "Span", std::to_string(index));
    spanBox_->setCurrentIndex(index);
    spanActions_[index]->setChecked(true);
    Follow();
}

void TrendWindow::Pause() {
    following_ = false;
    ShowState();
}

void TrendWindow::Follow() {
    following_ = true;
    Refresh();
}

void TrendWindow::ZoomBy(double factor, double at) {
    const double width = static_cast<double>(to_ - from_);
    // From a second to ten years across the plot.
    const double zoomed = std::clamp(width * factor, 1000.0, 3.2e11);
    const double anchor = static_cast<double>(from_) + at * width;
    from_ = static_cast<std::int64_t>(anchor - at * zoomed);
    to_ = from_ + static_cast<std::int64_t>(zoomed);
    following_ = false;
    Refresh();
}

void TrendWindow::PanBy(double by) {
    const auto shift = static_cast<std::int64_t>(by * static_cast<double>(to_ - from_));
    from_ -= shift;
    to_ -= shift;
    following_ = false;
    Refresh();
}

void TrendWindow::Refresh() {
    QElapsedTimer took;
    took.start();
    if (following_) {
        to_ = clock_.NowMs();
        const std::int64_t span = Spans[static_cast<int>(span_)].ms;
        from_ = span ? to_ - span : data_.FirstTime().value_or(to_ - MinuteMs);
        if (from_ >= to_)
            from_ = to_ - 1000;
    }
    const auto label = [this](int field) { return Label(field); };
    chart_->Show(data_, label, from_, to_);
    table_->Show(
        data_, label, [this](int field) { return chart_->ColorOf(field); }, from_, to_,
        wholeRun_->isChecked());
    if (data_.Delivered() == 0)
        chart_->setTitle("Waiting for the first record");
    else if (data_.PlottedFields().empty())
        chart_->setTitle("No field of the records reads as a number yet");
    else if (!chart_->title().isEmpty())
        chart_->setTitle(QString());
    ShowNotPlotted();
    ShowState();
    // The next batch waits 40 times as long as this one took to draw (the
    // drawing itself included), so the plot takes at most about 2.5 % of the
    // time: 4 times a second while that is cheap, at least every 2 seconds.
    const qint64 cost = took.elapsed() + view_->LastPaintMs();
    timer_.setInterval(static_cast<int>(std::clamp<qint64>(cost * 40, 250, 2000)));
}

void TrendWindow::ShowNotPlotted() {
    const std::vector<int> fields = data_.NotNumericFields();
    QStringList listed;
    for (int field : fields)
        listed << QString("%1 (%2)").arg(Label(field), Sample(data_.LastText(field)));
    const QString text =
        listed.isEmpty() ? QString() : "Not plotted, not numbers: " + listed.join(", ");
    if (notPlotted_->text() != text)
        notPlotted_->setText(text);
    notPlotted_->setVisible(!text.isEmpty());
}

void TrendWindow::ShowState() {
    pause_->setChecked(!following_);
    follow_->setEnabled(!following_);
    if (following_)
        statusBar()->showMessage(
            QString("Following %1").arg(Spans[static_cast<int>(span_)].following));
    else
        statusBar()->showMessage(QString("Paused at %1 to %2; End follows the newest records")
                                     .arg(Clock(from_), Clock(to_)));
    QLocale numbers(QLocale::English);
    QString text = QString("%1 records").arg(numbers.toString(qulonglong(data_.Delivered())));
    if (const auto first = data_.FirstTime()) {
        const double bytes = static_cast<double>(data_.MemoryBytes());
        const QString memory = bytes < 1e6 ? QString("%1 kB").arg(bytes / 1e3, 0, 'f', 0)
                                           : QString("%1 MB").arg(bytes / 1e6, 0, 'f', 1);
        text += QString(", %1 kept (%2) since %3")
                    .arg(numbers.toString(qulonglong(data_.Kept())), memory, Clock(*first));
    }
    records_->setText(text);
}

void TrendWindow::SetPointsKept(std::size_t records) {
    data_.SetCapacity(records);
    store_.Set(SettingsApp, SettingsSection, "PointsKept", std::to_string(data_.Capacity()));
    Refresh();
}

void TrendWindow::AskPointsKept() {
    bool ok = false;
    const int kept =
        QInputDialog::getInt(this, "Points Kept",
                             "Records kept for the plot and the CSV export; the oldest go first.\n"
                             "The figures of the whole run take every record all the same.\n"
                             "Each record kept takes 16 bytes, and 9 more for each plotted field.",
                             static_cast<int>(std::min<std::size_t>(data_.Capacity(), 10'000'000)),
                             1000, 10'000'000, 10000, &ok);
    if (ok)
        SetPointsKept(static_cast<std::size_t>(kept));
}

void TrendWindow::Clear() {
    data_.Clear();
    chart_->Clear();
    Follow();
}

void TrendWindow::ChooseFileAndExport(bool csv) {
    const QString path = csv ? QFileDialog::getSaveFileName(this, "Export Data as CSV", "trend.csv",
                                                            "CSV files (*.csv);;All Files (*)")
                             : QFileDialog::getSaveFileName(this, "Export Plot as PNG", "trend.png",
                                                            "PNG images (*.png);;All Files (*)");
    if (path.isEmpty())
        return;
    if (csv) {
        ExportCsv(path);
        return;
    }
    if (!ExportPng(path))
        statusBar()->showMessage(QString("The plot could not be written to %1").arg(path), 10000);
    else
        statusBar()->showMessage(QString("Wrote the plot to %1").arg(path), 10000);
}

bool TrendWindow::ExportPng(const QString& path) {
    return view_->grab().save(path, "PNG");
}

void TrendWindow::ExportCsv(const QString& path) {
    if (export_.joinable())
        export_.join(); // one export at a time
    // A copy of the kept records is written beside the window, so that a
    // long export neither holds up acquisition nor sees records change.
    trend::TrendSnapshot snapshot = data_.Snapshot();
    std::vector<std::string> labels;
    for (int field : snapshot.fields)
        labels.push_back(Label(field).toStdString());
    const std::string file = QFile::encodeName(path).toStdString();
    statusBar()->showMessage(QString("Writing %1...").arg(path));
    export_ = std::thread([this, snapshot = std::move(snapshot), labels = std::move(labels), file,
                           path] {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        const bool ok = out && trend::WriteTrendCsv(out, snapshot, labels, clock_);
        const QString message =
            ok ? QString("Wrote %1 records to %2").arg(snapshot.times.size()).arg(path)
               : QString("The data could not be written to %1").arg(path);
        QMetaObject::invokeMethod(
            this, [this, ok, message] { emit ExportFinished(ok, message); }, Qt::QueuedConnection);
    });
}

std::string TrendWindow::PlaceKey() const {
    return "Corvane - " + config::PortName(cfg_);
}

void TrendWindow::PlaceBeside(const QRect& occupied) {
    if (hasPlace_)
        return;
    const QScreen* screen = QGuiApplication::screenAt(occupied.center());
    if (!screen)
        return;
    const QRect free = screen->availableGeometry();
    // Right of what is there, below it, left of it or above it: the first
    // side with room for a plot of a useful size, up to the window's size,
    // against what is there.
    constexpr int Gap = 12, Frame = 32, MinWidth = 560, MinHeight = 380;
    const QSize want = size();
    enum Side { Right, Below, Left, Above };
    for (Side side : {Right, Below, Left, Above}) {
        QRect room = free;
        if (side == Right)
            room.setLeft(occupied.right() + Gap);
        else if (side == Below)
            room.setTop(occupied.bottom() + Gap);
        else if (side == Left)
            room.setRight(occupied.left() - Gap);
        else
            room.setBottom(occupied.top() - Gap);
        const int width = std::min(want.width(), room.width());
        const int height = std::min(want.height(), room.height() - Frame);
        if (width < MinWidth || height < MinHeight)
            continue;
        resize(width, height);
        const int x = side == Left ? room.right() - width
                      : side == Right
                          ? room.left()
                          : std::clamp(occupied.left(), room.left(), room.right() - width);
        const int y = side == Above ? room.bottom() - height - Frame
                      : side == Below
                          ? room.top()
                          : std::clamp(occupied.top(), room.top(), room.bottom() - height - Frame);
        move(x, y);
        return;
    }
}

void TrendWindow::RestorePlace() {
    const std::string key = PlaceKey();
    auto get = [&](const char* name) -> std::optional<int> {
        if (auto value = store_.Get(key, SettingsSection, name))
            return std::atoi(value->c_str());
        return std::nullopt;
    };
    const auto left = get("Left"), top = get("Top"), width = get("Width"), height = get("Height");
    if (width && height && *width > 200 && *height > 150)
        resize(*width, *height);
    if (left && top)
        for (QScreen* screen : QGuiApplication::screens())
            if (screen->availableGeometry().contains(QPoint(*left, *top))) {
                move(*left, *top);
                hasPlace_ = true;
                break;
            }
}

void TrendWindow::SavePlace() {
    const std::string key = PlaceKey();
    const QRect at = geometry();
    store_.Set(key, SettingsSection, "Left", std::to_string(at.x()));
    store_.Set(key, SettingsSection, "Top", std::to_string(at.y()));
    store_.Set(key, SettingsSection, "Width", std::to_string(at.width()));
    store_.Set(key, SettingsSection, "Height", std::to_string(at.height()));
}

void TrendWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    Refresh();
    timer_.start();
}

void TrendWindow::hideEvent(QHideEvent* event) {
    // Hidden or minimised: nothing is drawn, the data still gather.
    timer_.stop();
    QMainWindow::hideEvent(event);
}

void TrendWindow::closeEvent(QCloseEvent* event) {
    SavePlace();
    event->accept(); // hidden, not destroyed: the data go on gathering
}

} // namespace ui
