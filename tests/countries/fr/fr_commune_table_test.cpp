// The generated commune table: the invariants bsearch and the commune walks
// rely on, and agreement with data/fr_communes.csv.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "countries/fr/QRNPNidFrAlgo.h"

namespace {

TEST(FrCommuneTable, ListsAreSortedAndEveryDepartmentHasACommune) {
    int iTotal = 0;
    for (int d = 0; d < FR_DEPT_ROWS; ++d) {
        SCOPED_TRACE(d);
        const DeptRow& row = deptTable[d];
        ASSERT_GE(row.sUnusedCount, 1);
        iTotal += row.sUnusedCount;
        for (int i = 1; i < row.sUnusedCount; ++i) EXPECT_LT(row.pUnused[i - 1], row.pUnused[i]);
        int iValid = 0;
        for (int c = -1; c <= 1000; ++c) iValid += CommuneIsValid(d, c);
        if (d == FR_DEPT_NONE) {
            EXPECT_EQ(iValid, 0);
        } else {
            // Every number in 1..highest is either unused or valid, and the highest is in use.
            const int iGaps = row.pUnused[0] < 0 ? 0 : row.sUnusedCount;
            EXPECT_EQ(iValid, row.sHighest - iGaps);
            EXPECT_TRUE(CommuneIsValid(d, row.sHighest));
        }
    }
    EXPECT_EQ(iTotal, 3497);
}

// The generated file must match the data it was generated from (a stale
// QRNPNidFrAlgoExt.cpp fails here).
TEST(FrCommuneTable, MatchesDataFile) {
    const std::filesystem::path csv =
        std::filesystem::path(__FILE__).parent_path() / "../../../data/fr_communes.csv";
    std::ifstream in(csv);
    ASSERT_TRUE(in) << csv;
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "row,highest,unused");
    int iRows = 0;
    while (std::getline(in, line)) {
        if (line.empty()) continue;
        std::istringstream fields(line);
        std::string sRow, sHighest, sUnused;
        std::getline(fields, sRow, ',');
        std::getline(fields, sHighest, ',');
        std::getline(fields, sUnused);
        const int d = std::stoi(sRow);
        ASSERT_TRUE(d >= 0 && d < FR_DEPT_ROWS) << line;
        SCOPED_TRACE(d);
        EXPECT_EQ(deptTable[d].sHighest, std::stoi(sHighest));
        std::istringstream values(sUnused);
        std::vector<int> unused;
        for (int v; values >> v;) unused.push_back(v);
        ASSERT_EQ(deptTable[d].sUnusedCount, static_cast<int>(unused.size()));
        for (size_t i = 0; i < unused.size(); ++i) EXPECT_EQ(deptTable[d].pUnused[i], unused[i]);
        ++iRows;
    }
    EXPECT_EQ(iRows, FR_DEPT_ROWS);
}

struct CommuneCase {
    int iDept;
    int iCommune;
    bool bValid;
};

TEST(FrCommuneTable, CommuneIsValid) {
    const CommuneCase cases[] = {
        {1, 1, true},     {1, 3, false},    {1, 457, true},   {1, 458, false}, {1, 0, false},
        {18, 1, true},    {18, 290, true},  {18, -1, false},  {18, 291, false},
        {95, 25, false},  {95, 26, true},   {95, 65, false},
        {0, 1, false},    {0, 2, true},     {20, 1, true},    {20, 2, false},
        {97, 100, false}, {97, 101, true},  {97, 424, true},
        {96, 1, false},   {96, -2, false},  {98, 1, false},   {-1, 1, false},
    };
    for (const CommuneCase& c : cases)
        EXPECT_EQ(CommuneIsValid(c.iDept, c.iCommune), c.bValid) << c.iDept << "/" << c.iCommune;
}

}  // namespace
