// SPDX-License-Identifier: Apache-2.0

#include "desk/versions.h"

#include "desk/drivers.h"

#include <fstream>
#include <pcsclite.h>
#include <string_view>
#include <sys/utsname.h>

namespace desk {

namespace {

/// The value of a line NAME="value" in the description of the operating system.
std::string SystemName()
{
    constexpr std::string_view NAME = "PRETTY_NAME=";
    std::ifstream file("/etc/os-release");
    for (std::string strLine; std::getline(file, strLine);) {
        if (strLine.starts_with(NAME)) {
            std::erase(strLine, '"');
            return strLine.substr(NAME.size());
        }
    }
    return {};
}

std::string KernelName()
{
    utsname kernel{};
    uname(&kernel);
    return std::string(kernel.sysname) + ' ' + kernel.release + ' ' + kernel.machine;
}

std::string DriverNames()
{
    std::string strAll;
    for (const SDriver& driver : InstalledDrivers("/")) {
        strAll += (strAll.empty() ? "" : ", ") + driver.strName + ' ' + driver.strVersion;
    }
    return strAll;
}

} // namespace

SVersions Versions()
{
    return {PCSCLITE_VERSION_NUMBER, SystemName(), KernelName(), DriverNames()};
}

} // namespace desk
