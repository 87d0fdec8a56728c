#pragma once
// "ASCII Chart": the 256 character codes with their decimal and hexadecimal
// values and the character (or the name of a control character); the user
// picks one with OK or a double click.

#include <QDialog>

class QTableWidget;

namespace ui {

class AsciiChartDialog : public QDialog {
    Q_OBJECT
public:
    explicit AsciiChartDialog(QWidget* parent = nullptr);
    // Shows the chart over parent; true with the chosen code when the user
    // picked one (the default way the character buttons of a window ask).
    static bool PickCode(QWidget* parent, int& code);

    // The code of the selected row, -1 when none is.
    int SelectedCode() const;
    void SelectCode(int code);

    // The short name of a control character ("NUL", "CR", "DEL"), empty for
    // other codes.
    static QString ControlName(int code);

private:
    QTableWidget* table_;
};

} // namespace ui
