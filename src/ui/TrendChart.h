#pragma once
// The trend's chart: one line per plotted field against the local time of
// day, each field in its own colour. By default each field has a value axis
// of its own in its colour (alternately left and right), since the fields
// of a record seldom share a unit (a temperature beside a pressure); one
// scale for all can be chosen instead. Clicking a field in the legend hides
// its line and axis, clicking it again shows them. Lines are drawn from the
// decimated points of the span (TrendData::Decimate), so a long span costs
// about as much as a short one.

#include "trend/TrendData.h"

#include <QChart>
#include <QColor>
#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

class QDateTimeAxis;
class QLegendMarker;
class QLineSeries;
class QValueAxis;

namespace ui {

class TrendChart : public QChart {
    Q_OBJECT
public:
    TrendChart();

    // Draws the plotted fields of data delivered from `from` to `to`
    // (milliseconds since 1970), a line for each named label(field); a field
    // plotted for the first time gets its line.
    void Show(const trend::TrendData& data, const std::function<QString(int)>& label,
              std::int64_t from, std::int64_t to);
    // Forgets every line (the data were cleared).
    void Clear();
    // One value axis for every field, or one per field.
    void SetOneScale(bool one);
    bool OneScale() const { return oneScale_; }

    // The fields that have a line, in number order, and what shows them.
    std::vector<int> Fields() const;
    QLineSeries* SeriesOf(int field) const;
    QValueAxis* AxisOf(int field) const;
    QColor ColorOf(int field) const;
    bool IsHidden(int field) const;
    // As a click on the field's legend entry does.
    void SetHidden(int field, bool hidden);

private:
    struct Line {
        int field = 0;
        QLineSeries* series = nullptr;
        QValueAxis* axis = nullptr; // its own scale
    };

    Line& AddLine(int field);
    void AttachScales();
    void FitValueAxis(QValueAxis* axis, double low, double high);
    void ShowMarker(QLegendMarker* marker, bool hidden);
    const Line* Find(int field) const;

    std::vector<Line> lines_;
    QDateTimeAxis* time_ = nullptr;
    QValueAxis* shared_ = nullptr;
    bool oneScale_ = false;
};

} // namespace ui
