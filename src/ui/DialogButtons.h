#pragma once
// OK and Cancel for a dialog: OK runs the dialog's accept (where it checks
// and stores), Cancel closes it storing nothing.

class QDialog;
class QDialogButtonBox;

namespace ui {

QDialogButtonBox* OkCancelButtons(QDialog* dialog);

} // namespace ui
