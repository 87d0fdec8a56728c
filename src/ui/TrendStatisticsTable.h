#pragma once
// The trend window's table of figures: a row per plotted field, in the
// field's colour, with its count, last value, minimum, maximum, mean,
// standard deviation and rate of change. The figures are either those of
// the whole run (every value since the trend began, including those no
// longer kept) or those of the span shown; the rate is always that of the
// span shown. Cells can be selected and copied as tab-separated text, which
// a spreadsheet pastes into cells.

#include "engine/Locale.h"
#include "trend/TrendData.h"

#include <QColor>
#include <QTableWidget>

#include <cstdint>
#include <functional>

namespace ui {

class TrendStatisticsTable : public QTableWidget {
    Q_OBJECT
public:
    enum Column { FieldColumn, Count, Last, Minimum, Maximum, Mean, Deviation, Rate, Columns };

    TrendStatisticsTable(const engine::Locale& locale, QWidget* parent = nullptr);

    // Rows for the plotted fields of data; the rate (and, unless wholeRun,
    // every figure) over the span from `from` to `to`.
    void Show(const trend::TrendData& data, const std::function<QString(int)>& label,
              const std::function<QColor(int)>& color, std::int64_t from, std::int64_t to,
              bool wholeRun);

    // The selected cells (all of them, with the headings, when none is
    // selected), as lines of tab-separated cells.
    QString SelectedText() const;
    // The field shown in a row.
    int FieldOfRow(int row) const;

private:
    QString Figure(double value, int decimals, bool scientific) const;
    void SetCell(int row, int column, const QString& text);

    engine::Locale locale_;
    std::vector<int> fields_; // per row
};

} // namespace ui
