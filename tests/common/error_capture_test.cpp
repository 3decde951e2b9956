// The error list: entry layout, token slots and texts, sizes, and its release.
// Every test releases what it builds, so a leak checker sees any block that
// TermErrors misses.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

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

// The host allocates the anchor with malloc; TermErrors frees it.
EAB* NewAnchor() { return static_cast<EAB*>(std::calloc(1, sizeof(EAB))); }

// TermErrors leaves a text in the slot past the declared count to its owner;
// the tests own them and free them here.
void FreeSpareTexts(EAB* pEAB) {
    for (ErrorEntry* pEntry = pEAB->pFirst; pEntry != nullptr; pEntry = pEntry->pNext) {
        TokenSlot& spare = pEntry->tokens[pEntry->sTokenCount];
        if (spare.iTokenId != 0) std::free(spare.pText);
        spare = TokenSlot{};
    }
}

class ErrorList : public ::testing::Test {
protected:
    void SetUp() override { pEAB = NewAnchor(); }
    void TearDown() override {
        if (pEAB == nullptr) return;
        FreeSpareTexts(pEAB);
        EXPECT_EQ(TermErrors(pEAB), 0);
    }
    // Adds a one-token entry and a token; returns the token's result.
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
    EXPECT_EQ(pEAB->iEntryCount, 1u);
    EXPECT_EQ(At<const void*>(pFirst, 0), nullptr);
    EXPECT_EQ(std::memcmp(static_cast<const char*>(static_cast<const void*>(pFirst)) + 8, "ECBD", 4), 0);
    EXPECT_EQ(At<uint16_t>(pFirst, 12), 21);
    EXPECT_EQ(At<uint16_t>(pFirst, 14), 48);
    EXPECT_EQ(At<uint16_t>(pFirst, 16), 2);
    EXPECT_EQ(At<uint32_t>(pFirst, 20), 4401u);
    EXPECT_EQ(At<uint32_t>(pFirst, 24), 7u);
    EXPECT_EQ(At<uint32_t>(pFirst, 28), 0u);
    for (size_t iSlot = 0; iSlot < 3; iSlot++) {  // the two declared slots and the spare start empty
        EXPECT_EQ(At<int32_t>(pFirst, 32 + 16 * iSlot), 0);
        EXPECT_EQ(At<const void*>(pFirst, 40 + 16 * iSlot), nullptr);
    }

    const wchar_t text[] = L"FR";
    ASSERT_EQ(TokenCaptureEAB(pEAB, text, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0), 0);
    EXPECT_EQ(At<int32_t>(pFirst, 32), QRNP_TOKID_COUNTRY);
    EXPECT_STREQ(At<const wchar_t*>(pFirst, 40), L"FR");

    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4402, 0), 0);
    EXPECT_EQ(At<const void*>(pFirst, 0), pEAB->pLast);
    EXPECT_NE(pEAB->pLast, pFirst);
    EXPECT_EQ(pEAB->pFirst, pFirst);
    EXPECT_EQ(pEAB->iEntryCount, 2u);
    EXPECT_EQ(At<uint32_t>(pEAB->pLast, 24), 0u);
}

TEST_F(ErrorList, EntrySizeStartsTheRunningSize) {
    const struct {
        uint16_t sTokens;
        uint32_t iRunning;  // 48 + (max(n,1) - 1) * 16, then + 8 per declared token
    } cases[] = {{0, 48}, {1, 56}, {2, 80}, {5, 152}};
    for (const auto& c : cases) {
        ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, c.sTokens), 0);
        EXPECT_EQ(pEAB->iRunningSize, c.iRunning) << c.sTokens;
    }
    EXPECT_EQ(pEAB->iLargestSize, 152u);
}

TEST_F(ErrorList, TokensGrowTheRunningSizeAndTheLargestFollows) {
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, 3), 0);  // 80 + 24
    EXPECT_EQ(pEAB->iRunningSize, 104u);
    ASSERT_EQ(TokenCaptureEAB(pEAB, "ab", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_SEP, 0), 0);
    EXPECT_EQ(pEAB->iRunningSize, 104u + 2 * 4 + 4);
    ASSERT_EQ(TokenCaptureEAB(pEAB, nullptr, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    EXPECT_EQ(pEAB->iRunningSize, 116u + 6 * 4 + 4);  // "<NULL>"
    EXPECT_EQ(pEAB->iLargestSize, 144u);

    ASSERT_EQ(ErrorCaptureEAB(pEAB, 2, 4400, 0), 0);  // a smaller entry restarts the running size only
    EXPECT_EQ(pEAB->iRunningSize, 48u);
    EXPECT_EQ(pEAB->iLargestSize, 144u);
}

TEST_F(ErrorList, OneSpareSlotPastTheDeclaredCount) {
    const int32_t iValue = 5;
    for (uint16_t sDeclared : {0, 1, 3}) {
        SCOPED_TRACE(sDeclared);
        ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, sDeclared), 0);
        for (int i = 0; i <= sDeclared; i++)
            EXPECT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, 10 + i, 0), 0) << i;
        const uint32_t iRunning = pEAB->iRunningSize;
        EXPECT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, 20, 0), 2);
        EXPECT_EQ(pEAB->iRunningSize, iRunning);
        const ErrorEntry* pEntry = pEAB->pLast;
        for (int i = 0; i <= sDeclared; i++) {
            EXPECT_EQ(pEntry->tokens[i].iTokenId, 10 + i);
            EXPECT_STREQ(pEntry->tokens[i].pText, L"5");
        }
    }
}

TEST_F(ErrorList, TokenGoesToTheNewestEntry) {
    CtrlBlk cb{};
    cb.pEAB = pEAB;
    ASSERT_EQ(ErrorCapture(&cb, 3, 4410, 1), 0);
    ASSERT_EQ(ErrorCapture(&cb, 4, 4411, 1), 0);
    ASSERT_EQ(TokenCapture(&cb, L"US", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0), 0);
    EXPECT_EQ(pEAB->pFirst->tokens[0].iTokenId, 0);
    EXPECT_EQ(pEAB->pLast->tokens[0].iTokenId, QRNP_TOKID_COUNTRY);
    EXPECT_EQ(pEAB->pLast->iMessage, 4411u);
    EXPECT_EQ(pEAB->pLast->iRowNumber, 4u);
}

TEST_F(ErrorList, TokenIdAboveNinetyLeavesTheListUnchanged) {
    CtrlBlk cb{};
    cb.pEAB = pEAB;
    ASSERT_EQ(ErrorCapture(&cb, 1, 4400, 1), 0);
    const uint32_t iRunning = pEAB->iRunningSize;
    EXPECT_EQ(TokenCapture(&cb, L"x", QRNP_TV_WVARCHAR_SZ, 91, 0), 1);
    EXPECT_EQ(TokenCaptureEAB(pEAB, L"x", QRNP_TV_WVARCHAR_SZ, 91, 0), 1);
    EXPECT_EQ(pEAB->iRunningSize, iRunning);
    EXPECT_EQ(pEAB->pLast->tokens[0].iTokenId, 0);
    EXPECT_EQ(pEAB->pLast->tokens[0].pText, nullptr);
    EXPECT_EQ(TokenCapture(&cb, L"x", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_CODEPAGE, 0), 0);
}

TEST_F(ErrorList, MissingAnchorOrEntry) {
    CtrlBlk noList{};
    EXPECT_EQ(ErrorCapture(&noList, 1, 4400, 1), -1);
    EXPECT_EQ(TokenCapture(&noList, L"x", QRNP_TV_WVARCHAR_SZ, 1, 0), -1);
    EXPECT_EQ(ErrorCaptureEAB(nullptr, 1, 4400, 1), -1);
    EXPECT_EQ(TokenCaptureEAB(nullptr, L"x", QRNP_TV_WVARCHAR_SZ, 1, 0), -1);
    EXPECT_EQ(TokenCaptureEAB(pEAB, L"x", QRNP_TV_WVARCHAR_SZ, 1, 0), -1);  // no entry yet
    EXPECT_EQ(pEAB->iEntryCount, 0u);
    EXPECT_EQ(pEAB->iRunningSize, 0u);
}

struct Prefixed {
    uint16_t sPrefix;
    char data[30];
};

TEST_F(ErrorList, TokenTextsByValueType) {
    const int32_t iZero = 0, iNegative = -42;
    const uint32_t uZero = 0, uBig = 4000000000u;
    const int16_t sZero = 0, sNegative = -7;
    const uint16_t usZero = 0, usMax = 65535;
    Prefixed varchar{3, "xyzzy"};
    Prefixed wvarchar{8, {}};
    const wchar_t wideTwo[] = L"hi!";
    std::memcpy(wvarchar.data, wideTwo, sizeof wideTwo);
    const wchar_t wideFixed[] = L"okay";
    const QRNPDate date{2024, 2, 29};
    const QRNPTime time{13, 5, 9};
    const QRNPTimestamp ts{2024, 2, 29, 13, 5, 9, 123};
    const struct Case {
        uint16_t sType;
        const void* pValue;
        int32_t iLength;
        const wchar_t* pText;
    } cases[] = {
        {QRNP_TV_INT32, &iZero, 0, L"0"},
        {QRNP_TV_INT32, &iNegative, 0, L"-42"},
        {QRNP_TV_UINT32, &uZero, 0, L"0"},
        {QRNP_TV_UINT32, &uBig, 0, L"4000000000"},
        {QRNP_TV_INT16, &sZero, 0, L"0"},
        {QRNP_TV_INT16, &sNegative, 0, L"-7"},
        {QRNP_TV_UINT16, &usZero, 0, L"0"},
        {QRNP_TV_UINT16, &usMax, 0, L"65535"},
        {QRNP_TV_CHAR, "abcdef", 3, L"abc"},
        {QRNP_TV_DATETIME_CHAR, "2024-02-29", 10, L"2024-02-29"},
        {QRNP_TV_VARCHAR, &varchar, 0, L"xyz"},
        {QRNP_TV_DATETIME_VARCHAR, &varchar, 0, L"xyz"},
        {QRNP_TV_VARCHAR_SZ, "FR", 0, L"FR"},
        {QRNP_TV_DATETIME_SZ, "12:00", 0, L"12:00"},
        {QRNP_TV_WCHAR, wideFixed, 2, L"ok"},
        {QRNP_TV_DATETIME_WCHAR, wideFixed, 4, L"okay"},
        {QRNP_TV_WVARCHAR, &wvarchar, 0, L"hi"},
        {QRNP_TV_DATETIME_WVARCHAR, &wvarchar, 0, L"hi"},
        {QRNP_TV_WVARCHAR_SZ, L"Ωmega", 0, L"Ωmega"},
        {QRNP_TV_DATETIME_WSZ, L"", 0, L""},
        {QRNP_TV_DATE, &date, 0, L"2024-02-29"},
        {QRNP_TV_TIME, &time, 0, L"13:05:09"},
        {QRNP_TV_TIMESTAMP, &ts, 0, L"2024-02-29 13:05:09.000123"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("value type " + std::to_string(c.sType));
        ASSERT_EQ(OneToken(c.pValue, c.sType, c.iLength), 0);
        const uint32_t iBefore = 56;  // a one-token entry
        EXPECT_EQ(pEAB->pLast->tokens[0].iTokenId, QRNP_TOKID_SRCDATA);
        ASSERT_NE(pEAB->pLast->tokens[0].pText, nullptr);
        EXPECT_STREQ(pEAB->pLast->tokens[0].pText, c.pText);
        EXPECT_EQ(pEAB->iRunningSize, iBefore + std::wcslen(c.pText) * 4 + 4);
    }
}

TEST_F(ErrorList, NullValuesShowAsNullWhereAllowed) {
    const uint16_t nullable[] = {1, 2, 3, 4, 5, 6, 17, 18, 25, 26, 27, 28};
    for (uint16_t sType : nullable) {
        ASSERT_EQ(OneToken(nullptr, sType, 4), 0) << sType;
        EXPECT_STREQ(pEAB->pLast->tokens[0].pText, L"<NULL>") << sType;
    }
    for (uint16_t sType : {9, 10, 14, 15, 16, 21, 22}) EXPECT_EQ(OneToken(nullptr, sType), -1) << sType;
}

TEST_F(ErrorList, UnsupportedValueTypes) {
    const uint64_t lValue = 1;
    for (uint16_t sType : {0, 7, 8, 11, 13, 19, 20, 23, 29, 101, 0x1001}) EXPECT_EQ(OneToken(&lValue, sType), 3) << sType;
}

TEST(TermErrors, ReleasesEveryEntryAndText) {
    EAB* pEAB = NewAnchor();
    ASSERT_NE(pEAB, nullptr);
    const int32_t iValue = 12;
    const QRNPTimestamp ts{2024, 1, 2, 3, 4, 5, 6};
    for (uint32_t iRow = 1; iRow <= 5; iRow++) {
        ASSERT_EQ(ErrorCaptureEAB(pEAB, iRow, 4400 + iRow, 3), 0);
        ASSERT_EQ(TokenCaptureEAB(pEAB, "abc", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
        ASSERT_EQ(TokenCaptureEAB(pEAB, &iValue, QRNP_TV_INT32, QRNP_TOKID_ROW_COUNT, 0), 0);
        ASSERT_EQ(TokenCaptureEAB(pEAB, &ts, QRNP_TV_TIMESTAMP, QRNP_TOKID_TIMESTAMP, 0), 0);
    }
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4499, 2), 0);  // partly filled
    ASSERT_EQ(TokenCaptureEAB(pEAB, nullptr, QRNP_TV_CHAR, QRNP_TOKID_SRCDATA, 0), 0);
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 0, 4498, 0), 0);  // empty
    EXPECT_EQ(pEAB->iEntryCount, 7u);
    EXPECT_EQ(TermErrors(pEAB), 0);  // a leak checker reports anything left behind
    EXPECT_EQ(TermErrors(nullptr), 0);
}

TEST(TermErrors, LeavesTheSpareSlotTextToItsOwner) {
    EAB* pEAB = NewAnchor();
    ASSERT_EQ(ErrorCaptureEAB(pEAB, 1, 4400, 1), 0);
    ASSERT_EQ(TokenCaptureEAB(pEAB, L"first", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    ASSERT_EQ(TokenCaptureEAB(pEAB, L"extra", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0), 0);
    wchar_t* pSpare = pEAB->pLast->tokens[1].pText;
    ASSERT_NE(pSpare, nullptr);
    EXPECT_EQ(TermErrors(pEAB), 0);
    std::free(pSpare);  // a double free here would mean TermErrors released it too
}

}  // namespace
