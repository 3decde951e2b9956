// The error list: entry layout, token slots and texts, sizes, and its release.
// Every test releases what it builds, so a leak checker sees any block that
// TermErrors misses, and a write past an entry's slots.
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include <gtest/gtest.h>
#include <qrnp/qrnp_datacnv.h>
#include <qrnp/qrnp_errors.h>

namespace {

template <typename T>
T At(const void* pBase, size_t iOffset) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(pBase) + iOffset, sizeof value);
    return value;
}

class ErrorList : public ::testing::Test {
protected:
    // The host allocates the anchor with malloc; TermErrors frees it.
    void SetUp() override { pEAB = static_cast<EAB*>(std::calloc(1, sizeof(EAB))); }
    void TearDown() override {
        // TermErrors leaves a spare slot's text to its owner: the test.
        for (ErrorEntry* pEntry = pEAB->pFirst; pEntry != nullptr; pEntry = pEntry->pNext) {
            if (pEntry->tokens[pEntry->sTokenCount].iTokenId != 0) std::free(pEntry->tokens[pEntry->sTokenCount].pText);
        }
        EXPECT_EQ(TermErrors(pEAB), 0);
    }
    // A one-token entry and its token's result.
    int32_t OneToken(const void* pValue, uint16_t sType, int32_t iLength = 0) {
        EXPECT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, 1), 0);
        return TokenCaptureEAB(pEAB, pValue, sType, QRNP_TOKID_SRCDATA, iLength);
    }
    EAB* pEAB = nullptr;
};

TEST_F(ErrorList, EntryBytesAtTheirOffsets) {
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 7, 4401, 2), 0);
    const ErrorEntry* pFirst = pEAB->pFirst;
    ASSERT_NE(pFirst, nullptr);
    EXPECT_EQ(pEAB->pLast, pFirst);
    EXPECT_EQ(At<const void*>(pFirst, 0), nullptr);
    EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(pFirst) + 8, "ECBD", 4), 0);
    EXPECT_EQ(At<uint16_t>(pFirst, 12), 21);
    EXPECT_EQ(At<uint16_t>(pFirst, 14), 48);
    EXPECT_EQ(At<uint16_t>(pFirst, 16), 2);
    EXPECT_EQ(At<uint32_t>(pFirst, 20), 4401u);
    EXPECT_EQ(At<uint32_t>(pFirst, 24), 7u);
    for (size_t iSlot = 0; iSlot < 3; iSlot++) EXPECT_EQ(At<int32_t>(pFirst, 32 + 16 * iSlot), 0);

    ASSERT_EQ(TokenCaptureEAB(pEAB, L"FR", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0), 0);
    EXPECT_EQ(At<int32_t>(pFirst, 32), QRNP_TOKID_COUNTRY);
    EXPECT_STREQ(At<const wchar_t*>(pFirst, 40), L"FR");

    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4402, 0), 0);
    EXPECT_NE(pEAB->pLast, pFirst);
    EXPECT_EQ(At<const void*>(pFirst, 0), pEAB->pLast);
    EXPECT_EQ(pEAB->iEntryCount, 2u);
}

TEST_F(ErrorList, RunningAndLargestSizes) {
    // 48 + (max(n,1) - 1) * 16, then 8 per declared token.
    const struct {
        uint16_t sTokens;
        uint32_t iRunning;
    } entries[] = {{0, 48}, {1, 56}, {5, 152}, {3, 104}};
    for (const auto& e : entries) {
        ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, e.sTokens), 0);
        EXPECT_EQ(pEAB->iRunningSize, e.iRunning) << e.sTokens;
    }
    EXPECT_EQ(pEAB->iLargestSize, 152u);
    ASSERT_EQ(TokenCaptureEAB(pEAB, "ab", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_SEP, 0), 0);
    ASSERT_EQ(TokenCaptureEAB(pEAB, nullptr, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    EXPECT_EQ(pEAB->iRunningSize, 104u + (2 * 4 + 4) + (6 * 4 + 4));  // "ab", "<NULL>"
    EXPECT_EQ(pEAB->iLargestSize, 152u);
    ASSERT_EQ(TokenCaptureEAB(pEAB, L"0123456789", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    EXPECT_EQ(pEAB->iLargestSize, 144u + 44);
}

TEST_F(ErrorList, OneSpareSlotPastTheDeclaredCount) {
    const int32_t iValue = 5;
    for (uint16_t sDeclared : {0, 1, 3}) {
        SCOPED_TRACE(sDeclared);
        ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, sDeclared), 0);
        for (int i = 0; i <= sDeclared; i++) EXPECT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, 10 + i, 0), 0);
        const uint32_t iRunning = pEAB->iRunningSize;
        EXPECT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, 20, 0), 2);
        EXPECT_EQ(pEAB->iRunningSize, iRunning);
        for (int i = 0; i <= sDeclared; i++) EXPECT_EQ(pEAB->pLast->tokens[i].iTokenId, 10 + i);
    }
}

TEST_F(ErrorList, RefusedCallsLeaveTheListUnchanged) {
    CtrlBlk noList{};
    EXPECT_EQ(ErrorCapture(&noList, 1, 4400, 1), -1);
    EXPECT_EQ(TokenCapture(&noList, L"x", QRNP_TV_WVARCHAR_SZ, 1, 0), -1);
    EXPECT_EQ(TokenCaptureEAB(pEAB, L"x", QRNP_TV_WVARCHAR_SZ, 1, 0), -1);  // no entry yet

    CtrlBlk cb{};
    cb.pEAB = pEAB;
    ASSERT_EQ(ErrorCapture(&cb, 3, 4410, 1), 0);
    const uint32_t iRunning = pEAB->iRunningSize;
    EXPECT_EQ(TokenCapture(&cb, L"x", QRNP_TV_WVARCHAR_SZ, 91, 0), 1);
    EXPECT_EQ(TokenCaptureEAB(pEAB, L"x", QRNP_TV_WVARCHAR_SZ, 91, 0), 1);
    EXPECT_EQ(pEAB->iRunningSize, iRunning);
    EXPECT_EQ(pEAB->pLast->tokens[0].iTokenId, 0);
    EXPECT_EQ(TokenCapture(&cb, L"x", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_CODEPAGE, 0), 0);  // 90 is the last id
}

TEST_F(ErrorList, TokenTextsByValueType) {
    const int32_t iZero = 0, iNegative = -42;
    const uint32_t uZero = 0;
    const uint16_t usZero = 0;
    struct {
        uint16_t sPrefix;
        char data[6];
    } varchar{3, "xyzzy"};
    const QRNPTimestamp ts{2024, 2, 29, 13, 5, 9, 123};
    const struct {
        uint16_t sType;
        const void* pValue;
        int32_t iLength;
        const wchar_t* pText;  // null: the call fails with iRc
        int32_t iRc;
    } cases[] = {
        {QRNP_TV_INT32, &iZero, 0, L"0", 0},
        {QRNP_TV_INT32, &iNegative, 0, L"-42", 0},
        {QRNP_TV_UINT32, &uZero, 0, L"0", 0},
        {QRNP_TV_UINT16, &usZero, 0, L"0", 0},
        {QRNP_TV_CHAR, "abcdef", 3, L"abc", 0},
        {QRNP_TV_DATETIME_VARCHAR, &varchar, 0, L"xyz", 0},
        {QRNP_TV_VARCHAR_SZ, "FR", 0, L"FR", 0},
        {QRNP_TV_DATETIME_WCHAR, L"okay", 2, L"ok", 0},
        {QRNP_TV_WVARCHAR_SZ, L"Ωmega", 0, L"Ωmega", 0},
        {QRNP_TV_TIMESTAMP, &ts, 0, L"2024-02-29 13:05:09.000123", 0},
        {QRNP_TV_CHAR, nullptr, 4, L"<NULL>", 0},
        {QRNP_TV_DATETIME_WVARCHAR, nullptr, 0, L"<NULL>", 0},
        {QRNP_TV_INT32, nullptr, 0, nullptr, -1},
        {QRNP_TV_TIME, nullptr, 0, nullptr, -1},
        {7, &iZero, 0, nullptr, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("value type " + std::to_string(c.sType));
        ASSERT_EQ(OneToken(c.pValue, c.sType, c.iLength), c.iRc);
        if (c.pText == nullptr) continue;
        ASSERT_NE(pEAB->pLast->tokens[0].pText, nullptr);
        EXPECT_STREQ(pEAB->pLast->tokens[0].pText, c.pText);
        EXPECT_EQ(pEAB->iRunningSize, 56 + std::wcslen(c.pText) * 4 + 4);
    }
}

TEST(TermErrors, ReleasesEverythingButASpareSlotText) {
    auto* pEAB = static_cast<EAB*>(std::calloc(1, sizeof(EAB)));
    const int32_t iValue = 12;
    for (uint32_t iRow = 1; iRow <= 3; iRow++) {
        ASSERT_EQ(ErrorCaptureEAB(pEAB, iRow, 4400, 2), 0);
        ASSERT_EQ(TokenCaptureEAB(pEAB, "abc", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
        ASSERT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, QRNP_TOKID_ROW_COUNT, 0), 0);
    }
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4499, 2), 0);  // partly filled
    ASSERT_EQ(TokenCaptureEAB(pEAB, nullptr, QRNP_TV_CHAR, QRNP_TOKID_SRCDATA, 0), 0);
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4498, 1), 0);  // with a spare token
    ASSERT_EQ(TokenCaptureEAB(pEAB, L"one", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    ASSERT_EQ(TokenCaptureEAB(pEAB, L"two", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    wchar_t* pSpare = pEAB->pLast->tokens[1].pText;
    EXPECT_EQ(TermErrors(pEAB), 0);  // a leak checker reports anything left behind
    std::free(pSpare);               // a double free here would mean TermErrors released it too
    EXPECT_EQ(TermErrors(nullptr), 0);
}

}  // namespace
