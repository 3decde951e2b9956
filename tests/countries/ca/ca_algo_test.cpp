// SIN validation, masking and random generation: the sweeps check the
// properties every output must have (the worked values are in the driver test).

#include <gtest/gtest.h>

#include <string>

#include <qrnp/qrnp_messages.h>

#include "countries/ca/QRNPNidCaAlgo.h"

namespace {

// The nine digits of a SIN held as a number.
std::wstring Nine(int32_t iSin) {
    wchar_t text[16];
    swprintf(text, 16, L"%09d", iSin);
    return text;
}

int32_t Mask(int32_t iSin, uint64_t lFlags) {
    int32_t iOut = -1;
    EXPECT_EQ(MaskSIN(iSin, &iOut, lFlags, nullptr), 0u);
    return iOut;
}

TEST(CanadaAlgoTest, LuhnAndValidation) {
    EXPECT_EQ(CalculateLuhn(L"123456789"), 7u);
    EXPECT_EQ(CalculateLuhn(L"12345678;"), 9u) << "a non-digit is not skipped: ';' enters as 11";
    NidCtrlBlk nid{};
    CtrlBlk ctrl{};
    ctrl.pProviderPrivate = &nid;
    const std::pair<const wchar_t*, uint32_t> cases[] = {
        {L"046454286", 0}, {L"000000000", 0}, {L"999999998", 0},  // regions 0 and 9 pass
        {L"123456789", QRNP_MSG_INVALID_SOURCE_DATA},
        {L"823456789", QRNP_MSG_CA_INVALID_SIN},  // region 8 is refused before the Luhn test
        {L"812345672", QRNP_MSG_CA_INVALID_SIN},  // ... and with a right Luhn sum too
    };
    for (const auto& [pSin, iStatus] : cases) EXPECT_EQ(ValidateSIN(&ctrl, pSin), iStatus) << iStatus;
    ctrl.pProviderPrivate = nullptr;
    EXPECT_EQ(ValidateSIN(&ctrl, L"046454286"), QRNP_MSG_NOT_INITIALISED);
}

TEST(CanadaAlgoTest, HeadMaskingEndsForEveryHeadAndKey) {
    // The masked body's first group is never "000", so the head's key is
    // 1-999. Wherever repeating transposeHead leaves 8 at all, MaskHead gives
    // the same head; where it never would (heads 8xx only), MaskHead still ends.
    int iCycling = 0;
    for (int iHead = 0; iHead <= 999; ++iHead) {
        for (int32_t key2 = 1; key2 <= 999; ++key2) {
            wchar_t plain[4], head[4];
            swprintf(plain, 4, L"%03d", iHead);
            swprintf(head, 4, L"%03d", iHead);
            int iPasses = 0;
            do {
                transposeHead(plain, key2, key2 % 9);
            } while (plain[0] == L'8' && ++iPasses < 100);
            MaskHead(head, key2);
            ASSERT_NE(head[0], L'8') << iHead << " " << key2;
            if (plain[0] != L'8') {
                ASSERT_EQ(std::wstring(head), std::wstring(plain)) << iHead << " " << key2;
            } else {
                ASSERT_EQ(iHead / 100, 8);
                ++iCycling;
            }
        }
    }
    EXPECT_GT(iCycling, 0);
    // This source's body keys its head with 991, which alone would keep it on 8 for ever.
    EXPECT_EQ(Mask(800000051, CA_FLAG_MASK_HEAD), 697991321);
}

TEST(CanadaAlgoTest, MaskedValuesAreWellFormedAndRepeatable) {
    int iZeroHeads = 0, iZeroTails = 0;
    for (int64_t v = 0; v <= 999999999; v += 9973) {
        const int32_t iSin = static_cast<int32_t>(v);
        const std::wstring source = Nine(iSin);
        for (uint64_t lFlags : {uint64_t{0}, CA_FLAG_MASK_HEAD}) {
            const int32_t iOut = Mask(iSin, lFlags);
            const std::wstring out = Nine(iOut);
            SCOPED_TRACE(std::string(source.begin(), source.end()) + " flags " + std::to_string(lFlags));
            ASSERT_GE(iOut, 0);
            ASSERT_LE(iOut, 999999999);
            EXPECT_EQ(CalculateLuhn(out.c_str()), 0u);
            EXPECT_NE(out.substr(3, 3), L"000");
            EXPECT_NE(out.substr(3), source.substr(3)) << "the body always changes";
            if (lFlags == 0) {
                EXPECT_EQ(out.substr(0, 3), source.substr(0, 3));
                EXPECT_NE(out.substr(6, 3), L"000");
            } else {
                // A new head recomputes the check digit, and only a region
                // digit 8 sends the head round again: "000" groups may stay.
                EXPECT_NE(out[0], L'8');
                iZeroHeads += out.substr(0, 3) == L"000";
                iZeroTails += out.substr(6, 3) == L"000";
            }
            EXPECT_EQ(Mask(iSin, lFlags), iOut);
        }
    }
    EXPECT_GT(iZeroHeads, 0);
    EXPECT_GT(iZeroTails, 0);
}

// (Their Luhn sum and region are checked in bulk by GeneratedValues.)
TEST(CanadaAlgoTest, RandomValuesHaveNoZeroGroupAndEveryRegionButEight) {
    bool bRegionSeen[10] = {};
    for (int i = 0; i < 100000; ++i) {
        int32_t iSin = -1;
        ASSERT_EQ(RandomSIN(&iSin), 0u);
        const std::wstring s = Nine(iSin);
        ASSERT_NE(s.substr(0, 3), L"000") << iSin;
        ASSERT_NE(s.substr(3, 3), L"000") << iSin;
        ASSERT_NE(s.substr(6, 3), L"000") << iSin;
        bRegionSeen[s[0] - L'0'] = true;
    }
    for (int d = 0; d <= 9; ++d) EXPECT_EQ(bRegionSeen[d], d != 8) << "region " << d;
}

}  // namespace
