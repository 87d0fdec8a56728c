#include "ui/PortSetupDialog.h"

#include "config/Validation.h"
#include "serial/PortSettings.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace ui {

namespace {

QComboBox* List(const QStringList& items, long index, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->addItems(items);
    box->setCurrentIndex(index >= 0 && index < items.size() ? static_cast<int>(index) : 0);
    return box;
}

// The number in a buffer size box, or -1 when it holds none.
long Number(const QLineEdit* box) {
    bool ok = false;
    const long value = box->text().trimmed().toLong(&ok);
    return ok ? value : -1;
}

} // namespace

PortSetupDialog::PortSetupDialog(config::Config& cfg, config::MessageSink& messages,
                                 std::function<std::string(const std::string&)> deviceFor,
                                 QWidget* parent)
    : QDialog(parent), cfg_(cfg), messages_(messages), deviceFor_(std::move(deviceFor)) {
    setWindowTitle("Serial Port Settings");
    auto* form = new QFormLayout;

    QStringList ports;
    for (int i = 1; i <= 256; ++i)
        ports << QString("COM%1").arg(i);
    port_ = List(ports, cfg.PortNumber, this);
    device_ = new QLabel(this);
    device_->setObjectName("Device");
    auto* portRow = new QHBoxLayout;
    portRow->addWidget(port_);
    portRow->addWidget(device_, 1);
    form->addRow("&Port:", portRow);
    static_cast<QLabel*>(form->labelForField(portRow))->setBuddy(port_);
    connect(port_, &QComboBox::currentIndexChanged, this, [this] { ShowDevice(); });

    QStringList rates;
    for (int i = 0; i <= 13; ++i)
        rates << QString::number(serial::BaudRateFor(i));
    baud_ = List(rates, cfg.BaudRate, this);
    form->addRow("&Baud rate:", baud_);
    parity_ = List({"None", "Odd", "Even", "Mark", "Space"}, cfg.Parity, this);
    form->addRow("P&arity:", parity_);
    dataBits_ = List({"5", "6", "7", "8"}, cfg.DataBits, this);
    form->addRow("&Data bits:", dataBits_);
    stopBits_ = List({"1", "1.5", "2"}, cfg.StopBits, this);
    form->addRow("&Stop bits:", stopBits_);
    flow_ = List({"None", "Xon/Xoff", "Hardware", "Opto-RS"}, cfg.FlowControl, this);
    form->addRow("&Flow Control:", flow_);

    input_ = new QLineEdit(QString::number(cfg.InputBufferSize), this);
    input_->setObjectName("InputBufferSize");
    output_ = new QLineEdit(QString::number(cfg.OutputBufferSize), this);
    output_->setObjectName("OutputBufferSize");
    for (QLineEdit* box : {input_, output_}) {
        box->setValidator(new QIntValidator(0, 99999999, box));
        connect(box, &QLineEdit::textEdited, this, [this, box] { CheckWhileTyping(box); });
    }
    form->addRow("&Input Buffer Size:", input_);
    form->addRow("&Output Buffer Size:", output_);
    bufferNote_ = new QLabel(this);
    bufferNote_->setObjectName("BufferNote");
    bufferNote_->setStyleSheet("color: #b00020");
    form->addRow("", bufferNote_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    ShowDevice();
}

void PortSetupDialog::ShowDevice() {
    const std::string name = port_->currentText().toStdString();
    const std::string device = deviceFor_ ? deviceFor_(name) : std::string();
    device_->setText(device.empty() ? QString() : "opens " + QString::fromLocal8Bit(device.c_str()));
}

void PortSetupDialog::CheckWhileTyping(QLineEdit* box) {
    // Said at once, refused only on OK: the user may be half-way through
    // typing a valid number.
    const config::Check bad = config::CheckBufferSize(Number(box));
    box->setStyleSheet(bad ? "border: 1px solid #b00020" : "");
    const bool anyBad =
        config::CheckBufferSize(Number(input_)) || config::CheckBufferSize(Number(output_));
    bufferNote_->setText(anyBad ? "Buffer Size Must Be Between 128 and 131072" : "");
}

void PortSetupDialog::accept() {
    for (QLineEdit* box : {input_, output_})
        if (const config::Check bad = config::CheckBufferSize(Number(box))) {
            messages_.Show({bad->text, bad->title, config::MessageIcon::Exclamation,
                            config::MessageButtons::Ok});
            box->setFocus();
            box->selectAll();
            return; // nothing stored
        }
    const QComboBox* lists[] = {port_, baud_, parity_, dataBits_, stopBits_, flow_};
    config::Integer* settings[] = {&cfg_.PortNumber, &cfg_.BaudRate,  &cfg_.Parity,
                                   &cfg_.DataBits,   &cfg_.StopBits,  &cfg_.FlowControl};
    bool changed = false;
    for (std::size_t i = 0; i < 6; ++i) {
        const auto value = static_cast<config::Integer>(lists[i]->currentIndex());
        if (*settings[i] != value) {
            *settings[i] = value;
            changed = true;
        }
    }
    const long in = Number(input_), out = Number(output_);
    if (cfg_.InputBufferSize != in || cfg_.OutputBufferSize != out) {
        cfg_.InputBufferSize = static_cast<config::Long>(in);
        cfg_.OutputBufferSize = static_cast<config::Long>(out);
        changed = true;
    }
    if (changed)
        cfg_.ConfigChanged = config::True;
    QDialog::accept();
}

} // namespace ui
