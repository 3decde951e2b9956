// The prefix table, MaskNINO and RandomNINO. Expected values are worked out
// by hand from the masking rules (AB: key 28, offset 3, order 2 1 3 4 6 5).
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "countries/uk/QRNPNidUkAlgo.h"

namespace {

std::wstring Mask(const std::wstring& in, uint64_t lFlags = 0) {
    wchar_t out[16];
    const uint32_t rc = MaskNINO(in.c_str(), out, lFlags);
    EXPECT_EQ(rc, 0u);
    return rc == 0 ? std::wstring(out) : std::wstring();
}

// No entry starts with D F I Q U V; every entry is found in any case (so the
// table is in the order the search needs), and nothing else is.
TEST(UkPrefixTableTest, EntriesAndSearch) {
    for (size_t i = 0; i < UK_PREFIX_COUNT; ++i) {
        const wchar_t* p = VALID_PREFIXES[i];
        EXPECT_EQ(std::wstring(L"DFIQUV").find(p[0]), std::wstring::npos) << i;
        const wchar_t lower[3] = {static_cast<wchar_t>(p[0] + 32), static_cast<wchar_t>(p[1] + 32), 0};
        const wchar_t mixed[3] = {p[0], lower[1], 0};
        EXPECT_EQ(FindPrefix(p), static_cast<int32_t>(i));
        EXPECT_EQ(FindPrefix(lower), static_cast<int32_t>(i));
        EXPECT_EQ(FindPrefix(mixed), static_cast<int32_t>(i));
    }
    for (const wchar_t* p : {L"DA", L"FA", L"IA", L"QA", L"UA", L"VA", L"AC", L"ZZ", L"GB", L"A1", L"--"})
        EXPECT_EQ(FindPrefix(p), -1) << std::string(p, p + 2);
}

TEST(UkSequenceTest, EveryRowIsAnOrderOfSix) {
    for (size_t r = 0; r < UK_SEQUENCE_ROWS; ++r) {
        int seen = 0;
        for (int i = 0; i < 6; ++i) seen |= 1 << sequence[r][i];
        EXPECT_EQ(seen, 0x7E) << "row " << r;
    }
}

TEST(MaskNinoTest, WorkedValues) {
    struct Case {
        const wchar_t* pIn;
        uint64_t lFlags;
        const wchar_t* pOut;
    };
    const Case cases[] = {
        // 123456 + (8 6 4 5 7 9) = 987925, reordered 2 1 3 4 6 5.
        {L"AB123456C", 0, L"AB897952C"},
        {L"AB123456", 0, L"AB897952"},
        {L"ab123456d", 0, L"ab897952d"},        // case of prefix and suffix kept
        {L"Ab123456b", 0, L"Ab897952b"},
        // Prefix masked: AB is entry 1, halved 0; 897 - 952 = -55 -> 184 "SW".
        {L"AB123456C", UK_FLAG_MASK_PREFIX, L"SW897952C"},
        {L"ab123456d", UK_FLAG_MASK_PREFIX, L"SW897952d"},
        // 246531 scrambles to 000000 and goes round again: 684597.
        {L"AB246531", 0, L"AB684597"},
        {L"AB246531A", UK_FLAG_MASK_PREFIX, L"KP684597A"},
        {L"AA000000", UK_FLAG_MASK_PREFIX, L"TA346875"},
        {L"ZY999999A", UK_FLAG_MASK_PREFIX, L"CB465321A"},
        // Bits other than 1 are not read.
        {L"AB123456C", ~UK_FLAG_MASK_PREFIX, L"AB897952C"},
    };
    for (const Case& c : cases) EXPECT_EQ(Mask(c.pIn, c.lFlags), c.pOut);
}

TEST(MaskNinoTest, SuffixDoesNotChangeDigitsOrPrefixAndMaskedPrefixIsAnEntry) {
    for (size_t i = 0; i < UK_PREFIX_COUNT; ++i) {
        for (const wchar_t* pDigits : {L"000000", L"123456", L"999999", L"500001"}) {
            const std::wstring base = std::wstring(VALID_PREFIXES[i]) + pDigits;
            for (uint64_t lFlags : {uint64_t{0}, UK_FLAG_MASK_PREFIX}) {
                const std::wstring plain = Mask(base, lFlags);
                ASSERT_EQ(plain.size(), 8u);
                EXPECT_NE(plain.substr(2), L"000000");
                EXPECT_GE(FindPrefix(plain.c_str()), 0);
                if (lFlags == 0) {
                    EXPECT_EQ(plain.substr(0, 2), base.substr(0, 2));
                }
                for (const wchar_t* pSuffix : {L"A", L"b", L"D"}) {
                    const std::wstring withSuffix = Mask(base + pSuffix, lFlags);
                    EXPECT_EQ(withSuffix, plain + pSuffix);
                }
            }
        }
    }
}

TEST(MaskNinoTest, ScrambledDigitsThatAreNotANumberFail) {
    wchar_t out[16];
    EXPECT_EQ(MaskNINO(L"AB12 456C", out, 0), 0xFFFFFFFFu);
    EXPECT_EQ(MaskNINO(L"DD123456C", out, UK_FLAG_MASK_PREFIX), 0xFFFFFFFFu);
}

TEST(RandomNinoTest, WellFormedAndSuffixlessAboutOneTimeInFive) {
    constexpr int kDraws = 50000;
    int iNoSuffix = 0;
    for (int i = 0; i < kDraws; ++i) {
        wchar_t out[16];
        ASSERT_EQ(RandomNINO(out), 0u);
        const std::wstring s(out);
        ASSERT_TRUE(s.size() == 8 || s.size() == 9);
        ASSERT_GE(FindPrefix(out), 0);
        const std::wstring digits = s.substr(2, 6);
        ASSERT_EQ(digits.find_first_not_of(L"0123456789"), std::wstring::npos);
        ASSERT_NE(digits, L"000000");
        if (s.size() == 9) {
            ASSERT_NE(std::wstring(L"ABCD").find(s[8]), std::wstring::npos);
        } else {
            ++iNoSuffix;
        }
    }
    EXPECT_NEAR(static_cast<double>(iNoSuffix) / kDraws, 0.2, 0.02);
}

}  // namespace
