#include "ui/TrendChart.h"

#include <QDateTime>
#include <QDateTimeAxis>
#include <QLegend>
#include <QLegendMarker>
#include <QLineSeries>
#include <QPen>
#include <QValueAxis>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ui {

namespace {

// Colours that stay apart on white and on a projector, in the order fields
// are first plotted.
const QColor Palette[] = {QColor(0x1f, 0x77, 0xb4), QColor(0xd6, 0x27, 0x28),
                          QColor(0x2c, 0xa0, 0x2c), QColor(0x94, 0x67, 0xbd),
                          QColor(0xff, 0x7f, 0x0e), QColor(0x8c, 0x56, 0x4b),
                          QColor(0xe3, 0x77, 0xc2), QColor(0x17, 0xbe, 0xcf)};

// The time axis labels: seconds while they matter, the date once the span
// is longer than a day.
QString TimeFormat(std::int64_t spanMs) {
    if (spanMs <= 2 * 3600 * 1000)
        return "hh:mm:ss";
    if (spanMs <= 24 * 3600 * 1000)
        return "hh:mm";
    return "MM-dd hh:mm";
}

} // namespace

TrendChart::TrendChart() {
    legend()->setAlignment(Qt::AlignBottom);
    legend()->setShowToolTips(true);
    time_ = new QDateTimeAxis(this);
    time_->setTickCount(6);
    time_->setFormat("hh:mm:ss");
    addAxis(time_, Qt::AlignBottom);
    shared_ = new QValueAxis(this);
    shared_->setLabelFormat("%g");
    shared_->setVisible(false);
    addAxis(shared_, Qt::AlignLeft);
    setMargins(QMargins(4, 4, 4, 4));
}

const TrendChart::Line* TrendChart::Find(int field) const {
    for (const Line& line : lines_)
        if (line.field == field)
            return &line;
    return nullptr;
}

std::vector<int> TrendChart::Fields() const {
    std::vector<int> out;
    for (const Line& line : lines_)
        out.push_back(line.field);
    return out;
}

QLineSeries* TrendChart::SeriesOf(int field) const {
    const Line* line = Find(field);
    return line ? line->series : nullptr;
}

QValueAxis* TrendChart::AxisOf(int field) const {
    const Line* line = Find(field);
    return line ? line->axis : nullptr;
}

QColor TrendChart::ColorOf(int field) const {
    const Line* line = Find(field);
    return line ? line->series->color() : QColor();
}

bool TrendChart::IsHidden(int field) const {
    const Line* line = Find(field);
    return line && !line->series->isVisible();
}

TrendChart::Line& TrendChart::AddLine(int field) {
    Line line;
    line.field = field;
    line.series = new QLineSeries(this);
    const QColor color = Palette[lines_.size() % std::size(Palette)];
    QPen pen(color);
    pen.setWidthF(2);
    line.series->setPen(pen);
    addSeries(line.series);
    line.axis = new QValueAxis(this);
    line.axis->setLabelFormat("%g");
    line.axis->setLabelsColor(color);
    line.axis->setLinePenColor(color);
    // Only the first axis draws grid lines; more would cross each other.
    line.axis->setGridLineVisible(lines_.empty());
    addAxis(line.axis, lines_.size() % 2 == 0 ? Qt::AlignLeft : Qt::AlignRight);
    // Kept in number order, so legend, axes and table read alike.
    auto at = std::find_if(lines_.begin(), lines_.end(),
                           [field](const Line& l) { return l.field > field; });
    Line& added = *lines_.insert(at, line);
    for (QLegendMarker* marker : legend()->markers(added.series))
        connect(marker, &QLegendMarker::clicked, this,
                [this, field] { SetHidden(field, !IsHidden(field)); });
    AttachScales();
    return added;
}

void TrendChart::SetHidden(int field, bool hidden) {
    const Line* line = Find(field);
    if (!line)
        return;
    line->series->setVisible(!hidden);
    line->axis->setVisible(!hidden && !oneScale_);
    for (QLegendMarker* marker : legend()->markers(line->series))
        ShowMarker(marker, hidden);
}

void TrendChart::ShowMarker(QLegendMarker* marker, bool hidden) {
    // A hidden series would take its legend entry along: the entry stays,
    // greyed, so that a click brings the line back.
    marker->setVisible(true);
    const qreal alpha = hidden ? 0.35 : 1.0;
    QColor label = marker->labelBrush().color();
    label.setAlphaF(alpha);
    marker->setLabelBrush(label);
    QBrush brush = marker->brush();
    QColor fill = brush.color();
    fill.setAlphaF(alpha);
    brush.setColor(fill);
    marker->setBrush(brush);
}

void TrendChart::Clear() {
    for (Line& line : lines_) {
        removeSeries(line.series);
        delete line.series;
        removeAxis(line.axis);
        delete line.axis;
    }
    lines_.clear();
    AttachScales();
}

void TrendChart::SetOneScale(bool one) {
    if (one == oneScale_)
        return;
    oneScale_ = one;
    AttachScales();
}

void TrendChart::AttachScales() {
    shared_->setVisible(oneScale_ && !lines_.empty());
    for (Line& line : lines_) {
        for (QAbstractAxis* axis : line.series->attachedAxes())
            line.series->detachAxis(axis);
        line.series->attachAxis(time_);
        line.series->attachAxis(oneScale_ ? shared_ : line.axis);
        line.axis->setVisible(!oneScale_ && line.series->isVisible());
    }
}

void TrendChart::FitValueAxis(QValueAxis* axis, double low, double high) {
    if (!(low <= high)) {
        axis->setRange(0, 1);
        return;
    }
    double pad = (high - low) * 0.03;
    if (pad == 0)
        pad = low == 0 ? 1 : std::abs(low) * 0.01;
    low -= pad;
    high += pad;
    // About five steps of 1, 2, 2.5 or 5 times a power of ten, the range
    // rounded out to whole steps, and as many decimals as a step needs.
    const double rough = (high - low) / 5;
    const double magnitude = std::pow(10.0, std::floor(std::log10(rough)));
    const double mantissa = rough / magnitude;
    const double nice = mantissa <= 1     ? 1
                        : mantissa <= 2   ? 2
                        : mantissa <= 2.5 ? 2.5
                        : mantissa <= 5   ? 5
                                          : 10;
    const double step = nice * magnitude;
    const double from = std::floor(low / step) * step;
    const double to = std::ceil(high / step) * step;
    axis->setRange(from, to);
    axis->setTickCount(static_cast<int>(std::lround((to - from) / step)) + 1);
    const int decimals = std::clamp(
        static_cast<int>(-std::floor(std::log10(step) + 1e-9)) + (nice == 2.5 ? 1 : 0), 0, 9);
    axis->setLabelFormat(QString("%.%1f").arg(decimals));
}

void TrendChart::Show(const trend::TrendData& data, const std::function<QString(int)>& label,
                      std::int64_t from, std::int64_t to) {
    for (int field : data.PlottedFields())
        if (!Find(field))
            AddLine(field);
    time_->setFormat(TimeFormat(to - from));
    time_->setRange(QDateTime::fromMSecsSinceEpoch(from), QDateTime::fromMSecsSinceEpoch(to));
    const auto pixels = static_cast<std::size_t>(std::max(200.0, plotArea().width()));
    constexpr double none = std::numeric_limits<double>::infinity();
    double sharedLow = none, sharedHigh = -none;
    QList<QPointF> points;
    for (Line& line : lines_) {
        const QString name = label(line.field);
        if (line.series->name() != name)
            line.series->setName(name);
        const std::vector<trend::TrendPoint> drawn = data.Decimate(line.field, from, to, pixels);
        points.clear();
        points.reserve(static_cast<qsizetype>(drawn.size()));
        // The scale fits the points inside the span; the neighbours outside
        // only carry the line to the edges.
        double low = none, high = -none;
        for (const trend::TrendPoint& p : drawn) {
            points.append(QPointF(p.time, p.value));
            if (p.time >= static_cast<double>(from) && p.time <= static_cast<double>(to)) {
                low = std::min(low, p.value);
                high = std::max(high, p.value);
            }
        }
        line.series->replace(points);
        if (!line.series->isVisible())
            continue;
        FitValueAxis(line.axis, low, high);
        sharedLow = std::min(sharedLow, low);
        sharedHigh = std::max(sharedHigh, high);
    }
    FitValueAxis(shared_, sharedLow, sharedHigh);
}

} // namespace ui
