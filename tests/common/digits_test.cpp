// Permutation, keyed transposition and fixed-width number text.
#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <qrnp/qrnp_common.h>

namespace {

// Wide digits compared as narrow text (glibc's vectorised wmemcmp trips valgrind on short strings).
std::string Narrow(const wchar_t* pText, size_t iLen) { return std::string(pText, pText + iLen); }

TEST(Permutation, SeedsGiveEachValueOnce) {
    const struct {
        int32_t iSeed;
        std::vector<int16_t> expected;
    } known[] = {{5, {2, 4, 3, 1}}, {130, {3, 2, 1, 4}}, {0, {1, 2, 3, 4}}};
    for (const auto& k : known) {
        std::vector<int16_t> out(4);
        PXGetPermutation(k.iSeed, 4, out.data());
        EXPECT_EQ(out, k.expected) << k.iSeed;
    }
    for (int16_t n : {1, 2, 9, 16}) {
        for (int32_t iSeed = 0; iSeed < 500; iSeed += 7) {
            std::vector<int16_t> out(n);
            PXGetPermutation(iSeed, n, out.data());
            if (iSeed == 0) {
                EXPECT_TRUE(std::is_sorted(out.begin(), out.end()));
            }
            std::sort(out.begin(), out.end());
            for (int16_t i = 0; i < n; i++) ASSERT_EQ(out[i], i + 1) << "seed " << iSeed << " n " << n;
        }
    }
    std::vector<int16_t> out(20, -1);  // more than 16 is cut to 16
    PXGetPermutation(3, 20, out.data());
    for (size_t i = 16; i < out.size(); i++) EXPECT_EQ(out[i], -1) << i;
    std::sort(out.begin(), out.begin() + 16);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[15], 16);
}

// Small permutations come from a table of one cycle of seeds: every seed,
// negative and extreme ones too, must still get what the rule gives (at each
// step the value at place seed mod (values left) of those left, in order).
TEST(Permutation, TabledSeedsFollowTheRule) {
    const auto byRule = [](int32_t iSeed, int16_t n) {
        std::vector<int16_t> pool, out;
        for (int16_t i = 1; i <= n; i++) pool.push_back(i);
        while (!pool.empty()) {
            const int32_t iLeft = static_cast<int32_t>(pool.size());
            const int32_t k = ((iSeed % iLeft) + iLeft) % iLeft;
            out.push_back(pool[static_cast<size_t>(k)]);
            pool.erase(pool.begin() + k);
        }
        return out;
    };
    std::vector<int32_t> seeds = {INT32_MIN, INT32_MIN + 1, INT32_MAX, INT32_MAX - 1, 720720, -720720, 840, -841};
    for (int32_t iSeed = -2000; iSeed <= 2000; ++iSeed) seeds.push_back(iSeed);
    for (int16_t n = 1; n <= 10; n++) {
        for (const int32_t iSeed : seeds) {
            std::vector<int16_t> out(static_cast<size_t>(n));
            PXGetPermutation(iSeed, n, out.data());
            ASSERT_EQ(out, byRule(iSeed, n)) << "seed " << iSeed << " n " << n;
        }
    }
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
        {"1234", 23, 0, "1243"},                  // rows repeat every 23 keys
        {"123456789012", 2, 0, "341278561290"},   // each group of four alike
        {"0000", 0, 10, "0132"},                  // one pass: 0,1,2,3
        {"9876", 0, 1, "1243"},                   // first pass all zero, second 1,2,3,4
        {"5555", 4, 5, "3102"},                   // 0,1,2,3 through (4,2,1,3)
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.pDigits) + " key " + std::to_string(c.lKey));
        const std::string digits(c.pDigits);
        const auto n = static_cast<int16_t>(digits.size());
        std::string out(digits.size(), '#');
        EXPECT_EQ(PXTransposeNum(digits.c_str(), out.data(), n, c.lKey, c.iOffset), 0);
        EXPECT_EQ(out, c.pExpected);
        const std::wstring wdigits(digits.begin(), digits.end());
        std::wstring wout(digits.size(), L'#');
        EXPECT_EQ(PXTransposeNumW(wdigits.c_str(), wout.data(), n, c.lKey, c.iOffset), 0);
        EXPECT_EQ(Narrow(wout.data(), wout.size()), c.pExpected);
    }
}

TEST(Transpose, LimitsAndUnterminatedOutput) {
    wchar_t out[16];
    std::fill(std::begin(out), std::end(out), L'#');
    EXPECT_EQ(PXTransposeNumW(L"1234567890123", out, 13, 0, 0), -1);
    EXPECT_EQ(out[0], L'#');
    ASSERT_EQ(PXTransposeNumW(L"1234", out, 4, 0, 0), 0);
    EXPECT_EQ(out[4], L'#');
    char one[2] = {'#', '#'};  // a zero that stays zero at every pass must still return
    EXPECT_EQ(PXTransposeNum("0", one, 1, 0, 10), 0);
    EXPECT_EQ(one[1], '#');
}

TEST(NumberText, FixedWidthDigits) {
    const struct {
        int64_t lValue;
        int16_t sWidth;
        int32_t iRc;
        const char* pDigits;  // what the width holds afterwards
    } cases[] = {{42, 4, 0, "0042"}, {0, 3, 0, "000"}, {12345, 4, -1, "2345"}, {123456789, 9, 0, "123456789"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.lValue) + "/" + std::to_string(c.sWidth));
        wchar_t wbuf[16];
        char buf[16];
        std::fill(std::begin(wbuf), std::end(wbuf), L'#');
        EXPECT_EQ(PXIntToNumW(static_cast<int32_t>(c.lValue), c.sWidth, wbuf), c.iRc);
        EXPECT_EQ(Narrow(wbuf, static_cast<size_t>(c.sWidth) + 1), std::string(c.pDigits) + '\0');
        std::fill(std::begin(buf), std::end(buf), '#');
        EXPECT_EQ(PXIntToNum(static_cast<int32_t>(c.lValue), c.sWidth, buf), c.iRc);
        EXPECT_STREQ(buf, c.pDigits);
        std::fill(std::begin(wbuf), std::end(wbuf), L'#');
        EXPECT_EQ(PXLongToNumW(c.lValue, c.sWidth, wbuf), c.iRc);
        EXPECT_EQ(Narrow(wbuf, static_cast<size_t>(c.sWidth) + 1), std::string(c.pDigits) + '\0');
        std::fill(std::begin(buf), std::end(buf), '#');
        EXPECT_EQ(PXLongToNum(c.lValue, c.sWidth, buf), c.iRc);
        EXPECT_EQ(std::string(buf, static_cast<size_t>(c.sWidth) + 1), std::string(c.pDigits) + '#');  // no terminator
    }
}

TEST(NumberText, DigitsThenBlanks) {
    const struct {
        const char* pText;
        int16_t n, sWidth;
        int32_t iRc;
        int64_t lValue;  // -9: left as it was
    } cases[] = {
        {"123 ", 3, 4, 0, 123},
        {"12a ", 3, 4, -1, -9},
        {"1234", 3, 4, -1, -9},  // the field's tail must be blank
        {"0042", 4, 4, 0, 42},
        {"12  ", 2, 4, 0, 12},
        {"999999999999999999", 18, 18, 0, 999999999999999999LL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("'") + c.pText + "' n " + std::to_string(c.n));
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

}  // namespace
