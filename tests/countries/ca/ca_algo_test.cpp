// SIN Luhn check, validation, masking and random generation. The worked
// values were followed by hand through the masking rules; the sweeps check
// the properties every output must have.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <qrnp/qrnp_messages.h>

#include "countries/ca/QRNPNidCaAlgo.h"

namespace {

std::wstring Nine(int32_t iSin) {
    wchar_t text[16];
    swprintf(text, 16, L"%09d", iSin);
    return text;
}

// An independent Luhn test: digits 2, 4, 6, 8 doubled, the sum a multiple of 10.
bool LuhnValid(const std::wstring& s) {
    int iSum = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        int d = s[i] - L'0';
        if (i % 2 == 1) d = d * 2 > 9 ? d * 2 - 9 : d * 2;
        iSum += d;
    }
    return iSum % 10 == 0;
}

std::string hostText(const std::wstring& s) { return std::string(s.begin(), s.end()); }

int32_t Mask(int32_t iSin, uint64_t lFlags) {
    int32_t iOut = -1;
    EXPECT_EQ(MaskSIN(iSin, &iOut, lFlags, nullptr), 0u);
    return iOut;
}

TEST(CanadaAlgoTest, WorkedExamples) {
    struct Case {
        int32_t iSource, iKeepHead, iMaskHead;
    };
    const Case cases[] = {
        {130692544, 130191067, 426191060},
        {46454286, 46600078, 356600072},
        {123456782, 123120578, 53120572},
        {999999998, 999851280, 368851283},  // head above 800: the body is keyed by 899
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Mask(c.iSource, 0), c.iKeepHead) << c.iSource;
        EXPECT_EQ(Mask(c.iSource, CA_FLAG_MASK_HEAD), c.iMaskHead) << c.iSource;
        // The separator bits are the driver's: they do not change the digits.
        EXPECT_EQ(Mask(c.iSource, CA_FLAG_HYPHEN | CA_FLAG_NO_SEPARATOR), c.iKeepHead) << c.iSource;
    }
}

TEST(CanadaAlgoTest, LuhnAndValidation) {
    EXPECT_EQ(CalculateLuhn(L"123456789"), 7u);
    EXPECT_EQ(CalculateLuhn(L"12345678:"), 8u) << "a non-digit is not skipped: ':' enters as 10";
    NidCtrlBlk nid{};
    CtrlBlk ctrl{};
    ctrl.pProviderPrivate = &nid;
    struct Case {
        const wchar_t* pSin;
        uint32_t iStatus;
    };
    const Case cases[] = {
        {L"046454286", 0}, {L"000000000", 0}, {L"999999998", 0},  // regions 0 and 9 pass
        {L"123456789", QRNP_MSG_INVALID_SOURCE_DATA},
        {L"823456789", QRNP_MSG_CA_INVALID_SIN},  // region 8 is refused before the Luhn test
        {L"812345672", QRNP_MSG_CA_INVALID_SIN},  // ... and with a right Luhn sum too
    };
    for (const Case& c : cases) EXPECT_EQ(ValidateSIN(&ctrl, c.pSin), c.iStatus) << c.iStatus;
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
                ++iPasses;
            } while (plain[0] == L'8' && iPasses < 100);
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
}

TEST(CanadaAlgoTest, RegionEightSourceWithMaskedHead) {
    // Its body keys the head with 991, which keeps the head on 8 for ever.
    EXPECT_EQ(Mask(800000051, CA_FLAG_MASK_HEAD), 697991321);
    EXPECT_EQ(Mask(800000051, 0), 800991325) << "the head is kept, 8 included";
}

TEST(CanadaAlgoTest, MaskedValuesAreWellFormedAndRepeatable) {
    for (int64_t v = 0; v <= 999999999; v += 9973) {
        const int32_t iSin = static_cast<int32_t>(v);
        const std::wstring source = Nine(iSin);
        for (uint64_t lFlags : {uint64_t{0}, CA_FLAG_MASK_HEAD}) {
            const int32_t iOut = Mask(iSin, lFlags);
            const std::wstring out = Nine(iOut);
            SCOPED_TRACE(hostText(source) + " -> " + hostText(out));
            ASSERT_GE(iOut, 0);
            ASSERT_LE(iOut, 999999999);
            EXPECT_TRUE(LuhnValid(out));
            EXPECT_NE(out.substr(3, 3), L"000");
            EXPECT_NE(out.substr(3), source.substr(3)) << "the body always changes";
            if (lFlags == 0) {
                EXPECT_EQ(out.substr(0, 3), source.substr(0, 3));
                EXPECT_NE(out.substr(6, 3), L"000");
            } else {
                EXPECT_NE(out[0], L'8');
            }
            EXPECT_EQ(Mask(iSin, lFlags), iOut);
        }
    }
}

TEST(CanadaAlgoTest, MaskedHeadAllowsZeroGroups) {
    // A new head recomputes the check digit, and only the region digit 8 sends
    // the head round again: a head "000" and a tail "000" both stay.
    bool bZeroHead = false, bZeroTail = false;
    for (int64_t v = 1; v <= 999999999 && !(bZeroHead && bZeroTail); v += 1009) {
        const int32_t iOut = Mask(static_cast<int32_t>(v), CA_FLAG_MASK_HEAD);
        bZeroHead = bZeroHead || iOut < 1000000;
        bZeroTail = bZeroTail || iOut % 1000 == 0;
    }
    EXPECT_TRUE(bZeroHead);
    EXPECT_TRUE(bZeroTail);
}

TEST(CanadaAlgoTest, RandomValuesAreWellFormed) {
    bool bRegionSeen[10] = {};
    for (int i = 0; i < 100000; ++i) {
        int32_t iSin = -1;
        ASSERT_EQ(RandomSIN(&iSin), 0u);
        ASSERT_GE(iSin, 0);
        ASSERT_LE(iSin, 999999999);
        const std::wstring s = Nine(iSin);
        SCOPED_TRACE(hostText(s));
        ASSERT_TRUE(LuhnValid(s));
        ASSERT_NE(s[0], L'8');
        ASSERT_NE(s.substr(0, 3), L"000");
        ASSERT_NE(s.substr(3, 3), L"000");
        ASSERT_NE(s.substr(6, 3), L"000");
        bRegionSeen[s[0] - L'0'] = true;
    }
    for (int d = 0; d <= 9; ++d) EXPECT_EQ(bRegionSeen[d], d != 8) << d;
}

}  // namespace
