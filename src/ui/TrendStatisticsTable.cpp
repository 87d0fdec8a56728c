#include "ui/TrendStatisticsTable.h"

#include <QHeaderView>
#include <QPixmap>

#include <algorithm>
#include <cmath>

namespace ui {

namespace {

struct Heading {
    const char* text;
    const char* tip;
};
const Heading Headings[] = {
    {"Field", "The field's number and display format; click it in the legend to hide its line"},
    {"Count", "How many of the field's values read as numbers"},
    {"Last", "The latest value"},
    {"Minimum", "The lowest value"},
    {"Maximum", "The highest value"},
    {"Mean", "The average value"},
    {"Std. deviation", "The sample standard deviation (n - 1); none below two values"},
    {"Rate /min",
     "The rate of change over the span shown: the slope of the line that fits its points best, "
     "in units per minute"},
};

} // namespace

TrendStatisticsTable::TrendStatisticsTable(const engine::Locale& locale, QWidget* parent)
    : QTableWidget(0, Columns, parent), locale_(locale) {
    setObjectName("TrendStatistics");
    for (int c = 0; c < Columns; ++c) {
        auto* item = new QTableWidgetItem(Headings[c].text);
        item->setToolTip(Headings[c].tip);
        setHorizontalHeaderItem(c, item);
    }
    verticalHeader()->setVisible(false);
    // Every heading and figure whole, the figures side by side.
    horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    horizontalHeader()->setMinimumSectionSize(80);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setAlternatingRowColors(true);
}

int TrendStatisticsTable::FieldOfRow(int row) const {
    return row >= 0 && static_cast<std::size_t>(row) < fields_.size()
               ? fields_[static_cast<std::size_t>(row)]
               : 0;
}

QString TrendStatisticsTable::Figure(double value, int decimals, bool scientific) const {
    QString text = scientific ? QString::number(value, 'E', std::max(decimals, 2))
                              : QString::number(value, 'f', decimals);
    if (locale_.DecimalSeparator != '.')
        text.replace('.', QChar(locale_.DecimalSeparator));
    return text;
}

void TrendStatisticsTable::SetCell(int row, int column, const QString& text) {
    QTableWidgetItem* cell = item(row, column);
    if (!cell) {
        cell = new QTableWidgetItem;
        cell->setTextAlignment(Qt::AlignVCenter |
                               (column == FieldColumn ? Qt::AlignLeft : Qt::AlignRight));
        setItem(row, column, cell);
    }
    if (cell->text() != text)
        cell->setText(text);
}

void TrendStatisticsTable::Show(const trend::TrendData& data,
                                const std::function<QString(int)>& label,
                                const std::function<QColor(int)>& color, std::int64_t from,
                                std::int64_t to, bool wholeRun) {
    const std::vector<int> fields = data.PlottedFields();
    if (fields != fields_) {
        fields_ = fields;
        clearContents(); // rows may now show other fields
        setRowCount(static_cast<int>(fields_.size()));
    }
    for (int row = 0; row < rowCount(); ++row) {
        const int field = fields_[static_cast<std::size_t>(row)];
        SetCell(row, FieldColumn, label(field));
        if (item(row, FieldColumn)->icon().isNull()) {
            QPixmap swatch(12, 12);
            swatch.fill(color(field));
            item(row, FieldColumn)->setIcon(swatch);
        }

        const int decimals = data.Decimals(field);
        const bool scientific = data.Scientific(field);
        const trend::SpanSummary span = data.Summarize(field, from, to);
        std::size_t count = span.count;
        double last = span.last, minimum = span.minimum, maximum = span.maximum, mean = span.mean;
        std::optional<double> deviation = span.standardDeviation;
        if (wholeRun) {
            const trend::RunningStatistics& all = data.Statistics(field);
            count = all.Count();
            last = all.Last();
            minimum = all.Minimum();
            maximum = all.Maximum();
            mean = all.Mean();
            deviation = all.StandardDeviation();
        }
        const QString none = count == 0 ? QString() : QString("-");
        SetCell(row, Count, QString::number(count));
        SetCell(row, Last, count ? Figure(last, decimals, scientific) : QString());
        SetCell(row, Minimum, count ? Figure(minimum, decimals, scientific) : QString());
        SetCell(row, Maximum, count ? Figure(maximum, decimals, scientific) : QString());
        SetCell(row, Mean, count ? Figure(mean, decimals + 1, scientific) : QString());
        SetCell(row, Deviation, deviation ? Figure(*deviation, decimals + 1, scientific) : none);
        SetCell(row, Rate,
                span.ratePerMinute ? Figure(*span.ratePerMinute, decimals + 1, scientific) : none);
    }
}

QString TrendStatisticsTable::SelectedText() const {
    const QList<QTableWidgetItem*> selected = selectedItems();
    int top = rowCount(), bottom = -1, left = Columns, right = -1;
    for (const QTableWidgetItem* cell : selected) {
        top = std::min(top, cell->row());
        bottom = std::max(bottom, cell->row());
        left = std::min(left, cell->column());
        right = std::max(right, cell->column());
    }
    QStringList lines;
    if (selected.isEmpty()) {
        // Nothing selected: the whole table, headings first.
        top = 0;
        bottom = rowCount() - 1;
        left = 0;
        right = Columns - 1;
        QStringList headings;
        for (int c = left; c <= right; ++c)
            headings << horizontalHeaderItem(c)->text();
        lines << headings.join('\t');
    }
    for (int r = top; r <= bottom; ++r) {
        QStringList cells;
        for (int c = left; c <= right; ++c) {
            const QTableWidgetItem* cell = item(r, c);
            cells << (cell && (selected.isEmpty() || cell->isSelected()) ? cell->text()
                                                                         : QString());
        }
        lines << cells.join('\t');
    }
    return lines.join('\n') + '\n';
}

} // namespace ui
