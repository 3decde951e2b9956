// Codice fiscale checks, check character, masking and random generation.
// Expected values are worked out by hand from the published check-character
// rule and the masking rules; the sweeps check what every output must satisfy.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <set>
#include <string>
#include <vector>

#include <qrnp/qrnp_messages.h>

#include "countries/character_compare.h"
#include "countries/it/QRNPNidItAlgo.h"

namespace {

// The check character GetControlCharacter (pinned by ItCheckCharacter.KnownValues) gives the value.
wchar_t CheckOf(std::wstring v) {
    v.resize(16);
    GetControlCharacter(v.data());
    return v[15];
}

// The first 15 characters with their check character.
std::wstring WithCheck(std::wstring first15) {
    first15.resize(15);
    return first15 + CheckOf(first15);
}

std::string Narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }

bool IsIn(wchar_t c, const wchar_t* pSet) { return c != L'\0' && std::wcschr(pSet, c) != nullptr; }

// The digit positions, rightmost first.
constexpr int kFromRight[7] = {14, 13, 12, 10, 9, 7, 6};

// ValidateCF without an error list (its captures go nowhere).
uint32_t Validate(const std::wstring& v, uint64_t lFlags) { return ValidateCF(nullptr, 1, v.c_str(), lFlags); }

TEST(ItCheckCharacter, KnownValues) {
    struct Case {
        const wchar_t* pValue;
        wchar_t expected;
    };
    const Case cases[] = {
        // Odd places R S R 8 T 0 5 2 weigh 8+12+8+19+14+1+13+5 = 80, even places
        // S M A 5 1 A 6 add 18+12+0+5+1+0+6 = 42: 122 mod 26 = 18 -> S.
        {L"RSSMRA85T10A562#", L'S'},
        {L"MRTMTT25D09F205#", L'Z'},
        {L"BNCLRA70M52H501#", L'Y'},
        {L"RSSMRA85T10A56N#", L'H'},   // omocodic: the N is scored as the letter N
        {L"RSSMRAURTMLAQSN#", L'J'},
        // Stray characters are skipped and take no place: a hyphen at 5 scores
        // the rest as "RSSMR85T10A562", the parity shifted by one.
        // Every letter at an odd place weighs as the table says (these seven
        // appear at none in the other values): 257 mod 26 = 23 -> X.
        {L"KXOXPXVXWXYXZXA#", L'X'},
        {L"RSSMR-85T10A562#", L'R'},
        {L"RSSMR 85T10A562#", L'R'},
        {L"RSSMRa85T10A562#", L'R'},   // lower case is not scored either
    };
    for (const Case& c : cases) {
        std::wstring v = c.pValue;
        GetControlCharacter(v.data());
        EXPECT_EQ(v[15], c.expected) << Narrow(c.pValue);
    }
}

// With tracing off FindLetter scans instead of searching: for every table and
// any character, even far outside the letters, it must find what the binary
// search with CharacterCompare finds.
TEST(ItFindLetter, FindsWhatTheBinarySearchFinds) {
    struct Table {
        const wchar_t* pLetters;
        size_t iCount;
    };
    const Table kTables[] = {{VOWELS, 5}, {MONTHS, 12}, {SHORT_MONTHS, 5}, {REPLACEMENTS, 10}, {CONSONANTS, 21},
                             {REGION_INITIALS, 12}};
    std::vector<wchar_t> chars;
    for (int32_t c = -300; c < 0x20100; ++c) chars.push_back(static_cast<wchar_t>(c));
    for (const int64_t c : {0x7FFFFFFFLL, 0x7FFF0041LL, -0x7FFFFFFFLL - 1, 0x41 - 0x10000LL}) chars.push_back(static_cast<wchar_t>(c));
    for (const Table& table : kTables) {
        for (const wchar_t c : chars) {
            const void* pFound = std::bsearch(&c, table.pLetters, table.iCount, sizeof(wchar_t), CharacterCompare);
            const int32_t iExpected =
                pFound == nullptr ? -1 : static_cast<int32_t>(static_cast<const wchar_t*>(pFound) - table.pLetters);
            ASSERT_EQ(FindLetter(c, table.pLetters, table.iCount), iExpected) << table.pLetters << " " << int64_t(c);
        }
    }
}

TEST(ItValidateCF, FieldChecks) {
    struct Case {
        const wchar_t* pFirst15;   // the check character is not looked at
        uint64_t lFlags;
        uint32_t iCode;
    };
    const Case cases[] = {
        {L"RSSMRA85T10A562", 0, 0},
        // Surname: anything before the first vowel, vowels after it, then only "X".
        {L"RAOMRA85T10A562", 0, 0},
        {L"RAXMRA85T10A562", 0, 0},
        {L"AXXMRA85T10A562", 0, 0},
        {L"XXXMRA85T10A562", 0, 0},
        {L"RASMRA85T10A562", 0, QRNP_MSG_IT_INVALID_FAMILY_NAME},
        {L"AXEMRA85T10A562", 0, QRNP_MSG_IT_INVALID_FAMILY_NAME},
        {L"rasMRA85T10A562", 0, 0},   // lower case is never a vowel
        // The first-name code is accepted as it comes.
        {L"RSSAEB85T10A562", 0, 0},
        {L"RSSAXE85T10A562", 0, 0},
        // Day and sex.
        {L"RSSMRA85A41A562", 0, 0},
        {L"RSSMRA85A40A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85A00A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85A71A562", 0, 0},
        {L"RSSMRA85A72A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85A32A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85D70A562", 0, 0},
        {L"RSSMRA85D71A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85D31A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85S30A562", 0, 0},
        // February 29 in years divisible by 4, 00 included; never the 30th.
        {L"RSSMRA04B29A562", 0, 0},
        {L"RSSMRA00B29A562", 0, 0},
        {L"RSSMRA03B29A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA03B28A562", 0, 0},
        {L"RSSMRA04B30A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA04B69A562", 0, 0},
        {L"RSSMRA03B69A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        // Month letters: only the capitals of MONTHS.
        {L"RSSMRA85F10A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85t10A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRA85710A562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        // Replacement letters decode under their row bit: "ML" = 10, "QL" = 40,
        // "UR" = 95; February 29 of (0)4 written "LQ".
        {L"RSSMRA85TMLA562", IT_FLAG_ROW_DAY_LETTERS, 0},
        {L"RSSMRA85TQLA562", IT_FLAG_ROW_DAY_LETTERS, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        {L"RSSMRAURT10A562", IT_FLAG_ROW_YEAR_LETTERS, 0},
        {L"RSSMRALQB29A562", IT_FLAG_ROW_YEAR_LETTERS, 0},
        {L"RSSMRALPB29A562", IT_FLAG_ROW_YEAR_LETTERS, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        // Region codes: the letter, "000", the table.
        {L"RSSMRA85T10A000", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10A002", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10J123", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10N123", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10a562", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T105562", 0, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10Z999", 0, QRNP_MSG_IT_INVALID_REGION},
        // NLL decodes as 200 under the region bit: I200 is refused, A200 is not.
        {L"RSSMRA85T10INLL", IT_FLAG_ROW_REGION_LETTERS, QRNP_MSG_IT_INVALID_REGION},
        {L"RSSMRA85T10ANLL", IT_FLAG_ROW_REGION_LETTERS, 0},
        {L"RSSMRA85T10A200", 0, 0},
        {L"RSSMRA85T10I200", 0, QRNP_MSG_IT_INVALID_REGION},
        // The surname is checked first, then the date, then the region.
        {L"RASMRA85A40A000", 0, QRNP_MSG_IT_INVALID_FAMILY_NAME},
        {L"RSSMRA85A40A000", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
        // Lower case fails at the month at the latest.
        {L"rssmra85t10a562", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},
    };
    for (const Case& c : cases) {
        const std::wstring v = WithCheck(c.pFirst15);
        EXPECT_EQ(Validate(v, c.lFlags), c.iCode) << Narrow(v);
    }
}

TEST(ItMaskName, Values) {
    struct Case {
        const wchar_t* pSource;
        int16_t sShift;
        const wchar_t* pTarget;
    };
    const Case cases[] = {
        // R (13th consonant, index + 1 = 14) + 12 = 26 -> 5: H; shift 13: S 15 - 13 = 2: D;
        // shift 15: S 15 + 15 = 30 -> 9: M.
        {L"RSS", 12, L"HDM"},
        // M 10 + 12 -> 1: C; R 14 - 13 = 1: C; A (vowel 0, + 1) 1 + 15 = 16 -> 1: E.
        {L"MRA", 12, L"CCE"},
        // A shift of 0 still moves a letter one place on; the "X" padding is copied.
        {L"RAX", 0, L"SAX"},
        {L"AXX", 1, L"IXX"},
        // X before any vowel is a consonant like the others.
        {L"XXX", 3, L"CTG"},
        // A character outside both tables counts as index 0: 0, 0 - 1 -> 20, 0 + 3.
        {L"rss", 0, L"BZF"},
    };
    for (const Case& c : cases) {
        wchar_t target[4] = {L'?', L'?', L'?', L'?'};
        EXPECT_EQ(MaskName(c.pSource, target, c.sShift), 1);
        EXPECT_EQ(std::wstring(target), c.pTarget) << Narrow(c.pSource);
    }
    wchar_t target[4];
    EXPECT_EQ(MaskName(nullptr, target, 1), 0);
}

TEST(ItMaskCF, ExactValues) {
    struct Case {
        const wchar_t* pIn;
        uint64_t lFlags;
        const wchar_t* pOut;
    };
    const Case cases[] = {
        // Key 562 + 1000 x ("A" - 64) = 1562, 2k = 3124. Year (3124 + 85 + 1) mod 100 = 10;
        // month index (3124 + 12) mod 12 = 4: E; day (3124 + 10 + 1) mod 31 + 1 = 5.
        // Region, year 10: A -> M525 (refused), I488 (refused), G451.
        {L"RSSMRA85T10A562S", 6, L"RSSMRA10E05G451W"},
        {L"RSSMRA85T10A562S", 7, L"HDMCCE10E05G451N"},
        {L"RSSMRA85T10A562S", 2, L"RSSMRA10E05A562A"},
        // Region alone, moved by the kept year 85: A + 85 -> B, 562 - 262 = 300.
        {L"RSSMRA85T10A562S", 4, L"RSSMRA85T10B300D"},
        {L"RSSMRA85T10A562S", 0, L"RSSMRA85T10A562S"},
        // A woman: key 501 + 8000, 2k = 17002; year 73, month index 6 (L), day
        // (17002 + 12 + 1) mod 31 + 1 = 28, + 40 = 68; region H + 73 -> I, 501 - 226 = 275.
        {L"BNCLRA70M52H501Y", 6, L"BNCLRA73L68I275P"},
        // Replacement letters at 14 and 13 only: G451 becomes G4RM.
        {L"RSSMRA85T10A5SNT", 6 | IT_FLAG_ROW_REGION_LETTERS, L"RSSMRA10E05G4RMA"},
        // Letters outside the right-hand run are dropped from the year and day,
        // which are written as digits; a region code that is not masked is
        // kept as it was written, letters and all.
        {L"RSSMRA8RT1LA562H", 0, L"RSSMRA85T10A562S"},
        {L"RSSMRA85T10AR62N", 2, L"RSSMRA10E05AR62V"},
        {L"RSSMRA85T10AR62N", 6, L"RSSMRA10E05G451W"},
    };
    for (const Case& c : cases) {
        wchar_t out[17];
        ASSERT_EQ(MaskCF(c.pIn, out, c.lFlags | IT_FLAG_ROW_LETTERS), 0u);
        EXPECT_EQ(std::wstring(out), c.pOut) << Narrow(c.pIn) << " flags " << c.lFlags;
    }
}

// The result carries exactly the source's unbroken run of replacement
// letters counted from position 14, whatever the other positions hold.
TEST(ItMaskCF, CarriesTheRightHandRunOfReplacementLetters) {
    const std::wstring base = L"RSSMRA85T10A562S";
    for (int iRun = 0; iRun <= 7; ++iRun) {
        for (int iExtra : {-1, 6, 7, 9}) {  // a stray letter left of the run
            std::wstring in = base;
            for (int i = 0; i < iRun; ++i) in[kFromRight[i]] = REPLACEMENTS[in[kFromRight[i]] - L'0'];
            if (iExtra >= 0 && (iRun == 7 || iExtra < kFromRight[iRun]))
                in[iExtra] = REPLACEMENTS[base[iExtra] - L'0'];
            in = WithCheck(in);
            ASSERT_EQ(Validate(in, IT_FLAG_ROW_LETTERS), 0u) << Narrow(in);
            for (uint64_t lParts : {0, 6, 7}) {
                wchar_t out[17];
                ASSERT_EQ(MaskCF(in.c_str(), out, lParts | IT_FLAG_ROW_LETTERS), 0u);
                const std::wstring s(out);
                SCOPED_TRACE(Narrow(in) + " -> " + Narrow(s));
                for (int i = 0; i < 7; ++i) EXPECT_EQ(IsIn(s[kFromRight[i]], REPLACEMENTS), i < iRun) << kFromRight[i];
                EXPECT_EQ(s[15], CheckOf(s));
                EXPECT_EQ(Validate(s, IT_FLAG_ROW_LETTERS), 0u);
            }
        }
    }
}

// The region walk ends, on a code that may be carried, from every letter and
// number under every step: with the region alone the walk steps by the
// source year (00 counting as 100).
TEST(ItMaskCF, RegionWalkEndsFromEveryCodeAndYear) {
    for (int y = 0; y < 100; ++y) {
        for (const wchar_t letter : std::wstring(REGION_INITIALS)) {
            for (int n = 1; n <= 999; ++n) {
                wchar_t in[17], out[17];
                swprintf(in, 17, L"RSSMRA%02dT10%lc%03dX", y, letter, n);
                ASSERT_EQ(MaskCF(in, out, IT_FLAG_REGION), 0u) << Narrow(in);
                ASSERT_EQ(IsValidRegionCode(std::wstring(out + 11, 4).c_str()), 1) << Narrow(in) << " " << Narrow(out);
            }
        }
    }
}

// A "Z" region code can come out with any letter of REGION_INITIALS. (The
// new year's parity follows the source year's, and an even year keeps "Z" on
// every other letter, so both parities are needed.)
TEST(ItMaskCF, ForeignRegionsSpreadOverEveryLetter) {
    std::set<wchar_t> letters;
    for (int n = 1; n <= 1998; ++n) {
        wchar_t first15[16];
        swprintf(first15, 16, L"RSSMRA%02dT10Z%03d", 84 + n / 1000, n % 1000);
        const std::wstring in = WithCheck(first15);
        if (IsValidRegionCode(in.substr(11, 4).c_str()) != 1) continue;
        wchar_t out[17];
        ASSERT_EQ(MaskCF(in.c_str(), out, 6), 0u);
        letters.insert(out[11]);
    }
    EXPECT_EQ(letters.size(), 12u);
}

// The draws' quirks; that the outputs (but for days 00 and 40) pass full
// validation is GeneratedValues'.
TEST(ItRandomCF, TheDrawsRanges) {
    std::set<int> years, days;
    for (int i = 0; i < 20000; ++i) {
        wchar_t out[17];
        ASSERT_EQ(RandomCF(out), 0u);
        const std::wstring s(out);
        SCOPED_TRACE(Narrow(s));
        ASSERT_EQ(s.size(), 16u);
        EXPECT_EQ(s[15], CheckOf(s));
        for (const int i : kFromRight) EXPECT_FALSE(IsIn(s[i], REPLACEMENTS)) << i;
        const int y = std::stoi(s.substr(6, 2)), d = std::stoi(s.substr(9, 2));
        years.insert(y);
        days.insert(d);
        const int iDay = d >= 40 ? d - 40 : d;
        const int iMonth = static_cast<int>(std::wcschr(MONTHS, s[8]) - MONTHS);
        const int iDays = IsIn(s[8], SHORT_MONTHS) ? (iMonth == 1 ? (y % 4 == 0 ? 29 : 28) : 30) : 31;
        EXPECT_LT(iDay, iDays) << "the last day of a month is never drawn";
        if (HasFailure()) return;
    }
    EXPECT_EQ(*years.begin(), 0);
    EXPECT_EQ(*years.rbegin(), 98) << "99 is never drawn";
    EXPECT_TRUE(days.count(0) && days.count(40)) << "the day runs from 00";
    EXPECT_EQ(*days.rbegin(), 70);
}

// Only the first call seeds: after it, the output follows rand().
TEST(ItRandomCF, SeedsOnceThenFollowsRand) {
    wchar_t first[17], second[17];
    ASSERT_EQ(RandomCF(first), 0u);
    std::srand(4242);
    ASSERT_EQ(RandomCF(first), 0u);
    std::srand(4242);
    ASSERT_EQ(RandomCF(second), 0u);
    EXPECT_EQ(std::wstring(first), std::wstring(second));
}

}  // namespace
