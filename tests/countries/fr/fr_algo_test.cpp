// INSEE key, commune table, masking and random generation. Expected values
// are worked out by hand from the masking rules (the validity of random and
// masked values in bulk is tests/countries/generated_values_test.cpp's).

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <tuple>

#include <qrnp/qrnp_datacnv.h>
#include <qrnp/qrnp_messages.h>

#include "countries/fr/QRNPNidFrAlgo.h"

namespace {

// The key of a 13-character number, as InseeKey (pinned by FrInseeKey.Values) gives it.
int KeyOf(const std::wstring& first13) {
    const bool bCorsica = first13[6] == L'A' || first13[6] == L'B';
    int32_t iKey = -1;
    EXPECT_EQ(InseeKey(first13.c_str(), bCorsica, &iKey), 0u);
    return iKey;
}

std::wstring WithKey(const std::wstring& first13) {
    wchar_t key[3];
    swprintf(key, 3, L"%02d", KeyOf(first13));
    return first13 + key;
}

int Num(const std::wstring& s, size_t pos, size_t len) { return std::stoi(s.substr(pos, len)); }

int DeptOf(const std::wstring& s) {
    if (s.compare(5, 2, L"2A") == 0) return FR_DEPT_2A;
    if (s.compare(5, 2, L"2B") == 0) return FR_DEPT_2B;
    return Num(s, 5, 2);
}

std::wstring Mask(const std::wstring& in, uint64_t lFlags) {
    wchar_t out[16];
    const uint32_t rc = MaskINSEE(in.c_str(), lFlags, out);
    EXPECT_EQ(rc, 0u) << std::string(in.begin(), in.end());
    return rc == 0 ? std::wstring(out) : std::wstring();
}

struct KeyCase {
    const wchar_t* pDigits;
    bool bCorsica;
    uint32_t iRc;
    int iKey;
};

TEST(FrInseeKey, Values) {
    const KeyCase cases[] = {
        {L"1850578006084", false, 0, 91},
        {L"1197530853397", false, 0, 97},   // 97 x 12345678901: n mod 97 = 0 gives 97, not 0
        {L"180012A004123", true, 0, 16},    // keyed as 1800120004123
        {L"180012b004123", true, 0, 16},
        {L"180012A004123", false, QRNP_MSG_SOURCE_CONVERSION, 0},
        {L"185057800608", false, QRNP_MSG_SOURCE_CONVERSION, 0},  // 12 characters
        {L"18505780060849", false, 0, 91},  // only the first 13 are read
    };
    for (const KeyCase& c : cases) {
        int32_t iKey = 0;
        EXPECT_EQ(InseeKey(c.pDigits, c.bCorsica, &iKey), c.iRc) << c.pDigits;
        if (c.iRc == 0) {
            EXPECT_EQ(iKey, c.iKey) << c.pDigits;
        }
    }
}

// Against the generated commune table (whose shape the generator checks):
// every row's numbers 1..highest are in use but for its unused list, the
// NONE row has none, and rows and numbers out of range are refused.
TEST(FrCommuneIsValid, AgreesWithTheTable) {
    for (int d = 0; d < FR_DEPT_ROWS; ++d) {
        const DeptRow& row = deptTable[d];
        int iValid = 0;
        for (int c = -1; c <= 1000; ++c) iValid += CommuneIsValid(d, c);
        const int iGaps = row.pUnused[0] < 0 ? 0 : row.sUnusedCount;
        EXPECT_EQ(iValid, d == FR_DEPT_NONE ? 0 : row.sHighest - iGaps) << d;
    }
    const std::tuple<int, int, bool> cases[] = {
        {1, 1, true},    {1, 3, false},   {1, 457, true},  {1, 458, false}, {1, 0, false},  {18, 1, true},
        {18, 290, true}, {18, -1, false}, {18, 291, false}, {95, 25, false}, {95, 26, true}, {95, 65, false},
        {0, 1, false},   {0, 2, true},    {20, 1, true},   {20, 2, false},  {97, 100, false}, {97, 101, true},
        {97, 424, true}, {96, 1, false},  {96, -2, false}, {98, 1, false},  {-1, 1, false},
    };
    for (const auto& [iDept, iCommune, bValid] : cases)
        EXPECT_EQ(CommuneIsValid(iDept, iCommune), bValid) << iDept << "/" << iCommune;
}

struct MaskCase {
    const wchar_t* pIn;
    uint64_t lFlags;
    const wchar_t* pOut;
};

// Order number 084 in department 78 (78 mod 3 = 0, offset 3): 0+3, 8+4, 4+5 ->
// 3 2 9, sum 14 -> reordering (3, 2, 1) -> 923 in every case of the worked value.
TEST(FrMaskInsee, ExactValues) {
    const MaskCase cases[] = {
        // Sex: month 05 permutes (1,2,7,8) places as 2,4,3,1, so 1 -> 2. Year 85 odd -> 83.
        // Month: 85 mod 3 = 1 -> (5 + 8) mod 12 + 1 = 2. Commune 006 in even 78: 007 in use.
        {L"185057800608491", 46, L"283027800792395"},
        {L"185057800608491", 0, L"185057800692328"},
        {L"185057800608491", FR_FLAG_SEX, L"285057800692375"},
        // Department 78 -> 87; the commune is searched upward (78 even) in row 87.
        {L"185057800608491", 62, L"283028700792346"},
        // December, year 99 (mod 3 = 0) -> (12 + 1) mod 12 + 1 = 02.
        {L"199127512345681", FR_FLAG_MONTH, L"199027512391742"},
        // Odd year back two (01 -> 99), even year forward two (98 -> 00).
        {L"201127512345680", FR_FLAG_YEAR, L"299127512391755"},
        {L"298127512345680", FR_FLAG_YEAR, L"200127512391756"},
        // 75 is odd: from 056 downward through the unused 55..1, wrapping to 120.
        // Sex 2 with month 01 (places 2,3,4,1) -> 7; year 80 -> 82; 80 mod 3 = 2 -> month 06.
        {L"280017505612325", 46, L"782067512084624"},
        // 2A with the department flag becomes 02 (keyed without substitution); even,
        // so upward from 004 in row 2 -> 005. Offset 20 mod 3 = 2 -> 7: 8 0 2, sum 10 -> (1,3,2).
        {L"180012A00412316", FR_FLAG_DEPT | FR_FLAG_COMMUNE, L"180010200582066"},
        // 2B stays 2B; upward from its highest commune 366 wraps to 1 (unused), then 2.
        {L"180012B36612320", FR_FLAG_DEPT | FR_FLAG_COMMUNE, L"180012B00284632"},
        // 69 and 89 keep their department.
        {L"180696900100190", FR_FLAG_DEPT, L"180696900163439"},
        {L"180898900100164", FR_FLAG_DEPT, L"180898900170836"},
    };
    for (const MaskCase& c : cases) {
        SCOPED_TRACE(std::string(c.pIn, c.pIn + 15) + " flags " + std::to_string(c.lFlags));
        EXPECT_EQ(Mask(c.pIn, c.lFlags), c.pOut);
    }
}

struct FailCase {
    const wchar_t* pIn;
    uint64_t lFlags;
    uint32_t iRc;
};

TEST(FrMaskInsee, Failures) {
    const FailCase cases[] = {
        {L"180012a00412316", 46, QRNP_CNV_NOT_A_NUMBER},            // Corsica is read in capitals only
        {L"380057800608491", FR_FLAG_SEX, QRNP_MSG_FR_INVALID_SEX},
        {L"185057800008491", FR_FLAG_COMMUNE, QRNP_MSG_FR_INVALID_COMMUNE},
        {L"18505780060849", 0, QRNP_CNV_NOT_A_NUMBER},              // key cut short
        {L"185059800608491", FR_FLAG_COMMUNE, QRNP_MSG_FR_INVALID_DEPT},  // no row 98 to search
    };
    for (const FailCase& c : cases) {
        wchar_t out[16];
        EXPECT_EQ(MaskINSEE(c.pIn, c.lFlags, out), c.iRc) << c.pIn;
    }
    // Without their flags the same fields are carried over as they are.
    EXPECT_EQ(Mask(L"380057800608491", 0).substr(0, 1), L"3");
    EXPECT_EQ(Mask(L"185057800008491", 0).substr(7, 3), L"000");
}

// The order number changes for every value and each of the three offsets.
TEST(FrMaskInsee, OrderNumberAlwaysChanges) {
    for (const wchar_t* pDept : {L"78", L"01", L"2A"}) {  // mod 3 = 0, 1, 2
        for (int n = 0; n < 1000; ++n) {
            wchar_t first13[14];
            swprintf(first13, 14, L"18505%ls006%03d", pDept, n);
            const std::wstring out = Mask(WithKey(first13), 0);
            ASSERT_FALSE(out.empty());
            EXPECT_NE(Num(out, 10, 3), n) << pDept;
            EXPECT_EQ(out.substr(0, 10), std::wstring(first13).substr(0, 10));
        }
    }
}

TEST(FrRandomInsee, OutputsAreWellFormed) {
    int iSex[10] = {};
    std::set<int> depts;
    for (int i = 0; i < 10000; ++i) {
        wchar_t out[16];
        ASSERT_EQ(RandomINSEE(out), 0u);
        const std::wstring s(out);
        ++iSex[s[0] - L'0'];
        depts.insert(DeptOf(s));
    }
    // Sex 1 and 2 four times as often as 7 and 8 (bounds far outside chance).
    EXPECT_NEAR(iSex[1], 4000, 400);
    EXPECT_NEAR(iSex[2], 4000, 400);
    EXPECT_NEAR(iSex[7], 1000, 250);
    EXPECT_NEAR(iSex[8], 1000, 250);
    EXPECT_EQ(depts.count(FR_DEPT_NONE), 0u);
    EXPECT_EQ(depts.size(), 97u);  // every other row, 2A, 2B and 97 included
}

// Only the first call seeds: after it, the output follows rand().
TEST(FrRandomInsee, SeedsOnceThenFollowsRand) {
    wchar_t first[16], second[16];
    ASSERT_EQ(RandomINSEE(first), 0u);
    std::srand(12345);
    ASSERT_EQ(RandomINSEE(first), 0u);
    std::srand(12345);
    ASSERT_EQ(RandomINSEE(second), 0u);
    EXPECT_EQ(std::wstring(first), std::wstring(second));
}

}  // namespace
