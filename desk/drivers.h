// SPDX-License-Identifier: Apache-2.0
//
// The drivers of readers that are installed for the PC/SC service. Internal.

#ifndef DESK_DRIVERS_H
#define DESK_DRIVERS_H

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace desk {

/// Vendor and product of a USB device.
using UsbId = std::pair<unsigned, unsigned>;

/// A number as the kernel and the drivers write it; with or without 0x.
unsigned HexNumber(const std::string& strDigits);

struct SDriver {
    std::string strName;                  ///< of its bundle: "ifd-ccid"
    std::string strVersion;               ///< perhaps empty
    std::map<UsbId, std::string> readers; ///< that it knows, with the names it gives them
};

/// Their descriptions are read, themselves not loaded.
/// \param root  of the file system: "/" but for tests.
std::vector<SDriver> InstalledDrivers(const std::filesystem::path& root);

} // namespace desk

#endif
