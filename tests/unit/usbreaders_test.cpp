// SPDX-License-Identifier: Apache-2.0
//
// Readers that are on USB and not in PC/SC's list, over a file system of the test's own.

#include "desk/usbreaders.h"
#include "tests/support/scratch.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

namespace fs = std::filesystem;

constexpr const char* READER = "Mini & Co Reader [CCID Interface] (123) 00 00";
constexpr const char* SECOND_SLOT = "Mini & Co Reader [CCID Interface] (123) 00 01";

void Write(const fs::path& path, const std::string& strText)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path) << strText;
}

/// A reader, the hub that it is connected to, and a mouse.
void Connect(const fs::path& root, const std::string& strPort, const std::string& strTaker)
{
    const fs::path devices = root / "sys/bus/usb/devices";
    const fs::path interface = devices / (strPort + ":1.0");
    Write(devices / "usb1/idVendor", "1d6b\n");
    Write(devices / "1-9:1.0/bInterfaceClass", "03\n");
    Write(interface / "bInterfaceClass", "0b\n");
    Write(devices / strPort / "idVendor", "04e6\n");
    Write(devices / strPort / "idProduct", "5116\n");
    Write(devices / strPort / "product", "Mini\n");
    if (!strTaker.empty()) {
        fs::create_symlink("../../drivers/" + strTaker, interface / "driver");
    }
}

void Install(const fs::path& root, const std::string& strProducts)
{
    Write(root / "usr/lib/pcsc/drivers/ifd-some.bundle/Contents/Info.plist",
          "<dict><key>CFBundleShortVersionString</key><string>1.5</string>"
          "<key>ifdVendorID</key><array><string>0x04E6</string><string>0x04E6</string></array>"
          "<key>ifdProductID</key><array>" +
              strProducts +
              "</array><key>ifdFriendlyName</key><array><string>Other</string>"
              "<string>Mini &amp; Co Reader</string></array><key>Copyright</key></dict>");
}

TEST(UsbReaders, WhatIsHiddenHasItsReason)
{
    constexpr const char* KNOWN = "<string>0x1</string><string>0x5116</string>";
    constexpr const char* OTHERS = "<string>0x1</string><string>0x2</string>";
    using desk::EHidden;
    struct SRow {
        const char* szProducts; ///< that a driver knows; null: none is installed
        const char* szTaker;
        std::vector<std::string> shown;
        std::optional<EHidden> hidden;
    };
    const SRow ROWS[] = {
        {KNOWN, "usbfs", {"Something else 00 00", READER}, std::nullopt},
        {KNOWN, "", {READER}, std::nullopt},
        {OTHERS, "usbfs", {READER}, std::nullopt}, // the service has drivers that are not seen here
        {nullptr, "usbfs", {READER}, std::nullopt},
        {KNOWN, "", {}, EHidden::NOT_TOLD},
        {KNOWN, "", {"Something else 00 00"}, EHidden::NOT_TOLD},
        {KNOWN, "usbfs", {}, EHidden::TAKEN_BY_PROGRAM},
        {KNOWN, "pn533_usb", {}, EHidden::TAKEN_BY_KERNEL},
        {OTHERS, "", {}, EHidden::UNKNOWN},
        {nullptr, "", {}, EHidden::NO_DRIVERS},
    };
    for (const auto& [szProducts, szTaker, shown, hidden] : ROWS) {
        SCOPED_TRACE(std::string(szProducts == nullptr ? "none" : szProducts) + " " + szTaker);
        const CScratchDirectory root;
        Connect(root / "", "1-4.2", szTaker);
        if (szProducts != nullptr) {
            Install(root / "", szProducts);
        }
        const auto found = desk::HiddenReaders(shown, root / "");
        ASSERT_EQ(hidden ? 1U : 0U, found.size());
        if (hidden) {
            EXPECT_EQ(*hidden, found[0].eWhy);
            EXPECT_EQ("Mini (04e6:5116)", found[0].strName);
            EXPECT_EQ(szTaker, found[0].strTaker);
        }
    }
}

TEST(UsbReaders, OneOfTwoAlikeIsHiddenThoughTheOtherHasTwoSlots)
{
    const CScratchDirectory root;
    Connect(root / "", "1-1", "");
    Connect(root / "", "1-2", "usbfs");
    Install(root / "", "<string>0x1</string><string>0x5116</string>");
    const auto found = desk::HiddenReaders({READER, SECOND_SLOT}, root / "");
    ASSERT_EQ(1U, found.size());
    EXPECT_EQ(desk::EHidden::NOT_TOLD, found[0].eWhy);
}

} // namespace
