// NIF digit masking, random numbers and the character comparison. Expected
// masked values are worked out by hand from the masking rules (both offsets,
// both lengths, the wrap of a shifted digit, the seed 0).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "countries/es/QRNPNidEsAlgo.h"

namespace {

std::wstring Mask(const std::wstring& digits) {
    int16_t out[8] = {};
    maskNIF(digits.c_str(), out, static_cast<int16_t>(digits.size()));
    std::wstring text;
    for (size_t i = 0; i < digits.size(); ++i) text += static_cast<wchar_t>(L'0' + out[i]);
    return text;
}

TEST(EsMaskNIF, HandWorkedValues) {
    struct Case {
        const wchar_t* pIn;
        const wchar_t* pOut;
    };
    const Case cases[] = {
        // Even last digit: offset 3, shifted 46802468, seed 315, order 1 5 2 7 3 6 4.
        {L"12345678", L"46488062"},
        // Odd last digit: offset 1, shifted 2468024, seed 4095, order 4 1 6 2 5 3.
        {L"1234567", L"2044628"},
        // A shifted 9 makes the seed 0: the order is left as it is.
        {L"0000000", L"3456789"},
        {L"9999999", L"0123456"},
    };
    for (const Case& c : cases) EXPECT_EQ(Mask(c.pIn), c.pOut) << c.pIn;
}

TEST(EsRandomNIF, RangesAndLeadingZeros) {
    struct Case {
        int16_t count;
        uint64_t bound;
    };
    for (const Case c : {Case{7, 10000000}, Case{8, 100000000}, Case{9, 100000000}, Case{0, 100000000}}) {
        bool bLeadingZero = false;
        uint64_t lMax = 0;
        for (int i = 0; i < 5000; ++i) {
            uint64_t n = 0;
            randomNIF(&n, c.count);
            ASSERT_LT(n, c.bound) << c.count;
            lMax = std::max(lMax, n);
            bLeadingZero = bLeadingZero || n < c.bound / 10;
        }
        EXPECT_TRUE(bLeadingZero) << c.count;
        EXPECT_GE(lMax, c.bound / 10 * 9) << c.count;
    }
}

TEST(EsCharacterCompare, SixteenBitDifference) {
    struct Case {
        wchar_t a, b;
        int iResult;
    };
    const Case cases[] = {
        {L'A', L'B', -1}, {L'b', L'a', 1}, {L'7', L'7', 0}, {L'Z', L'0', 42},
        {0x10041, L'A', 0},        // 65536 apart: equal once cut to 16 bits
        {0x8000, 0, -32768},       // the difference wraps to a negative value
    };
    for (const Case& c : cases) EXPECT_EQ(CharacterCompare(&c.a, &c.b), c.iResult) << int(c.a) << " " << int(c.b);

    const wchar_t sorted[] = L"0259ACKXZ";
    for (wchar_t key : {L'A', L'9', L'Z', L'0'}) {
        const void* pFound = std::bsearch(&key, sorted, 9, sizeof(wchar_t), CharacterCompare);
        ASSERT_NE(pFound, nullptr);
        EXPECT_EQ(*static_cast<const wchar_t*>(pFound), key);
    }
    const wchar_t absent = L'B';
    EXPECT_EQ(std::bsearch(&absent, sorted, 9, sizeof(wchar_t), CharacterCompare), nullptr);
}

}  // namespace
