#pragma once
// OK and Cancel for a dialog: OK runs the dialog's accept (where it checks
// and stores), Cancel closes it storing nothing.

class QBoxLayout;
class QDialog;
class QDialogButtonBox;
class QPushButton;

namespace ui {

QDialogButtonBox* OkCancelButtons(QDialog* dialog);

// The bottom row of a dialog that edits characters: "ASCII Chart..." on the
// left, OK and Cancel on the right, added to layout. Returns the chart button.
QPushButton* AddChartAndOkCancel(QDialog* dialog, QBoxLayout* layout);

} // namespace ui
