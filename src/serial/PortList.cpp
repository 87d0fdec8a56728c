#include "serial/PortList.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <system_error>

namespace fs = std::filesystem;

namespace serial {

namespace {

// The number that ends a device name ("ttyUSB10" -> 10), for number order.
long NumberOf(const std::string& name, std::size_t prefixLength) {
    long n = 0;
    for (std::size_t i = prefixLength; i < name.size(); ++i)
        n = n * 10 + (name[i] - '0');
    return n;
}

bool IsNumbered(const std::string& name, const std::string& prefix) {
    return name.size() > prefix.size() && name.compare(0, prefix.size(), prefix) == 0 &&
           std::all_of(name.begin() + static_cast<long>(prefix.size()), name.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

// The nodes dev/<prefix>N, in number order.
std::vector<fs::path> NumberedNodes(const fs::path& dev, const std::string& prefix) {
    std::vector<std::pair<long, fs::path>> found;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dev, ec)) {
        const std::string name = entry.path().filename().string();
        if (IsNumbered(name, prefix))
            found.emplace_back(NumberOf(name, prefix.size()), entry.path());
    }
    std::sort(found.begin(), found.end());
    std::vector<fs::path> nodes;
    for (auto& [n, path] : found)
        nodes.push_back(std::move(path));
    return nodes;
}

// The kernel creates ttyS0 to ttyS31 whatever the hardware; a port whose
// UART it found has a type other than 0 (PORT_UNKNOWN).
bool HasUart(const DeviceTree& tree, const std::string& name) {
    std::ifstream in(tree.sys / "class/tty" / name / "type");
    int type = 0;
    return in >> type && type != 0;
}

// The file a path finally is, for telling whether two names are one device.
std::string Resolved(const std::string& path) {
    std::error_code ec;
    fs::path p = fs::weakly_canonical(path, ec);
    return ec ? path : p.string();
}

} // namespace

std::vector<FoundDevice> FindSerialDevices(const DeviceTree& tree) {
    std::vector<FoundDevice> devices;
    std::set<std::string> listed; // resolved nodes

    std::vector<fs::path> byId;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(tree.dev / "serial/by-id", ec))
        byId.push_back(entry.path());
    std::sort(byId.begin(), byId.end());
    for (const fs::path& name : byId) {
        const std::string target = Resolved(name.string());
        if (fs::exists(target, ec) && listed.insert(target).second)
            devices.push_back({name.string(), target});
    }
    for (const char* prefix : {"ttyUSB", "ttyACM", "ttyS"})
        for (const fs::path& node : NumberedNodes(tree.dev, prefix)) {
            const std::string name = node.filename().string();
            if (std::strcmp(prefix, "ttyS") == 0 && !HasUart(tree, name))
                continue;
            if (listed.insert(Resolved(node.string())).second)
                devices.push_back({node.string(), node.string()});
        }
    return devices;
}

std::optional<std::string> NormalComName(const std::string& text) {
    if (text.size() < 4 || text.size() > 7)
        return std::nullopt;
    for (std::size_t i = 0; i < 3; ++i)
        if (std::toupper(static_cast<unsigned char>(text[i])) != "COM"[i])
            return std::nullopt;
    if (!IsNumbered(text, text.substr(0, 3)))
        return std::nullopt;
    const long n = NumberOf(text, 3);
    if (n < 1 || n > MaxComNumber)
        return std::nullopt;
    return "COM" + std::to_string(n);
}

std::vector<ComMapping> ComMappings(config::SettingsStore& store) {
    std::vector<ComMapping> mappings;
    for (int n = 1; n <= MaxComNumber; ++n) {
        const std::string name = "COM" + std::to_string(n);
        if (auto device = store.Get("Corvane", "Ports", name); device && !device->empty())
            mappings.push_back({name, *device});
    }
    return mappings;
}

ComNamesOfDevice ComNamesFor(const FoundDevice& device, const std::vector<ComMapping>& mappings) {
    const std::string target = Resolved(device.target);
    ComNamesOfDevice names;
    for (const ComMapping& m : mappings)
        if (Resolved(m.device) == target)
            names.mapped.push_back(m.comName);
    // An unmapped COMn opens /dev/ttyS(n-1).
    const std::string node = fs::path(target).filename().string();
    if (fs::path(target).parent_path() == "/dev" && IsNumbered(node, "ttyS")) {
        const long n = NumberOf(node, 4) + 1;
        const std::string name = "COM" + std::to_string(n);
        const bool mapped = std::any_of(mappings.begin(), mappings.end(),
                                        [&](const ComMapping& m) { return m.comName == name; });
        if (n <= MaxComNumber && !mapped)
            names.byDefault = name;
    }
    return names;
}

std::string OpenFailureReason(const OpenFailure& f) {
    switch (f.error) {
    case ENOENT:
        return f.device + " does not exist: is the instrument's adapter plugged in? " +
               "\"corvane ports\" lists the serial devices present.";
    case EBUSY:
    case EWOULDBLOCK:
        return f.device + " is in use by another program.";
    case EACCES:
    case EPERM:
        if (f.ownerGroup.empty() || f.ownerGroup == "root")
            return f.device + ": permission denied; only the administrator can open it.";
        switch (f.membership) {
        case OpenFailure::Membership::NextLogin:
            return f.device + ": permission denied. You were added to the group " +
                   f.ownerGroup + " that owns it; log out and in again for that to take effect.";
        case OpenFailure::Membership::None:
            return f.device + ": permission denied. It belongs to the group " + f.ownerGroup +
                   "; add yourself with: sudo usermod -aG " + f.ownerGroup +
                   " \"$USER\" and log out and in again.";
        case OpenFailure::Membership::InSession:
            break;
        }
        return f.device + ": permission denied.";
    default:
        return f.device + ": " + std::strerror(f.error) + ".";
    }
}

} // namespace serial
