#pragma once
// What the configuration asks of the line, independent of any driver: the
// settings-to-line mapping and the COM-name-to-device lookup.

#include "config/Config.h"
#include "config/SettingsStore.h"

#include <optional>
#include <string>

namespace serial {

enum class Parity { None, Odd, Even, Mark, Space };
enum class StopBits { One, OneAndHalf, Two };
enum class FlowControl { None, XonXoff, Hardware, OptoRs };

struct LineSettings {
    long baudRate = 9600;
    int dataBits = 7;
    Parity parity = Parity::Even;
    StopBits stopBits = StopBits::One;
    FlowControl flow = FlowControl::None;
    bool operator==(const LineSettings&) const = default;
};

// 0 = 110 ... 13 = 256000; index 6 and every unknown index give 9600.
long BaudRateFor(int index);

LineSettings MapSettings(const config::Config& cfg);

// The device a configuration opens: the override when given, else the
// "Ports" entry of the settings store for its COM name, else /dev/ttyS(n-1).
std::string DevicePathFor(const config::Config& cfg, config::SettingsStore& store,
                          const std::optional<std::string>& overridePath);

} // namespace serial
