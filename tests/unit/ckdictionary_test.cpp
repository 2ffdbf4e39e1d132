// SPDX-License-Identifier: Apache-2.0
//
// The dictionary of settings and its items. The sanitizers watch ownership.

#include "cardlib/ckdictionary.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

TEST(DictItem, HoldsFourBytesOfANumberOrTerminatedTextOrNothing)
{
    CKDictItem item(0x0A0B0C0DL);
    EXPECT_EQ(4u, item.size());
    EXPECT_EQ(0x0A0B0C0DL, static_cast<long>(item));
    EXPECT_EQ(0, std::memcmp(static_cast<const unsigned char*>(item), "\x0D\x0C\x0B\x0A", 4));
    EXPECT_EQ(-2L, static_cast<long>(CKDictItem(-2L))) << "the sign is kept";
    EXPECT_EQ(1L, static_cast<long>(CKDictItem(0x7700000001L))) << "the high half is not";
    const unsigned char* const pbNumber = item;
    item.assign(3L);
    EXPECT_EQ(pbNumber, static_cast<const unsigned char*>(item)) << "others may be reading it";
    EXPECT_EQ(3L, static_cast<long>(item));
    item.assign(reinterpret_cast<const unsigned char*>("a\0bcd"), 3);
    EXPECT_EQ(3u, item.size());
    EXPECT_EQ(0, std::memcmp(static_cast<const unsigned char*>(item), "a\0b", 4));
    EXPECT_EQ(0L, static_cast<long>(item)) << "fewer than four bytes are no number";
    item.assign("hello");
    EXPECT_EQ(5u, item.size());
    EXPECT_STREQ("hello", static_cast<const char*>(item));
    item.assign(static_cast<const unsigned char*>(item) + 1, 3);
    EXPECT_STREQ("ell", static_cast<const char*>(item)) << "its own bytes";
    for (const auto& empty : std::initializer_list<std::function<void()>>{
             [&] { item.reset(); }, [&] { item.assign(""); }, [&] { item.assign(nullptr, 3); },
             [&] { item.assign(static_cast<const char*>(nullptr)); }}) {
        item.assign(5L);
        empty();
        EXPECT_EQ(0u, item.size());
        EXPECT_EQ(0L, static_cast<long>(item));
        EXPECT_STREQ("", static_cast<const char*>(item));
        EXPECT_EQ(nullptr, static_cast<const unsigned char*>(item));
    }
}

/// Calls through a pointer of which the compiler and the sanitizer know nothing.
__attribute__((noinline, no_sanitize("undefined"))) void DestroyThrough(CKDictItem* pItem)
{
    CKDictItem* volatile pOpaque = pItem;
    pOpaque->Destroy(); // NOLINT(clang-analyzer-core.CallAndMessage): null is the point
}

TEST(DictItem, DestroyAcceptsANullPointer)
{
    DestroyThrough(CKDictItem::CreateInstance());
    DestroyThrough(nullptr);
}

TEST(Dict, ReadingInsertsAndErasingDoesNotDestroy)
{
    CKDict dict;
    EXPECT_EQ(nullptr, dict["KEY"]);
    EXPECT_EQ(1u, dict.size());
    CKDictItem* const pItem = new CKDictItem(7L);
    dict["KEY"] = pItem;
    dict["key"] = new CKDictItem(8L);
    EXPECT_EQ(7L, static_cast<long>(*dict[std::string("KEY").c_str()]));
    dict.erase("KEY");
    dict.erase("KEY");
    EXPECT_EQ(1u, dict.size());
    EXPECT_EQ(7L, static_cast<long>(*pItem));
    pItem->Destroy();
}

} // namespace
