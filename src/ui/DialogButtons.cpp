#include "ui/DialogButtons.h"

#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>

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

} // namespace ui
