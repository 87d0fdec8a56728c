#pragma once
// The translation table editor: one dialog for the four tables that map every
// byte 0..255.
//
// - Pre-input (PreInputTranslation), applied to each received byte before
//   framing: an entry is one replacement character, "Ignore" or "Void Record".
// - Keystroke mode (TranslationTable): an entry is a keystroke text; "NUL"
//   drops the character. Whether the text parses as keystrokes is shown as
//   it is typed, since a record holding a character whose text does not parse
//   types nothing at all.
// - DDE Server and Log To Disk modes (DdeTranslation, LogTranslation): one
//   replacement character per code.
//
// A list switches between the tables and the caption names the one shown. A
// row per code shows the code in decimal and hex, its character (or the name
// of a control character) and its entry, bold where it differs from the
// table's default; the editor beside it changes the selected entry, with the
// ASCII chart to pick a character by code. "Reset Table to Defaults" puts
// the shown table back to its default. OK stores the tables and marks the
// configuration changed when one of them differs; Cancel stores nothing.

#include "config/Config.h"

#include <QDialog>

#include <string>

class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QStackedWidget;
class QTableWidget;

namespace ui {

class TranslationTableDialog : public QDialog {
    Q_OBJECT
public:
    // The order of the tables in the dialog's list.
    enum Table { PreInput = 0, Keystroke = 1, Dde = 2, Log = 3 };

    TranslationTableDialog(config::Config& cfg, Table table, QWidget* parent = nullptr);
    void accept() override;

    // The table of a transfer mode: Send Keystrokes, DDE Server, else Log To
    // Disk.
    static Table TableForMode(config::Integer transferMode);
    // "Translation Table - Keystroke Mode" and so on.
    static QString Caption(Table table);

    QComboBox* Tables() const { return tables_; }
    QTableWidget* Codes() const { return codes_; }
    // Columns of Codes().
    enum Column { DecimalColumn = 0, HexColumn = 1, CharacterColumn = 2, EntryColumn = 3 };
    QRadioButton* ReplaceChoice() const { return replace_; }
    QRadioButton* IgnoreChoice() const { return ignore_; }
    QRadioButton* VoidChoice() const { return void_; }
    QLineEdit* Character() const { return character_; }
    QSpinBox* Code() const { return code_; }
    QLineEdit* Keystrokes() const { return keystrokes_; }
    QLabel* Verdict() const { return verdict_; }
    QPushButton* ChartButton() const { return chart_; }
    QPushButton* KeysButton() const { return keys_; }
    QPushButton* NulButton() const { return nul_; }
    QPushButton* ResetButton() const { return reset_; }

private:
    Table Shown() const;
    int CurrentCode() const;
    std::string Entry(Table table, int code) const;
    void SetEntry(int code, const std::string& entry);
    void ShowTable();
    void FillRow(int code);
    void LoadEditor();
    void ReplaceWithCode(int code);
    void ChooseFromChart();
    void ShowVerdict();

    config::Config& cfg_;
    config::ByteTable preInput_;
    config::ByteTable keystroke_;
    std::string dde_;
    std::string log_;
    bool loading_ = false; // the editor is being filled, not edited

    QComboBox* tables_;
    QTableWidget* codes_;
    QGroupBox* entryBox_;
    QStackedWidget* pages_;
    QRadioButton* replace_;
    QLabel* replaceLabel_;
    QRadioButton* ignore_;
    QRadioButton* void_;
    QLineEdit* character_;
    QSpinBox* code_;
    QLineEdit* keystrokes_;
    QLabel* verdict_;
    QPushButton* chart_;
    QPushButton* keys_;
    QPushButton* nul_;
    QLabel* note_;
    QPushButton* reset_;
};

} // namespace ui
