// SPDX-License-Identifier: Apache-2.0
//
// A driver is a bundle, a directory with a property list that describes it: three lists of the same
// length name vendor, product and name of each reader.

#include "desk/drivers.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>

namespace desk {

namespace {

namespace fs = std::filesystem;

constexpr const char* DIRECTORIES[] = {"usr/lib/pcsc/drivers", "usr/lib64/pcsc/drivers"};

std::string WithAmpersands(std::string text)
{
    constexpr std::string_view ENTITY = "&amp;";
    for (auto at = text.find(ENTITY); at != std::string::npos; at = text.find(ENTITY, at + 1)) {
        text.erase(at + 1, ENTITY.size() - 1);
    }
    return text;
}

/// The strings that stand behind a key, up to the next key: one, or those of an array.
std::vector<std::string> StringsOf(std::string_view list, const std::string& strKey)
{
    constexpr std::string_view OPEN = "<string>", CLOSE = "</string>";
    const std::string strMarkedKey = "<key>" + strKey + "</key>";
    const auto key = list.find(strMarkedKey);
    if (key == std::string_view::npos) {
        return {};
    }
    list.remove_prefix(key + strMarkedKey.size());
    list = list.substr(0, list.find("<key>"));
    std::vector<std::string> strings;
    for (auto at = list.find(OPEN); at != std::string_view::npos; at = list.find(OPEN, at)) {
        at += OPEN.size();
        const auto end = std::min(list.find(CLOSE, at), list.size());
        strings.push_back(WithAmpersands(std::string(list.substr(at, end - at))));
    }
    return strings;
}

SDriver Describe(const fs::path& bundle)
{
    std::ifstream file(bundle / "Contents" / "Info.plist");
    const std::string strList{std::istreambuf_iterator<char>(file), {}};
    SDriver driver{bundle.stem(), {}, {}};
    for (const std::string& strVersion : StringsOf(strList, "CFBundleShortVersionString")) {
        driver.strVersion = strVersion;
    }
    const auto vendors = StringsOf(strList, "ifdVendorID");
    const auto products = StringsOf(strList, "ifdProductID");
    const auto names = StringsOf(strList, "ifdFriendlyName");
    for (std::size_t i = 0; i < std::min({vendors.size(), products.size(), names.size()}); ++i) {
        driver.readers[{HexNumber(vendors[i]), HexNumber(products[i])}] = names[i];
    }
    return driver;
}

} // namespace

unsigned HexNumber(const std::string& strDigits)
{
    return static_cast<unsigned>(std::strtoul(strDigits.c_str(), nullptr, 16));
}

std::vector<SDriver> InstalledDrivers(const fs::path& root)
{
    std::vector<SDriver> drivers;
    for (const char* szDirectory : DIRECTORIES) {
        std::error_code error;
        for (fs::directory_iterator entry(root / szDirectory, error), end; !error && entry != end;
             entry.increment(error)) {
            if (entry->path().extension() == ".bundle") {
                drivers.push_back(Describe(entry->path()));
            }
        }
    }
    return drivers;
}

} // namespace desk
