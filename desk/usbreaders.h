// SPDX-License-Identifier: Apache-2.0
//
// Readers that are on USB, and not in PC/SC's list. Internal.

#ifndef DESK_USBREADERS_H
#define DESK_USBREADERS_H

#include <filesystem>
#include <string>
#include <vector>

namespace desk {

enum class EHidden {
    NO_DRIVERS,       ///< none is installed at all
    UNKNOWN,          ///< to every driver
    TAKEN_BY_KERNEL,  ///< by a driver of the kernel
    TAKEN_BY_PROGRAM, ///< by the service without success, or by a program that goes past it
    NOT_TOLD
};

struct SHiddenReader {
    std::string strName; ///< as the device gives it, and vendor and product
    EHidden eWhy;
    std::string strTaker; ///< the kernel's driver, with TAKEN_BY_KERNEL
};

/// \param shown  the names of PC/SC's readers
/// \param root   of the file system: "/" but for tests.
std::vector<SHiddenReader> HiddenReaders(const std::vector<std::string>& shown,
                                         const std::filesystem::path& root);

} // namespace desk

#endif
