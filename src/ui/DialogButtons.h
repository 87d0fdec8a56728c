#pragma once
// Parts that several dialogs share: OK and Cancel (OK runs the dialog's
// accept, where it checks and stores; Cancel closes it storing nothing), the
// row with the ASCII chart button, and the list of rows to pick from.

#include <QStringList>

class QBoxLayout;
class QDialog;
class QDialogButtonBox;
class QPushButton;
class QTableWidget;
class QWidget;

namespace ui {

QDialogButtonBox* OkCancelButtons(QDialog* dialog);

// The bottom row of a dialog that edits characters: "ASCII Chart..." on the
// left, OK and Cancel on the right, added to layout. Returns the chart button.
QPushButton* AddChartAndOkCancel(QDialog* dialog, QBoxLayout* layout);

// A read-only list of rows to pick one from (the output strings, the hot-key
// slots): whole rows selected, one at a time, an empty item in every cell.
QTableWidget* PickingTable(int rows, const QStringList& headers, QWidget* parent);

} // namespace ui
