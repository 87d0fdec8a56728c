#pragma once
// Serial Port Settings: the port (COM1 to COM256, with the device each name
// opens), baud rate, parity, data bits, stop bits, flow control and the two
// driver buffer sizes. The buffer sizes are checked while typing (the box
// turns red and says why) and on OK, where a size outside 128..131072 is
// refused with its message, the focus on its box and nothing stored. OK
// stores the values and marks the configuration changed when one differed.

#include "config/Config.h"
#include "config/MessageSink.h"

#include <QDialog>

#include <functional>
#include <string>

class QComboBox;
class QLabel;
class QLineEdit;

namespace ui {

class PortSetupDialog : public QDialog {
    Q_OBJECT
public:
    // devices: the device each COM name opens, shown beside the port list
    // ("COM1" -> "/dev/ttyUSB0"); may be empty.
    PortSetupDialog(config::Config& cfg, config::MessageSink& messages,
                    std::function<std::string(const std::string& comName)> deviceFor = nullptr,
                    QWidget* parent = nullptr);

    void accept() override;

    QComboBox* Port() const { return port_; }
    QComboBox* Baud() const { return baud_; }
    QComboBox* ParityBox() const { return parity_; }
    QComboBox* DataBitsBox() const { return dataBits_; }
    QComboBox* StopBitsBox() const { return stopBits_; }
    QComboBox* Flow() const { return flow_; }
    QLineEdit* InputBuffer() const { return input_; }
    QLineEdit* OutputBuffer() const { return output_; }

private:
    void CheckWhileTyping(QLineEdit* box);
    void ShowDevice();

    config::Config& cfg_;
    config::MessageSink& messages_;
    std::function<std::string(const std::string&)> deviceFor_;
    QComboBox* port_;
    QLabel* device_;
    QComboBox* baud_;
    QComboBox* parity_;
    QComboBox* dataBits_;
    QComboBox* stopBits_;
    QComboBox* flow_;
    QLineEdit* input_;
    QLineEdit* output_;
    QLabel* bufferNote_;
};

} // namespace ui
