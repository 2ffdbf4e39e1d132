// SPDX-License-Identifier: Apache-2.0
//
// The kernel shows each interface of a USB device as a directory, with its class and a link to the
// driver that has it. The service names a reader after the entry of its driver: "NAME [interface]
// (serial number) RR SS", with the numbers of reader and slot.

#include "desk/usbreaders.h"

#include "desk/drivers.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace desk {

namespace {

namespace fs = std::filesystem;

constexpr const char* DEVICES = "sys/bus/usb/devices";
constexpr const char* SMART_CARD_CLASS = "0b";
constexpr const char* BY_A_PROGRAM = "usbfs"; // the kernel's door for drivers that are programs
constexpr std::size_t SLOT_LENGTH = 3;        // " SS"

std::string Attribute(const fs::path& directory, const char* szName)
{
    std::string strValue;
    std::getline(std::ifstream(directory / szName), strValue);
    return strValue;
}

struct SUsbReader {
    UsbId id;
    std::string strName;
    std::string strTaker;           ///< the driver that has the interface; empty: none
    std::vector<std::string> names; ///< that the installed drivers give it
};

SUsbReader Describe(const fs::path& interface)
{
    const std::string strInterface = interface.filename(); // 1-4.2:1.0 is of the device 1-4.2
    const fs::path device =
        interface.parent_path() / strInterface.substr(0, strInterface.find(':'));
    std::string strName;
    for (const char* szAttribute : {"manufacturer", "product"}) {
        const std::string strPart = Attribute(device, szAttribute);
        strName += strPart.empty() ? "" : strPart + ' ';
    }
    const std::string strVendor = Attribute(device, "idVendor");
    const std::string strProduct = Attribute(device, "idProduct");
    std::error_code none;
    SUsbReader reader;
    reader.id = {HexNumber(strVendor), HexNumber(strProduct)};
    reader.strName = strName + '(' + strVendor + ':' + strProduct + ')';
    reader.strTaker = fs::read_symlink(interface / "driver", none).filename();
    return reader;
}

std::vector<SUsbReader> ReadersOnUsb(const fs::path& root)
{
    std::set<fs::path> interfaces; // in an order that stays
    std::error_code error;
    for (fs::directory_iterator entry(root / DEVICES, error), end; !error && entry != end;
         entry.increment(error)) {
        if (Attribute(entry->path(), "bInterfaceClass") == SMART_CARD_CLASS) {
            interfaces.insert(entry->path());
        }
    }
    std::vector<SUsbReader> readers;
    std::transform(interfaces.begin(), interfaces.end(), std::back_inserter(readers), Describe);
    return readers;
}

/// The readers of PC/SC's list, without their slots, until each has met its device.
class CShown {
public:
    explicit CShown(const std::vector<std::string>& names)
    {
        for (const std::string& strName : names) {
            m_readers.insert(
                strName.substr(0, std::max(strName.size(), SLOT_LENGTH) - SLOT_LENGTH));
        }
    }
    bool Meets(const std::string& strStart)
    {
        const auto found =
            std::find_if(m_readers.begin(), m_readers.end(), [&](const std::string& strReader) {
                return strReader.starts_with(strStart);
            });
        if (found == m_readers.end()) {
            return false;
        }
        m_readers.erase(found);
        return true;
    }

private:
    std::set<std::string> m_readers;
};

std::vector<std::string> NamesFor(UsbId id, const std::vector<SDriver>& drivers)
{
    std::vector<std::string> names;
    for (const SDriver& driver : drivers) {
        if (const auto known = driver.readers.find(id); known != driver.readers.end()) {
            names.push_back(known->second);
        }
    }
    return names;
}

EHidden Why(const SUsbReader& reader, bool bAnyDriver)
{
    if (!reader.strTaker.empty()) {
        return reader.strTaker == BY_A_PROGRAM ? EHidden::TAKEN_BY_PROGRAM
                                               : EHidden::TAKEN_BY_KERNEL;
    }
    if (!reader.names.empty()) {
        return EHidden::NOT_TOLD;
    }
    return bAnyDriver ? EHidden::UNKNOWN : EHidden::NO_DRIVERS;
}

} // namespace

std::vector<SHiddenReader> HiddenReaders(const std::vector<std::string>& shown,
                                         const fs::path& root)
{
    const std::vector<SDriver> drivers = InstalledDrivers(root);
    std::vector<SUsbReader> readers = ReadersOnUsb(root);
    for (SUsbReader& reader : readers) {
        reader.names = NamesFor(reader.id, drivers);
    }
    // The service has its readers through usbfs. One that no driver here knows can be any that is
    // left: the service may see other drivers than we do.
    std::stable_sort(readers.begin(), readers.end(), [](const auto& a, const auto& b) {
        const auto rank = [](const SUsbReader& reader) {
            return std::pair(reader.names.empty(), reader.strTaker != BY_A_PROGRAM);
        };
        return rank(a) < rank(b);
    });
    CShown left(shown);
    std::vector<SHiddenReader> hidden;
    for (const SUsbReader& reader : readers) {
        const bool bShown =
            reader.names.empty()
                ? left.Meets("")
                : std::any_of(reader.names.begin(), reader.names.end(),
                              [&](const std::string& strName) { return left.Meets(strName); });
        if (!bShown) {
            hidden.push_back({reader.strName, Why(reader, !drivers.empty()), reader.strTaker});
        }
    }
    return hidden;
}

} // namespace desk
