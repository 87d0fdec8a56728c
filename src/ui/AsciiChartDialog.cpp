#include "ui/AsciiChartDialog.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>

namespace ui {

QString AsciiChartDialog::ControlName(int code) {
    static const char* const names[32] = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL",
                                          "BS",  "TAB", "LF",  "VT",  "FF",  "CR",  "SO",  "SI",
                                          "DLE", "DC1", "DC2", "DC3", "DC4", "NAK", "SYN", "ETB",
                                          "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    if (code >= 0 && code < 32)
        return QString::fromLatin1(names[code]);
    if (code == 127)
        return QStringLiteral("DEL");
    if (code == 32)
        return QStringLiteral("SPACE");
    return {};
}

AsciiChartDialog::AsciiChartDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(tr("ASCII Chart"));
    setObjectName("AsciiChart");
    table_ = new QTableWidget(256, 3, this);
    table_->setObjectName("AsciiTable");
    table_->setHorizontalHeaderLabels({tr("Dec"), tr("Hex"), tr("Character")});
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    for (int code = 0; code < 256; ++code) {
        const QString name = ControlName(code);
        const QString shown = name.isEmpty() ? QString(QChar(code)) : name;
        const QString cells[3] = {QString::number(code),
                                  QString::asprintf("%02X", static_cast<unsigned>(code)), shown};
        for (int column = 0; column < 3; ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            item->setTextAlignment(column < 2 ? Qt::AlignRight | Qt::AlignVCenter
                                              : Qt::AlignLeft | Qt::AlignVCenter);
            table_->setItem(code, column, item);
        }
    }
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
    table_->resizeColumnsToContents();
    for (int column = 0; column < 2; ++column)
        table_->setColumnWidth(column, table_->columnWidth(column) + 16);
    table_->horizontalHeader()->setStretchLastSection(true);
    connect(table_, &QTableWidget::cellDoubleClicked, this, &QDialog::accept);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(table_);
    layout->addWidget(buttons);
    resize(320, 480);
    SelectCode(65);
}

bool AsciiChartDialog::PickCode(QWidget* parent, int& code) {
    AsciiChartDialog chart(parent);
    if (chart.exec() != QDialog::Accepted || chart.SelectedCode() < 0)
        return false;
    code = chart.SelectedCode();
    return true;
}

int AsciiChartDialog::SelectedCode() const {
    const auto rows = table_->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void AsciiChartDialog::SelectCode(int code) {
    table_->selectRow(code);
    table_->scrollToItem(table_->item(code, 0), QAbstractItemView::PositionAtCenter);
}

} // namespace ui
