// SPDX-License-Identifier: Apache-2.0
//
// What takes part, in which version. Internal.

#ifndef DESK_VERSIONS_H
#define DESK_VERSIONS_H

#include <string>

namespace desk {

struct SVersions {
    std::string strPcscHeaders; ///< of pcsc-lite, with which the library was compiled
    std::string strSystem;      ///< perhaps empty
    std::string strKernel;      ///< with the machine's architecture, not its name
    std::string strDrivers;     ///< of readers, separated by ", "; perhaps none
};

SVersions Versions();

} // namespace desk

#endif
