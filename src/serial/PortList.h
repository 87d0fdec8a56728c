#pragma once
// Finding the serial devices of this machine and the COM names that open
// them, for `corvane ports`, and the reason a device could not be opened, in
// words a user can act on.

#include "config/SettingsStore.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace serial {

// Where devices are looked for: "/dev" and "/sys" on a running system, a
// folder tree in tests.
struct DeviceTree {
    std::filesystem::path dev = "/dev";
    std::filesystem::path sys = "/sys";
};

struct FoundDevice {
    std::string path;   // as a user names it: the /dev/serial/by-id name when there is one
    std::string target; // the device node it is (== path for plain nodes)
};

// The serial devices present: the /dev/serial/by-id names first (stable
// across re-plugging), then ttyUSB*, ttyACM* and the ttyS* ports whose UART
// the kernel found, each group in number order. A node already listed
// under its by-id name is not listed again.
std::vector<FoundDevice> FindSerialDevices(const DeviceTree& tree = {});

// The highest COM number a configuration can name (PortNumber 0..255).
inline constexpr int MaxComNumber = 256;

// "COM3" for "COM3", "com3" or "Com03"; nullopt for anything else, or for a
// number outside 1..MaxComNumber.
std::optional<std::string> NormalComName(const std::string& text);

// One entry of the "Ports" section of the settings store.
struct ComMapping {
    std::string comName;
    std::string device;
};

// Every COM name the settings store maps, in number order.
std::vector<ComMapping> ComMappings(config::SettingsStore& store);

// The COM names that open device (compared as the file it finally is, so a
// by-id name and its node are one device): the ones mapped to it, in number
// order, and the COM name whose default /dev/ttyS(n-1) it is, when that name
// has no entry of its own.
struct ComNamesOfDevice {
    std::vector<std::string> mapped;
    std::string byDefault; // empty when none
};
ComNamesOfDevice ComNamesFor(const FoundDevice& device, const std::vector<ComMapping>& mappings);

// What stands in the way of opening a device, for the second line of "Device
// COMn Not Available.": the system's reason, and what to do about it.
struct OpenFailure {
    // This user's standing in the group that owns the device node. Group
    // membership takes effect at the next login, so a user who has just been
    // added is a member of the group but not yet of this session's groups.
    enum class Membership { InSession, NextLogin, None };

    std::string device;
    int error = 0;          // errno of open(), or EWOULDBLOCK: another program holds the lock
    std::string ownerGroup; // the group owning the node (for EACCES)
    Membership membership = Membership::None;
};
std::string OpenFailureReason(const OpenFailure& failure);

} // namespace serial
