#include "ui/DialogButtons.h"

#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>

namespace ui {

QDialogButtonBox* OkCancelButtons(QDialog* dialog) {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return buttons;
}

QPushButton* AddChartAndOkCancel(QDialog* dialog, QBoxLayout* layout) {
    auto* chart = new QPushButton("ASCII C&hart...", dialog);
    chart->setObjectName("AsciiChartButton");
    chart->setAutoDefault(false); // Enter still means OK
    auto* row = new QHBoxLayout;
    row->addWidget(chart);
    row->addStretch(1);
    row->addWidget(OkCancelButtons(dialog));
    layout->addLayout(row);
    return chart;
}

QTableWidget* PickingTable(int rows, const QStringList& headers, QWidget* parent) {
    auto* table = new QTableWidget(rows, static_cast<int>(headers.size()), parent);
    table->setHorizontalHeaderLabels(headers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setTabKeyNavigation(false); // Tab leaves the list
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 6);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < headers.size(); ++column)
            table->setItem(row, column, new QTableWidgetItem);
    return table;
}

} // namespace ui
