// The generated table of refused region codes: the shape the data has, the
// order the binary search relies on, and agreement with
// data/it_invalid_region_codes.txt.

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
