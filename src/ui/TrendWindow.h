#pragma once
// The trend window, "<runtime caption> - Trend": the numbers of the run as a
// live plot, with their statistics. Every field whose delivered text reads
// as a number is a line against the time the record was delivered; fields
// that are not numbers are listed below the table. The View menu (and the
// bar above the plot) picks the span shown (the last minute, 10 minutes,
// hour, or all), pauses the plot or follows the newest records again; the
// mouse wheel zooms in time and dragging moves, both of which pause. The
// File menu exports the plot as PNG and the kept records as CSV.
//
// Records are taken into the data as they are delivered (a few hundred
// nanoseconds each); the plot and the table take them in batches on a
// timer, which waits longer when drawing takes longer, so that the window
// never costs acquisition more than a few per cent, and not at all while it
// is hidden or minimised. Closing the window only hides it: the data go on
// gathering until the runtime closes, and the window shows them all again
// when it is opened once more.
//
// A reload of the configuration changes nothing here but the legend: each
// field keeps its line and statistics by its number, with the format it now
// has in its label; a field the new record lacks keeps its line without new
// points, and a new field gets a line with its first number.

#include "config/Config.h"
#include "config/SettingsStore.h"
#include "engine/Locale.h"
#include "output/RecordDispatch.h"
#include "trend/TrendData.h"
#include "trend/WallClock.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>

#include <cstdint>
#include <thread>

class QAction;
class QComboBox;
class QLabel;

namespace ui {

class TrendChart;
class TrendChartView;
class TrendStatisticsTable;

enum class TrendSpan { LastMinute, LastTenMinutes, LastHour, All };

class TrendWindow : public QMainWindow {
    Q_OBJECT
public:
    // cfg is the running configuration (the labels follow its formats);
    // clock stamps each record; store keeps the span, the points kept and
    // the window's place.
    TrendWindow(const config::Config& cfg, const engine::Locale& locale, trend::WallClock& clock,
                config::SettingsStore& store, QWidget* parent = nullptr);
    ~TrendWindow() override;

    // A record the runtime delivered, at the wall clock's time now.
    void RecordDelivered(const output::DeliveredRecord& record);
    // The runtime window's caption: this window's title follows it.
    void SetCaption(const QString& runtimeCaption);

    // Draws what came since the last time (the timer calls it).
    void Refresh();

    void SetSpan(TrendSpan span);
    TrendSpan Span() const { return span_; }
    // Following: the plot ends at the time now and moves with it.
    bool Following() const { return following_; }
    void Pause();
    void Follow();
    // Zooms in time about `at` (0..1 across the plot), or moves by `by` of
    // the plot's width; both pause.
    void ZoomBy(double factor, double at);
    void PanBy(double by);
    // The span drawn by the last Refresh, in milliseconds since 1970.
    std::int64_t ShownFrom() const { return from_; }
    std::int64_t ShownTo() const { return to_; }
    // How many records are kept for the plot and the export.
    void SetPointsKept(std::size_t records);

    // The first time for this port (no place was kept): puts the window on
    // the screen beside `occupied` (the runtime window's frame) where there
    // is room, else leaves it to the window manager.
    void PlaceBeside(const QRect& occupied);

    // Writes the plot as a PNG (false when the file cannot be written), and
    // the kept records as CSV beside the window: ExportFinished tells how
    // that went.
    bool ExportPng(const QString& path);
    void ExportCsv(const QString& path);

    // The legend label of a field: "Field 2", with its format when it has
    // one ("Field 2 (0.000)").
    QString Label(int field) const;

    // For tests and the screenshots.
    trend::TrendData& data() { return data_; }
    TrendChart* chart() const { return chart_; }
    TrendChartView* chartView() const { return view_; }
    TrendStatisticsTable* statistics() const { return table_; }
    QLabel* NotPlottedLabel() const { return notPlotted_; }
    QComboBox* SpanBox() const { return spanBox_; }
    QAction* PauseAction() const { return pause_; }
    QAction* FollowAction() const { return follow_; }
    QAction* WholeRunAction() const { return wholeRun_; }
    QAction* CopyAction() const { return copy_; }

signals:
    void ExportFinished(bool ok, const QString& message);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildMenus();
    QWidget* BuildBar();
    void ShowState();
    void ShowNotPlotted();
    void ChooseFileAndExport(bool csv);
    void AskPointsKept();
    void Clear();
    void RestorePlace();
    void SavePlace();
    std::string PlaceKey() const;

    const config::Config& cfg_;
    engine::Locale locale_;
    trend::WallClock& clock_;
    config::SettingsStore& store_;
    trend::TrendData data_;

    TrendChart* chart_ = nullptr;
    TrendChartView* view_ = nullptr;
    TrendStatisticsTable* table_ = nullptr;
    QLabel* notPlotted_ = nullptr;
    QLabel* records_ = nullptr;
    QComboBox* spanBox_ = nullptr;
    QAction* spanActions_[4] = {};
    QAction* pause_ = nullptr;
    QAction* follow_ = nullptr;
    QAction* oneScale_ = nullptr;
    QAction* wholeRun_ = nullptr;
    QAction* copy_ = nullptr;
    QTimer timer_;

    TrendSpan span_ = TrendSpan::LastTenMinutes;
    bool following_ = true;
    bool hasPlace_ = false; // a place was kept for this port
    std::int64_t from_ = 0, to_ = 0;
    std::thread export_;
};

} // namespace ui
