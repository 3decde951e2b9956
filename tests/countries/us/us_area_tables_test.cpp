// The generated area tables: the rows and counts known for each date, and
// agreement with data/us_area_tables.csv (the generator itself refuses
// blocks and side-table sets the area replacement could not rely on).

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "countries/us/QRNPNidUsAlgo.h"

namespace {

struct DatedTable {
    const char* pName;
    const AreaEntry* pTable;
    int iInUse;
    int iHighest;
};

const DatedTable kTables[] = {
    {"11/01/06", DistAreaTable, 750, 772},
    {"01/02/08", Y2008AreaTable, 754, 772},
    {"10/10/10", MaxGrpAreaTable, 898, 899},
};

const AreaEntry& Area(const AreaEntry* pTable, int iArea) { return pTable[iArea - 1]; }

TEST(UsAreaTables, AreasInUseAndHighestArea) {
    for (const DatedTable& t : kTables) {
        SCOPED_TRACE(t.pName);
        int iInUse = 0, iHighest = 0;
        for (int a = 1; a <= US_AREA_COUNT; ++a) {
            const AreaEntry& e = Area(t.pTable, a);
            EXPECT_EQ(e.cCurGroup, 0);
            EXPECT_EQ(e.sSerial, 0);
            if (e.cHighGroup > 0) {
                ++iInUse;
                iHighest = a;
            }
        }
        EXPECT_EQ(iInUse, t.iInUse);
        EXPECT_EQ(iHighest, t.iHighest);
        EXPECT_EQ(Area(t.pTable, 666).cHighGroup, 0);
        for (int a = 900; a <= US_AREA_COUNT; ++a) EXPECT_EQ(Area(t.pTable, a).cHighGroup, 0) << a;
    }
}

TEST(UsAreaTables, KnownRowsOf2006) {
    struct Row {
        int iArea, iBlock, iPos, iHigh;
    };
    const Row rows[] = {
        {1, 3, 0, 4},    {2, 3, 1, 4},     {8, 2, 0, 90},    {78, 85, 28, 96}, {457, 19, 8, 99},
        {666, 0, 0, 0},  {700, 29, 0, 18}, {728, 29, 28, 14}, {750, 0, 0, 7},
    };
    for (const Row& r : rows) {
        const AreaEntry& e = Area(DistAreaTable, r.iArea);
        EXPECT_EQ(e.cBlockSize, r.iBlock) << r.iArea;
        EXPECT_EQ(e.cBlockPos, r.iPos) << r.iArea;
        EXPECT_EQ(e.cHighGroup, r.iHigh) << r.iArea;
    }
    for (int a = 773; a <= US_AREA_COUNT; ++a) {
        const AreaEntry& e = Area(DistAreaTable, a);
        EXPECT_EQ(e.cBlockSize | e.cBlockPos | e.cHighGroup, 0) << a;
    }
}

TEST(UsAreaTables, The2010TableIssuesEveryGroup) {
    for (int a = 1; a <= 899; ++a) EXPECT_EQ(Area(MaxGrpAreaTable, a).cHighGroup, a == 666 ? 0 : 99) << a;
    for (int a = 773; a <= 899; ++a) {
        EXPECT_EQ(Area(MaxGrpAreaTable, a).cBlockSize, 127) << a;
        EXPECT_EQ(Area(MaxGrpAreaTable, a).cBlockPos, a - 773) << a;
    }
}

TEST(UsAreaTables, SideTable) {
    const int expected[US_SIDE_TABLE_ROWS][3] = {
        {4, 0, 525}, {4, 1, 585}, {4, 2, 648}, {4, 3, 649}, {6, 0, 526}, {6, 1, 527}, {6, 2, 600}, {6, 3, 601},
        {6, 4, 764}, {6, 5, 765}, {2, 0, 530}, {2, 1, 680}, {4, 0, 575}, {4, 1, 576}, {4, 2, 750}, {4, 3, 751},
    };
    for (int i = 0; i < US_SIDE_TABLE_ROWS; ++i) {
        const AreaSideRow& r = AreaSideTable[i];
        EXPECT_TRUE(r.bCount == expected[i][0] && r.bPos == expected[i][1] && r.sArea == expected[i][2]) << i;
    }
}

// The generated file must match the data it was generated from (a stale
// QRNPNidUsAlgoExt.cpp fails here).
TEST(UsAreaTables, MatchesDataFile) {
    const std::filesystem::path csv =
        std::filesystem::path(__FILE__).parent_path() / "../../../data/us_area_tables.csv";
    std::ifstream in(csv);
    ASSERT_TRUE(in) << csv;
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "area,t2006_block,t2006_pos,t2006_high,t2008_block,t2008_pos,t2008_high,t2010_block,t2010_pos,"
                    "t2010_high");
    int iRows = 0;
    while (std::getline(in, line)) {
        if (line.empty()) continue;
        std::istringstream fields(line);
        std::string cell;
        int values[10];
        for (int& v : values) {
            std::getline(fields, cell, ',');
            v = std::stoi(cell);
        }
        const int a = values[0];
        ASSERT_TRUE(a >= 1 && a <= US_AREA_COUNT) << line;
        for (int t = 0; t < 3; ++t) {
            const AreaEntry& e = Area(kTables[t].pTable, a);
            EXPECT_EQ(e.cBlockSize, values[1 + 3 * t]) << line;
            EXPECT_EQ(e.cBlockPos, values[2 + 3 * t]) << line;
            EXPECT_EQ(e.cHighGroup, values[3 + 3 * t]) << line;
        }
        ++iRows;
    }
    EXPECT_EQ(iRows, US_AREA_COUNT);
}

}  // namespace
