// SPDX-License-Identifier: Apache-2.0
//
// PKCS#11 attribute templates. The sanitizers watch who frees what.

#include "cardlib/utils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

CK_ATTRIBUTE Text(CK_ATTRIBUTE_TYPE type, const char* szValue)
{
    return {type, const_cast<char*>(szValue), std::strlen(szValue)};
}

/// "3=new 7=b 5(4)": type and value; a length alone where the value is null.
std::string Describe(const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount)
{
    std::string text;
    for (const CK_ATTRIBUTE* p = pTemplate; p != pTemplate + ulCount; ++p) {
        text +=
            std::to_string(p->type) +
            (p->pValue != nullptr ? "=" + std::string(static_cast<char*>(p->pValue), p->ulValueLen)
                                  : "(" + std::to_string(p->ulValueLen) + ")") +
            " ";
    }
    return text;
}

const CK_ATTRIBUTE TEMPLATE[] = {Text(3, "first"), Text(5, "second"), Text(3, "hidden")};

TEST(Attributes, TheFirstOfATypeIsFoundAndCopiedOnlyIfItFits)
{
    CK_ULONG ulSize = 0, ulPos = 9;
    void* pValue = nullptr;
    EXPECT_EQ(0, GetAttributePos(3, TEMPLATE, 3));
    EXPECT_EQ(reinterpret_cast<CK_ULONG>(TEMPLATE[1].pValue),
              GetAttribute(5, TEMPLATE, 3, &ulSize, &ulPos));
    EXPECT_EQ(6u, ulSize);
    EXPECT_EQ(1u, ulPos);
    EXPECT_EQ(5u, GetAttributeLen(3, TEMPLATE, 3));
    EXPECT_TRUE(GetAttribute3(3, TEMPLATE, 3, &pValue, &ulSize, nullptr));
    EXPECT_EQ(TEMPLATE[0].pValue, pValue);
    EXPECT_EQ(-1, GetAttributePos(7, TEMPLATE, 3));
    EXPECT_EQ(-1, GetAttributePos(3, nullptr, 3));
    EXPECT_EQ(0u, GetAttribute(7, TEMPLATE, 3, nullptr, nullptr));
    EXPECT_EQ(0u, GetAttributeLen(7, TEMPLATE, 3));
    EXPECT_FALSE(GetAttribute2(3, TEMPLATE, 3, nullptr, nullptr, nullptr));
    EXPECT_FALSE(GetAttribute3(7, TEMPLATE, 3, &pValue, &ulSize, nullptr));
    EXPECT_EQ(nullptr, pValue);

    const std::pair<CK_ULONG, const char*> rooms[] = {
        {4, "........"}, {5, "first..."}, {8, "first..."}};
    for (const auto& [ulRoom, szExpected] : rooms) {
        char value[] = "........";
        ulSize = ulRoom;
        EXPECT_TRUE(GetAttribute2(3, TEMPLATE, 3, value, &ulSize, &ulPos)) << ulRoom;
        EXPECT_STREQ(szExpected, value);
        EXPECT_EQ(5u, ulSize) << "the length that is needed";
        EXPECT_EQ(0u, ulPos);
    }
}

TEST(Templates, AreAllocatedFreedAndCopiedDeeply)
{
    CK_ATTRIBUTE records[] = {{1, nullptr, 16}, {2, nullptr, 0}};
    ASSERT_TRUE(CK_TemplateAlloc(records, 2));
    std::memset(records[0].pValue, 0xAA, 16);
    EXPECT_EQ(nullptr, records[1].pValue);
    EXPECT_TRUE(CK_TemplateFree(records, 2, true));
    EXPECT_EQ("1(0) 2(0) ", Describe(records, 2));
    EXPECT_FALSE(CK_TemplateAlloc(nullptr, 2));
    EXPECT_FALSE(CK_TemplateFree(records, 0, true));

    char value[] = "abc", empty[] = "";
    const CK_ATTRIBUTE source[] = {Text(1, value), {2, nullptr, 4}, {3, empty, 0}};
    CK_ATTRIBUTE* pCopy = nullptr;
    ASSERT_TRUE(CK_TemplateCopy(source, 3, &pCopy));
    value[0] = 'x';
    EXPECT_EQ("1=abc 2(4) 3(0) ", Describe(pCopy, 3));
    EXPECT_TRUE(CK_TemplateFree(pCopy, 3, false));
}

TEST(Templates, SizesThatNoMemoryHoldsAreAFailure)
{
    // what a token stores as the length of a value it will not give
    CK_ATTRIBUTE record = {1, &record, ~0ul};
    CK_ATTRIBUTE* pCopy = nullptr;
    EXPECT_FALSE(CK_TemplateCopy(&record, 1, &pCopy));
    EXPECT_EQ(nullptr, pCopy);
    record.pValue = nullptr;
    EXPECT_FALSE(CK_TemplateAlloc(&record, 1));
    constexpr CK_ULONG TOO_MANY = CK_ULONG{1} << 59;
    CK_ULONG ulOut = 0;
    EXPECT_FALSE(CK_TemplateCopy(TEMPLATE, TOO_MANY, &pCopy));
    EXPECT_FALSE(CK_TemplateMerge(TEMPLATE, TOO_MANY, TEMPLATE, 1, &pCopy, &ulOut));
    EXPECT_FALSE(CK_TemplateMerge(TEMPLATE, 3, TEMPLATE, ~CK_ULONG{1}, &pCopy, &ulOut));
}

TEST(Templates, TheFirstTemplateWinsAMerge)
{
    const CK_ATTRIBUTE new3 = Text(3, "new"), new5 = Text(5, "five");
    CK_ATTRIBUTE* pOut = nullptr;
    CK_ULONG ulOut = 77;
    const struct {
        std::vector<CK_ATTRIBUTE> one, two;
        const char* szExpected;
    } rows[] = {
        {{new3, new5}, {Text(3, "old"), Text(7, "b")}, "3=old 7=b 3=new 5=five "}, // index 0 stays
        {{new3, new5}, {Text(7, "b"), Text(3, "old")}, "7=b 3=new 5=five "},
        {{new3, Text(3, "last")}, {Text(7, "b")}, "7=b 3=last "},
        {{{3, nullptr, 4}}, {Text(7, "b"), Text(3, "old")}, "7=b 3(4) "},
        {{Text(3, "")}, {Text(7, "b"), Text(3, "old")}, "7=b 3(3) "},
        {{Text(9, "")}, {Text(7, "b")}, "7=b 0(0) "},
        {{new3}, {}, "3=new "},
    };
    EXPECT_TRUE(CK_TemplateMerge(nullptr, 0, TEMPLATE, 3, &pOut, &ulOut));
    EXPECT_EQ(nullptr, pOut) << "without a first template there is no output";
    EXPECT_EQ(77u, ulOut);
    for (const auto& row : rows) {
        ASSERT_TRUE(CK_TemplateMerge(row.one.data(), row.one.size(), row.two.data(), row.two.size(),
                                     &pOut, &ulOut));
        EXPECT_EQ(row.szExpected, Describe(pOut, ulOut));
        CK_TemplateFree(pOut, ulOut, false);
    }
    EXPECT_FALSE(CK_TemplateMerge(TEMPLATE, 0, TEMPLATE, 0, &pOut, &ulOut));
    EXPECT_FALSE(CK_TemplateMerge(TEMPLATE, 3, TEMPLATE, 3, nullptr, &ulOut));
    EXPECT_FALSE(CK_TemplateMerge(TEMPLATE, 3, TEMPLATE, 3, &pOut, nullptr));
}

} // namespace
