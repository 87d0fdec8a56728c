// `corvane ports`: the serial devices present, each with the COM name that
// opens it, then the COM names mapped to devices that are not present now.
// `corvane ports map COMn DEVICE`: COMn opens DEVICE from now on (the
// "Ports" section of the settings store).

#include "app/Commands.h"
#include "app/Help.h"
#include "config/QtSettingsStore.h"
#include "serial/PortList.h"
#include "serial/PosixPort.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace app {

namespace {

int ListPorts() {
    config::QtSettingsStore store;
    const std::vector<serial::ComMapping> mappings = serial::ComMappings(store);
    const std::vector<serial::FoundDevice> devices = serial::FindSerialDevices();

    struct Row {
        std::string device, comName;
    };
    std::vector<Row> rows;
    std::vector<std::string> notes;
    std::vector<std::string> listedComNames;
    bool unnamed = false;
    for (const serial::FoundDevice& d : devices) {
        const serial::ComNamesOfDevice com = serial::ComNamesFor(d, mappings);
        std::string names;
        for (const std::string& name : com.mapped) {
            names += (names.empty() ? "" : ", ") + name;
            listedComNames.push_back(name);
        }
        if (!com.byDefault.empty())
            names += (names.empty() ? "" : ", ") + com.byDefault + " (default)";
        unnamed = unnamed || names.empty();
        Row row{d.path == d.target ? d.path : d.path + " (" + d.target + ")",
                names.empty() ? std::string("-") : names};
        if (::access(d.target.c_str(), R_OK | W_OK) != 0)
            notes.push_back(serial::OpenFailureReason(serial::DescribeOpenFailure(d.target, errno)));
        rows.push_back(std::move(row));
    }

    if (rows.empty()) {
        std::cout << "No serial device was found.\n";
    } else {
        std::size_t width = 6;
        for (const Row& r : rows)
            width = std::max(width, r.device.size());
        std::cout << "DEVICE" << std::string(width - 6 + 2, ' ') << "COM NAME\n";
        for (const Row& r : rows)
            std::cout << r.device << std::string(width - r.device.size() + 2, ' ') << r.comName
                      << '\n';
    }
    // Mappings whose device is not in the list: unplugged, or not a serial
    // device this command looks for (a pseudo-terminal, a socat link).
    bool heading = false;
    for (const serial::ComMapping& m : mappings) {
        if (std::find(listedComNames.begin(), listedComNames.end(), m.comName) !=
            listedComNames.end())
            continue;
        if (!heading)
            std::cout << "\nCOM names of devices not listed above:\n";
        heading = true;
        std::error_code ec;
        std::cout << m.comName << "  " << m.device
                  << (fs::exists(m.device, ec) ? "" : " (not present)") << '\n';
    }
    for (const std::string& note : notes)
        std::cout << '\n' << note << '\n';
    if (unnamed)
        std::cout << "\nGive a device a COM name with: corvane ports map COMn DEVICE\n";
    return 0;
}

int MapPort(const std::string& comText, const std::string& deviceText) {
    const std::optional<std::string> com = serial::NormalComName(comText);
    if (!com) {
        std::cerr << "corvane: ports map: " << comText << " is not a COM name (COM1 to COM"
                  << serial::MaxComNumber << ")\n";
        return 2;
    }
    if (deviceText.empty()) {
        std::cerr << "corvane: ports map: the device is missing\n";
        return 2;
    }
    // Runtimes start from any folder: the device is kept as an absolute path.
    std::error_code ec;
    const std::string device = fs::absolute(deviceText, ec).lexically_normal().string();
    config::QtSettingsStore store;
    store.Set("Corvane", "Ports", *com, device);
    std::cout << *com << " opens " << device << '\n';
    if (!fs::exists(device, ec))
        std::cerr << "corvane: " << device << " does not exist now; " << *com
                  << " opens it once it does.\n";
    return 0;
}

} // namespace

int CmdPorts(const Args& args) {
    if (args.empty())
        return ListPorts();
    if (args.size() == 3 && args[0] == "map")
        return MapPort(args[1], args[2]);
    return UsageError("ports");
}

} // namespace app
