// NIF digit masking, random numbers, the control letter and the character
// comparison. Expected masked values are worked out by hand from the
// masking rules; the sweeps check what every output must satisfy.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
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

// Every digit is shifted by its position plus 1 (odd last digit) or 3 (even);
// the first stays first and the others are only reordered.
TEST(EsMaskNIF, ShiftsEveryDigitAndKeepsTheFirstInPlace) {
    std::mt19937 gen(7);
    for (int iCase = 0; iCase < 20000; ++iCase) {
        const int iCount = (iCase % 2 == 0) ? 7 : 8;
        std::wstring in;
        for (int i = 0; i < iCount; ++i) in += static_cast<wchar_t>(L'0' + gen() % 10);
        const int o = ((in.back() - L'0') % 2 != 0) ? 1 : 3;
        std::wstring shifted;
        for (int i = 0; i < iCount; ++i) shifted += static_cast<wchar_t>(L'0' + (in[i] - L'0' + o + i) % 10);

        const std::wstring out = Mask(in);
        ASSERT_EQ(out[0], shifted[0]) << std::string(in.begin(), in.end());
        std::wstring restOut = out.substr(1), restShifted = shifted.substr(1);
        std::sort(restOut.begin(), restOut.end());
        std::sort(restShifted.begin(), restShifted.end());
        ASSERT_EQ(restOut, restShifted) << std::string(in.begin(), in.end());
    }
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
