#include "serial/PortSettings.h"

namespace serial {

long BaudRateFor(int index) {
    static const long rates[] = {110,   300,   600,   1200,  2400,   4800,   9600,
                                 14400, 19200, 38400, 57600, 115200, 128000, 256000};
    if (index < 0 || index > 13)
        return 9600;
    return rates[index];
}

LineSettings MapSettings(const config::Config& cfg) {
    LineSettings s;
    s.baudRate = BaudRateFor(cfg.BaudRate);
    s.dataBits = cfg.DataBits + 5;
    if (s.dataBits < 5 || s.dataBits > 8)
        s.dataBits = 8;
    static const Parity parities[] = {Parity::None, Parity::Odd, Parity::Even, Parity::Mark,
                                      Parity::Space};
    s.parity = cfg.Parity >= 0 && cfg.Parity <= 4 ? parities[cfg.Parity] : Parity::None;
    s.stopBits = cfg.StopBits == 1   ? StopBits::OneAndHalf
                 : cfg.StopBits == 2 ? StopBits::Two
                                     : StopBits::One;
    static const FlowControl flows[] = {FlowControl::None, FlowControl::XonXoff,
                                        FlowControl::Hardware, FlowControl::OptoRs};
    s.flow =
        cfg.FlowControl >= 0 && cfg.FlowControl <= 3 ? flows[cfg.FlowControl] : FlowControl::None;
    return s;
}

std::string DevicePathFor(const config::Config& cfg, config::SettingsStore& store,
                          const std::optional<std::string>& overridePath) {
    if (overridePath && !overridePath->empty())
        return *overridePath;
    std::string name = config::PortName(cfg);
    if (auto mapped = store.Get("Corvane", "Ports", name); mapped && !mapped->empty())
        return *mapped;
    return "/dev/ttyS" + std::to_string(cfg.PortNumber);
}

} // namespace serial
