// Permutation, keyed transposition and fixed-width number text.
#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <qrnp/qrnp_common.h>

namespace {

std::vector<int16_t> Permutation(int32_t iSeed, int16_t n) {
    std::vector<int16_t> out(static_cast<size_t>(n));
    PXGetPermutation(iSeed, n, out.data());
    return out;
}

TEST(Permutation, KnownSeeds) {
    const struct {
        int32_t iSeed;
        int16_t n;
        std::vector<int16_t> expected;
    } cases[] = {
        {5, 4, {2, 4, 3, 1}},
        {130, 4, {3, 2, 1, 4}},
        {0, 4, {1, 2, 3, 4}},
        {0, 16, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {7, 1, {1}},
        {1, 2, {2, 1}},
    };
    for (const auto& c : cases) EXPECT_EQ(Permutation(c.iSeed, c.n), c.expected) << c.iSeed << "/" << c.n;
}

TEST(Permutation, EverySeedGivesEachValueOnce) {
    for (int16_t n : {2, 3, 4, 9, 16}) {
        for (int32_t iSeed = 0; iSeed < 2000; iSeed += 7) {
            std::vector<int16_t> out = Permutation(iSeed, n);
            std::sort(out.begin(), out.end());
            for (int16_t i = 0; i < n; i++) ASSERT_EQ(out[i], i + 1) << "seed " << iSeed << " n " << n;
        }
    }
}

TEST(Permutation, CountAboveSixteenStopsAtSixteen) {
    std::vector<int16_t> out(20, -1);
    PXGetPermutation(3, 20, out.data());
    for (size_t i = 16; i < out.size(); i++) EXPECT_EQ(out[i], -1) << i;
    std::vector<int16_t> first(out.begin(), out.begin() + 16);
    EXPECT_EQ(first, Permutation(3, 16));
}

// Wide digit text compared as narrow text (glibc's vectorised wmemcmp trips valgrind on short strings).
std::string Narrow(const wchar_t* pText, size_t iLen) {
    std::string out;
    for (size_t i = 0; i < iLen; i++) out.push_back(pText[i] < 128 ? static_cast<char>(pText[i]) : '?');
    return out;
}
std::string Narrow(const wchar_t* pText) { return Narrow(pText, std::wcslen(pText)); }

std::string TransposeW(const std::string& digits, int64_t lKey, int32_t iOffset) {
    const std::wstring wide(digits.begin(), digits.end());
    std::wstring out(digits.size(), L'#');
    EXPECT_EQ(PXTransposeNumW(wide.c_str(), out.data(), static_cast<int16_t>(wide.size()), lKey, iOffset), 0);
    return Narrow(out.c_str(), out.size());
}

std::string Transpose(const std::string& digits, int64_t lKey, int32_t iOffset) {
    std::string out(digits.size(), '#');
    EXPECT_EQ(PXTransposeNum(digits.c_str(), out.data(), static_cast<int16_t>(digits.size()), lKey, iOffset), 0);
    return out;
}

TEST(Transpose, KeyPicksTheRowAndOffsetShiftsDigits) {
    const struct {
        const char* pDigits;
        int64_t lKey;
        int32_t iOffset;
        const char* pExpected;
    } cases[] = {
        {"1234", 0, 0, "1243"},
        {"1234", 22, 0, "2341"},
        {"1234", 23, 0, "1243"},          // rows repeat every 23 keys
        {"1234", 1, 0, "4312"},
        {"1234", 19, 0, "4321"},
        {"12345678", 1, 0, "43128756"},   // each group of four alike
        {"123456789012", 2, 0, "341278561290"},
        {"0000", 0, 10, "0132"},          // one pass: 0,1,2,3
        {"9876", 0, 1, "1243"},           // first pass all zero, second 1,2,3,4
        {"1234", 0, 3, "4608"},           // 4,6,8,0 -> row 0
        {"5555", 4, 5, "3102"},           // 0,1,2,3 -> (4,2,1,3)
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.pDigits) + " key " + std::to_string(c.lKey) + " offset " + std::to_string(c.iOffset));
        EXPECT_EQ(Transpose(c.pDigits, c.lKey, c.iOffset), c.pExpected);
        EXPECT_EQ(TransposeW(c.pDigits, c.lKey, c.iOffset), c.pExpected);
    }
}

TEST(Transpose, EveryRowIsADistinctNonIdentityReordering) {
    std::vector<std::string> seen;
    for (int64_t lKey = 0; lKey < 23; lKey++) {
        const std::string out = Transpose("1234", lKey, 0);
        EXPECT_NE(out, "1234") << lKey;
        std::string sorted = out;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, "1234") << lKey;
        EXPECT_EQ(std::find(seen.begin(), seen.end(), out), seen.end()) << lKey;
        seen.push_back(out);
    }
}

TEST(Transpose, LimitsAndUnterminatedOutput) {
    wchar_t out[16];
    std::fill(std::begin(out), std::end(out), L'#');
    EXPECT_EQ(PXTransposeNumW(L"1234567890123", out, 13, 0, 0), -1);
    EXPECT_EQ(PXTransposeNum("1234567890123", reinterpret_cast<char*>(out), 13, 0, 0), -1);
    EXPECT_EQ(out[0], L'#');

    ASSERT_EQ(PXTransposeNumW(L"1234", out, 4, 0, 0), 0);
    EXPECT_EQ(out[4], L'#');

    // A single zero digit with an offset of ten stays zero at every pass: it must still return.
    char one[2] = {'#', '#'};
    EXPECT_EQ(PXTransposeNum("0", one, 1, 0, 10), 0);
    EXPECT_EQ(one[1], '#');

    // A negative key still picks a row.
    EXPECT_EQ(Transpose("1234", -1, 0).size(), 4u);
}

TEST(NumberText, FixedWidthDigits) {
    const struct {
        int64_t lValue;
        int16_t sWidth;
        int32_t iRc;
        const char* pDigits;  // what the width holds afterwards
    } cases[] = {
        {42, 4, 0, "0042"},
        {0, 3, 0, "000"},
        {9999, 4, 0, "9999"},
        {12345, 4, -1, "2345"},
        {123456789, 9, 0, "123456789"},
        {0, 0, 0, ""},
        {7, 0, -1, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.lValue) + "/" + std::to_string(c.sWidth));
        const std::string expected(c.pDigits);
        wchar_t wbuf[16];
        char buf[16];

        std::fill(std::begin(wbuf), std::end(wbuf), L'#');
        EXPECT_EQ(PXIntToNumW(static_cast<int32_t>(c.lValue), c.sWidth, wbuf), c.iRc);
        EXPECT_EQ(Narrow(wbuf), expected);

        std::fill(std::begin(buf), std::end(buf), '#');
        EXPECT_EQ(PXIntToNum(static_cast<int32_t>(c.lValue), c.sWidth, buf), c.iRc);
        EXPECT_EQ(std::string(buf), expected);

        std::fill(std::begin(wbuf), std::end(wbuf), L'#');
        EXPECT_EQ(PXLongToNumW(c.lValue, c.sWidth, wbuf), c.iRc);
        EXPECT_EQ(Narrow(wbuf), expected);

        std::fill(std::begin(buf), std::end(buf), '#');
        EXPECT_EQ(PXLongToNum(c.lValue, c.sWidth, buf), c.iRc);
        EXPECT_EQ(std::string(buf, static_cast<size_t>(c.sWidth)), expected);
        EXPECT_EQ(buf[c.sWidth], '#');  // no terminator
    }
    wchar_t wbuf[20];
    EXPECT_EQ(PXLongToNumW(1234567890123456789LL, 19, wbuf), 0);
    EXPECT_EQ(Narrow(wbuf), "1234567890123456789");
}

TEST(NumberText, DigitsThenBlanks) {
    const struct {
        const char* pText;
        int16_t n;
        int16_t sWidth;
        int32_t iRc;
        int64_t lValue;  // -9: left as it was
    } cases[] = {
        {"123 ", 3, 4, 0, 123},
        {"12a ", 3, 4, -1, -9},
        {"1234", 3, 4, -1, -9},      // the field's tail must be blank
        {"123", 3, 3, 0, 123},
        {"0042", 4, 4, 0, 42},
        {"12  ", 2, 4, 0, 12},
        {"1 2 ", 2, 4, -1, -9},
        {"45678", 3, 2, 0, 456},     // a width below n checks no blanks
        {"999999999999999999", 18, 18, 0, 999999999999999999LL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("'") + c.pText + "' n " + std::to_string(c.n) + " width " + std::to_string(c.sWidth));
        const std::string text(c.pText);
        const std::wstring wtext(text.begin(), text.end());
        int64_t lValue = -9;
        EXPECT_EQ(PXNumToLongW(wtext.c_str(), c.n, c.sWidth, &lValue), c.iRc);
        EXPECT_EQ(lValue, c.lValue);
        lValue = -9;
        EXPECT_EQ(PXNumToLong(text.c_str(), c.n, c.sWidth, &lValue), c.iRc);
        EXPECT_EQ(lValue, c.lValue);
    }
}

TEST(NumberText, RoundTripThroughTransposition) {
    // The masking path: value -> four digits -> transposed -> value.
    for (int32_t iSerial : {1, 42, 999, 1000, 9999}) {
        wchar_t digits[5], moved[5] = {};
        ASSERT_EQ(PXIntToNumW(iSerial, 4, digits), 0);
        ASSERT_EQ(PXTransposeNumW(digits, moved, 4, 7, 5), 0);
        int64_t lBack = -1;
        ASSERT_EQ(PXNumToLongW(moved, 4, 4, &lBack), 0) << iSerial;
        EXPECT_GE(lBack, 0);
        EXPECT_LE(lBack, 9999);
    }
}

}  // namespace
