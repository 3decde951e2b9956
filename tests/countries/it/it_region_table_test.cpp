// The generated table of refused region codes: the shape the data has, its
// ascending order, agreement with data/it_invalid_region_codes.txt, and
// IsValidRegionCode answering as a binary search of the table would.

#include <gtest/gtest.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "countries/it/QRNPNidItAlgo.h"

namespace {

TEST(ItRegionTable, ShapeOfTheData) {
    // The data holds 3675 codes; Z has 787 (two fewer than once expected, see
    // the data file's provenance). Every other letter's count is as expected.
    const std::map<wchar_t, int> expected = {
        {L'A', 191}, {L'B', 213}, {L'C', 216}, {L'D', 218}, {L'E', 210}, {L'F', 196},
        {L'G', 189}, {L'H', 224}, {L'I', 224}, {L'L', 213}, {L'M', 794}, {L'Z', 787},
    };
    std::map<wchar_t, int> counts;
    for (const auto& entry : InvalidRegionCodes) {
        ASSERT_EQ(std::wcslen(entry), 4u);
        ++counts[entry[0]];
        for (int i = 1; i < 4; ++i) ASSERT_TRUE(entry[i] >= L'0' && entry[i] <= L'9') << entry;
        EXPECT_NE(std::wstring(entry + 1), L"000") << "000 is refused by its own test";
    }
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(IT_INVALID_REGION_CODES, 3675);

    const wchar_t* kFirst[] = {L"A002", L"A003", L"A009", L"A011", L"A021"};
    for (int i = 0; i < 5; ++i) EXPECT_STREQ(InvalidRegionCodes[i], kFirst[i]);
    for (int i = 0; i < 10; ++i) {
        wchar_t last[5];
        swprintf(last, 5, L"Z%03d", 990 + i);
        EXPECT_STREQ(InvalidRegionCodes[IT_INVALID_REGION_CODES - 10 + i], last);
    }
}

TEST(ItRegionTable, AscendingUnderTheCaseInsensitiveOrder) {
    for (int i = 1; i < IT_INVALID_REGION_CODES; ++i)
        ASSERT_LT(wcsncasecmp(InvalidRegionCodes[i - 1], InvalidRegionCodes[i], 4), 0) << i;
}

// Every entry is found by the search, and so is nothing between entries.
TEST(ItRegionTable, EveryEntryIsRefusedAndOnlyThose) {
    int iRefused = 0;
    for (const wchar_t letter : std::wstring(REGION_INITIALS)) {
        for (int n = 1; n <= 999; ++n) {
            wchar_t code[5];
            swprintf(code, 5, L"%lc%03d", letter, n);
            iRefused += IsValidRegionCode(code) == 0;
        }
    }
    EXPECT_EQ(iRefused, IT_INVALID_REGION_CODES);
    for (const auto& entry : InvalidRegionCodes) EXPECT_EQ(IsValidRegionCode(entry), 0) << entry;
    EXPECT_EQ(IsValidRegionCode(nullptr), 0);
}

// The table's own lookup: a binary search comparing the first four
// characters without regard to case. IsValidRegionCode must agree with it
// for codes of any characters, not only a letter and three digits.
bool InTableBySearch(const wchar_t* pCode) {
    int iLow = 0, iHigh = IT_INVALID_REGION_CODES - 1;
    while (iLow <= iHigh) {
        const int iMiddle = (iLow + iHigh) / 2;
        const int iCmp = wcsncasecmp(InvalidRegionCodes[iMiddle], pCode, 4);
        if (iCmp == 0) return true;
        if (iCmp > 0)
            iHigh = iMiddle - 1;
        else
            iLow = iMiddle + 1;
    }
    return false;
}

TEST(ItRegionTable, AgreesWithASearchOfTheTableForAnyCharacters) {
    const wchar_t* kCodes[] = {
        L"A002", L"A003", L"A004", L"M999", L"Z999", L"Z001", L"H501",  // digits, in the table or not
        L"A00a", L"Aa02", L"A0O2", L"A00 ", L"A-02", L"A002x",          // other characters after the letter
        L"A00", L"A0", L"A",                                            // shorter codes
        L"a002", L"J123", L"N123", L"\u0100002",                        // refused by the letter
    };
    for (const wchar_t* pCode : kCodes) {
        const wchar_t c = pCode[0];
        const bool bLetter = (c >= L'A' && c <= L'M' && c != L'J' && c != L'K') || c == L'Z';
        const bool bZeros = std::wcsncmp(pCode + 1, L"000", 3) == 0;
        const int32_t iExpected = bLetter && !bZeros && !InTableBySearch(pCode) ? 1 : 0;
        EXPECT_EQ(IsValidRegionCode(pCode), iExpected) << pCode;
    }
}

// The generated file must match the data it was generated from (a stale
// QRNPNidItAlgoExt.cpp fails here).
TEST(ItRegionTable, MatchesDataFile) {
    const std::filesystem::path data =
        std::filesystem::path(__FILE__).parent_path() / "../../../data/it_invalid_region_codes.txt";
    std::ifstream in(data);
    ASSERT_TRUE(in) << data;
    std::string line;
    int i = 0;
    while (std::getline(in, line)) {
        ASSERT_LT(i, IT_INVALID_REGION_CODES);
        EXPECT_EQ(std::wstring(line.begin(), line.end()), InvalidRegionCodes[i]) << i;
        ++i;
    }
    EXPECT_EQ(i, IT_INVALID_REGION_CODES);
}

}  // namespace
