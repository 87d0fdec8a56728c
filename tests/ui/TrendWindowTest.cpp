// The trend window on the offscreen platform, fed by a real runtime on a
// recording platform, with the ticks and the wall clock driven by hand.

#include "ui/TrendWindow.h"
#include "ui/RuntimeWindow.h"
#include "ui/TrendChart.h"
#include "ui/TrendChartView.h"
#include "ui/TrendStatisticsTable.h"

#include "config/ConfigFile.h"
#include "support/ManualClock.h"
#include "support/MemorySettingsStore.h"
#include "support/ProcessRunner.h"
#include "support/RecordingClipboard.h"
#include "support/RecordingMessageSink.h"
#include "support/RecordingPlatform.h"
#include "trend/TrendCsv.h"

#include "OffscreenApp.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QDateTimeAxis>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLegend>
#include <QLegendMarker>
#include <QLineSeries>
#include <QSignalSpy>
#include <QTest>
#include <QValueAxis>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

// Four fields: 1 known data ("0.000"), 2 a status text, 3 a constant, 4 a
// single number and then text.
class TrendWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureOffscreenApp(); }

    void Start() {
        config::Config cfg;
        cfg.TransferMode = config::LogToDisk;
        cfg.LogFileName = (dir.path / "records.log").string();
        cfg.RecordStructure = 1;
        cfg.NumFields = 4;
        cfg.DelimiterChar = ",";
        cfg.FieldFormat[1] = "0.000";
        cfg.FieldFilter[4] = "N"; // without the record's carriage return
        cfg.ConfigFileName = (dir.path / "trend.QX3").string();
        ASSERT_TRUE(config::SaveConfigFile(cfg));
        ASSERT_TRUE(runtime.RunNormal(cfg.ConfigFileName));
        trend = std::make_unique<ui::TrendWindow>(runtime.cfg(), engine::Locale{}, wall, store);
        runtime.OnRecordDelivered(
            [this](const output::DeliveredRecord& r) { trend->RecordDelivered(r); });
        // A second reader sees every record too.
        runtime.OnRecordDelivered([this](const output::DeliveredRecord&) { ++otherReader; });
        trend->show();
        trend->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(trend.get())); // for its shortcuts
    }
    // A record, one second after the last.
    void Arrive(const std::string& bytes) {
        wall.Advance(1000);
        platform.port->Feed(bytes);
        clock.Advance(50);
        runtime.Tick();
    }
    QString Cell(int row, int column) const {
        return trend->statistics()->item(row, column)->text();
    }

    testsupport::TempDir dir;
    testsupport::RecordingPlatform platform;
    config::RecordingMessageSink messages;
    engine::ManualClock clock;
    trend::ManualWallClock wall;
    config::MemorySettingsStore store;
    control::RecordingClipboard clipboard;
    config::Config record;
    runtime::Runtime runtime{
        {platform, record, messages, clock, store, clipboard, engine::Locale{}, dir.path.string()}};
    std::unique_ptr<ui::TrendWindow> trend;
    int otherReader = 0;
};

} // namespace

TEST_F(TrendWindowTest, SeriesFollowTheRecordsAndFieldsThatAreNoNumbersAreListed) {
    Start();
    EXPECT_EQ(trend->chart()->title(), "Waiting for the first record");
    Arrive("1.5,ST,5,7\r");
    Arrive("2,ST,5,--\r");
    trend->Refresh();
    EXPECT_EQ(trend->chart()->Fields(), (std::vector<int>{1, 3, 4}));
    ASSERT_NE(trend->chart()->SeriesOf(1), nullptr);
    EXPECT_EQ(trend->chart()->SeriesOf(2), nullptr);
    EXPECT_EQ(trend->chart()->SeriesOf(1)->name(), "Field 1 (0.000)");
    EXPECT_EQ(trend->chart()->SeriesOf(3)->name(), "Field 3");
    const QList<QPointF> points = trend->chart()->SeriesOf(1)->points();
    ASSERT_EQ(points.size(), 2);
    EXPECT_EQ(points[0], QPointF(double(wall.now - 1000), 1.5));
    EXPECT_EQ(points[1], QPointF(double(wall.now), 2.0));
    EXPECT_TRUE(trend->NotPlottedLabel()->isVisible());
    EXPECT_EQ(trend->NotPlottedLabel()->text(),
              QString::fromUtf8("Not plotted, not numbers: Field 2 (\u201cST\u201d)"));
    EXPECT_EQ(otherReader, 2);

    // The next batch: the line grows by the records since.
    Arrive("2.5,ST,5,--\r");
    Arrive("3,ST,5,--\r");
    EXPECT_EQ(trend->chart()->SeriesOf(1)->count(), 2); // until the timer's next batch
    trend->Refresh();
    EXPECT_EQ(trend->chart()->SeriesOf(1)->count(), 4);
    EXPECT_EQ(trend->statistics()->rowCount(), 3);

    // A reload that changes field 1's format: the same line, its new label.
    runtime.cfg().FieldFormat[1] = "0.0";
    Arrive("3.5,ST,5,--\r");
    trend->Refresh();
    EXPECT_EQ(trend->chart()->SeriesOf(1)->name(), "Field 1 (0.0)");
    EXPECT_EQ(trend->chart()->SeriesOf(1)->count(), 5);
}

TEST_F(TrendWindowTest, FiguresAreRightForKnownDataASingleValueAndAConstantAndCanBeCopied) {
    Start();
    trend->SetSpan(ui::TrendSpan::All);
    bool first = true;
    for (int v : {2, 4, 4, 4, 5, 5, 7, 9}) {
        Arrive(std::to_string(v) + ",ST,5," + (first ? "-3.25" : "--") + "\r");
        first = false;
    }
    trend->Refresh();
    auto* table = trend->statistics();
    ASSERT_EQ(table->rowCount(), 3);
    using T = ui::TrendStatisticsTable;
    EXPECT_EQ(table->FieldOfRow(0), 1);
    EXPECT_EQ(Cell(0, T::Count), "8");
    EXPECT_EQ(Cell(0, T::Last), "9.000");
    EXPECT_EQ(Cell(0, T::Minimum), "2.000");
    EXPECT_EQ(Cell(0, T::Maximum), "9.000");
    EXPECT_EQ(Cell(0, T::Mean), "5.0000");
    EXPECT_EQ(Cell(0, T::Deviation), "2.1381"); // sqrt(32 / 7), the sample deviation
    // The least-squares slope of 2,4,4,4,5,5,7,9 a second apart: 34/42 a second.
    EXPECT_EQ(Cell(0, T::Rate), QString::number(34.0 / 42.0 * 60, 'f', 4));
    // The constant: no spread, no change.
    EXPECT_EQ(Cell(1, T::Mean), "5.0");
    EXPECT_EQ(Cell(1, T::Deviation), "0.0");
    EXPECT_EQ(Cell(1, T::Rate), "0.0");
    // A single value: no spread and no rate to tell.
    EXPECT_EQ(Cell(2, T::Count), "1");
    EXPECT_EQ(Cell(2, T::Last), "-3.25");
    EXPECT_EQ(Cell(2, T::Deviation), "-");
    EXPECT_EQ(Cell(2, T::Rate), "-");

    // The span shown instead of the whole run: the last minute holds them all
    // too, so the figures stay; a zoom onto the last two records changes them.
    trend->WholeRunAction()->setChecked(false);
    EXPECT_EQ(Cell(0, T::Count), "8");
    trend->PanBy(0); // paused where it is
    trend->ZoomBy(1500.0 / double(trend->ShownTo() - trend->ShownFrom()), 1.0);
    EXPECT_EQ(Cell(0, T::Count), "2");
    EXPECT_EQ(Cell(0, T::Mean), "8.0000");

    // Selected cells are copied as tab-separated text; none selected: all.
    table->setCurrentCell(0, T::Count);
    table->setCurrentCell(0, T::Last, QItemSelectionModel::Select);
    trend->CopyAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "2\t9.000\n");
    table->clearSelection();
    trend->CopyAction()->trigger();
    const QStringList lines = QGuiApplication::clipboard()->text().split('\n');
    EXPECT_TRUE(lines[0].startsWith("Field\tCount\tLast\tMinimum\tMaximum\tMean"))
        << lines[0].toStdString();
    EXPECT_TRUE(lines[1].startsWith("Field 1 (0.000)\t2\t9.000")) << lines[1].toStdString();
}

TEST_F(TrendWindowTest, SpansPauseZoomWithTheWheelAndFollowAgain) {
    Start();
    trend->SetSpan(ui::TrendSpan::LastMinute);
    for (int i = 0; i < 180; ++i)
        Arrive(std::to_string(i) + ",ST,5,--\r");
    trend->Refresh();
    EXPECT_TRUE(trend->Following());
    EXPECT_EQ(trend->ShownTo(), wall.now);
    EXPECT_EQ(trend->ShownFrom(), wall.now - 60000);
    // The last minute and the record just before it, which carries the line
    // to the edge.
    EXPECT_EQ(trend->chart()->SeriesOf(1)->count(), 62);
    EXPECT_EQ(trend->SpanBox()->currentText(), "Last minute");

    // Paused, the plot stays where it is while records come.
    trend->PauseAction()->trigger();
    EXPECT_FALSE(trend->Following());
    const std::int64_t to = trend->ShownTo();
    Arrive("500,ST,5,--\r");
    trend->Refresh();
    EXPECT_EQ(trend->ShownTo(), to);
    EXPECT_TRUE(trend->FollowAction()->isEnabled());

    // A notch of the wheel over the plot's middle zooms in about it.
    trend->FollowAction()->trigger();
    auto* view = trend->chartView();
    const QRectF area = trend->chart()->plotArea();
    const QPointF middle = view->mapFromScene(area.center());
    QWheelEvent wheel(middle, view->mapToGlobal(middle), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &wheel);
    EXPECT_FALSE(trend->Following());
    EXPECT_NEAR(double(trend->ShownTo() - trend->ShownFrom()), 48000, 1000);
    EXPECT_NEAR(double(trend->ShownFrom() + trend->ShownTo()) / 2, double(wall.now - 30000), 1500);
    EXPECT_LT(trend->chart()->SeriesOf(1)->count(), 55);

    // End follows the newest records again, at the span chosen.
    wall.Advance(5000);
    QTest::keyClick(trend.get(), Qt::Key_End);
    EXPECT_TRUE(trend->Following());
    EXPECT_EQ(trend->ShownTo(), wall.now);
    EXPECT_EQ(trend->ShownFrom(), wall.now - 60000);

    // All: from the first record on.
    QTest::keyClick(trend.get(), Qt::Key_4, Qt::ControlModifier);
    EXPECT_EQ(trend->Span(), ui::TrendSpan::All);
    EXPECT_EQ(trend->ShownFrom(), *trend->data().FirstTime());
    EXPECT_EQ(trend->chart()->SeriesOf(1)->count(), 181);
}

TEST_F(TrendWindowTest, ALegendClickHidesAFieldAndAnotherShowsItAgain) {
    Start();
    Arrive("1,ST,5,--\r");
    Arrive("2,ST,6,--\r");
    trend->Refresh();
    QLineSeries* series = trend->chart()->SeriesOf(1);
    const QList<QLegendMarker*> markers = trend->chart()->legend()->markers(series);
    ASSERT_EQ(markers.size(), 1);
    QCoreApplication::processEvents(); // the legend lays its entries out
    ASSERT_TRUE(markers[0]->isVisible());
    emit markers[0]->clicked();
    QCoreApplication::processEvents();
    EXPECT_FALSE(series->isVisible());
    EXPECT_TRUE(markers[0]->isVisible()); // greyed, not gone: a click brings it back
    EXPECT_FALSE(trend->chart()->AxisOf(1)->isVisible());
    EXPECT_EQ(trend->statistics()->rowCount(), 2); // its figures stay
    emit markers[0]->clicked();
    QCoreApplication::processEvents();
    EXPECT_TRUE(series->isVisible());
    EXPECT_TRUE(trend->chart()->AxisOf(1)->isVisible());

    // One scale for all: each line's own axis goes, the shared one shows
    // both ranges.
    trend->chart()->SetOneScale(true);
    trend->Refresh();
    EXPECT_FALSE(trend->chart()->AxisOf(1)->isVisible());
    auto* shared = qobject_cast<QValueAxis*>(series->attachedAxes().constLast());
    ASSERT_NE(shared, nullptr);
    EXPECT_LE(shared->min(), 1.0);
    EXPECT_GE(shared->max(), 6.0);
}

TEST_F(TrendWindowTest, TheDataExportAsCsvThatReadsBackAndThePlotAsPng) {
    Start();
    wall.offsetSeconds = 0;
    const std::vector<std::string> values = {"12.5", "12.75", "-0.125", "1e3"};
    for (const std::string& v : values)
        Arrive(v + ",ST,5,--\r");
    QSignalSpy finished(trend.get(), &ui::TrendWindow::ExportFinished);
    const QString csv = QString::fromStdString((dir.path / "trend.csv").string());
    trend->ExportCsv(csv);
    ASSERT_TRUE(finished.wait(5000));
    EXPECT_TRUE(finished[0][0].toBool());
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 5);
    // Field 4 never held a number: not plotted, not exported.
    EXPECT_EQ(lines[0], "time,record,Field 1 (0.000),Field 3");
    const trend::TrendSnapshot kept = trend->data().Snapshot();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const QStringList cells = lines[int(i) + 1].split(',');
        ASSERT_EQ(cells.size(), 4) << lines[int(i) + 1].toStdString();
        EXPECT_EQ(cells[0].toStdString(), trend::LocalTimeText(kept.times[i], wall));
        EXPECT_EQ(cells[1].toInt(), int(i) + 1);
        // The field as shown ("0.000"), read back to the same number.
        EXPECT_EQ(cells[2].toDouble(), std::round(std::stod(values[i]) * 1000) / 1000);
        EXPECT_EQ(cells[3], "5");
    }

    const QString png = QString::fromStdString((dir.path / "trend.png").string());
    ASSERT_TRUE(trend->ExportPng(png));
    const QImage image(png);
    EXPECT_EQ(image.size(), trend->chartView()->size() * trend->devicePixelRatio());
    EXPECT_FALSE(trend->ExportPng(QString::fromStdString((dir.path / "no/such/dir.png").string())));
}

TEST_F(TrendWindowTest, TheTitleFollowsTheRuntimeCaptionAndTheRuntimeWindowOpensIt) {
    Start();
    ui::RuntimeWindow window(runtime, store);
    window.Build();
    runtime.suspendChanged = [&] { window.SuspendChanged(); };
    int asked = 0;
    window.onTrendRequested = [&] { ++asked; };
    QObject::connect(&window, &QWidget::windowTitleChanged, trend.get(),
                     &ui::TrendWindow::SetCaption);
    trend->SetCaption(window.windowTitle());
    EXPECT_EQ(trend->windowTitle(), "Corvane - COM1 - Trend");
    runtime.ToggleSuspend();
    EXPECT_EQ(trend->windowTitle(), "Corvane - COM1 (S) - Trend");
    ASSERT_NE(window.TrendAction(), nullptr);
    EXPECT_EQ(window.TrendAction()->shortcut(), QKeySequence("Ctrl+T"));
    window.TrendAction()->trigger();
    EXPECT_EQ(asked, 1);
}
