// SSN masking and random generation on working copies owned by the test (the
// process-wide copies of MaskSSN and RandomSSN are exercised by the scenario
// executables in tests/us_scenarios, one process per table).

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <set>
#include <vector>

#include <qrnp/qrnp_messages.h>

#include "countries/us/QRNPNidUsAlgo.h"

namespace {

std::unique_ptr<SsnWorkingTable> Working(uint64_t lFlags) {
    auto pTable = std::make_unique<SsnWorkingTable>();
    SetUpWorkingTable(lFlags, pTable.get());
    return pTable;
}

int32_t AreaOf(int32_t iSsn) { return iSsn / 1000000; }
int32_t SerialOf(int32_t iSsn) { return iSsn % 10000; }

TEST(UsIssuanceOrder, RankAndBackForEveryGroup) {
    // Odd 01-09, even 10-98, even 02-08, odd 11-99.
    std::vector<int32_t> order;
    for (int g = 1; g <= 9; g += 2) order.push_back(g);
    for (int g = 10; g <= 98; g += 2) order.push_back(g);
    for (int g = 2; g <= 8; g += 2) order.push_back(g);
    for (int g = 11; g <= 99; g += 2) order.push_back(g);
    ASSERT_EQ(order.size(), 99u);
    for (int32_t r = 1; r <= 99; ++r) {
        EXPECT_EQ(GroupOfRank(r), order[static_cast<size_t>(r - 1)]) << r;
        EXPECT_EQ(IssuanceRank(order[static_cast<size_t>(r - 1)]), r) << r;
    }
    EXPECT_EQ(IssuanceRank(0), 0);
    EXPECT_EQ(GroupOfRank(0), 0);
}

TEST(UsWorkingTable, SetUpFromTheChosenTable) {
    EXPECT_EQ(Working(US_FLAG_TABLE_2008)->NumAreas, 772);
    EXPECT_STREQ(Working(US_FLAG_TABLE_2008)->szDate, "01/02/08");
    EXPECT_EQ(Working(US_FLAG_REPLACE_AREA)->NumAreas, 899);
    // Area 001 of "11/01/06": highest group 04 is rank 52 and the group handed out first.
    auto pTable = Working(US_FLAG_TABLE_2006 | US_FLAG_TABLE_2008);
    EXPECT_STREQ(pTable->szDate, "11/01/06");
    EXPECT_EQ(pTable->NumAreas, 772);
    EXPECT_EQ(pTable->iAreasLeft, 750);
    const AreaEntry& e = pTable->AreaTable[0];
    EXPECT_EQ(e.cCurGroup, 4);
    EXPECT_EQ(e.cHighGroup, 52);
    EXPECT_EQ(e.sSerial, 1);
    EXPECT_EQ(pTable->AreaTable[665].cCurGroup, 0);  // 666
}

struct MaskCase {
    uint64_t lTable;
    int32_t iIn;
    bool bValidate;
    int32_t iExpected;     // the masked value, or
    int32_t iCode;         // the status when non-zero
};

TEST(UsMaskSSN, ResultsAndChecks) {
    constexpr uint64_t k06 = US_FLAG_TABLE_2006, k10 = 0;
    const MaskCase cases[] = {
        // Odd area: group one rank forward, serial shifted by 5 and reordered by row area mod 23.
        {k10, 123456789, false, 123473517, 0},
        {k10, 123456789, true, 123473517, 0},
        // Even area: one rank back, shift 3.
        {k10, 124456789, false, 124439513, 0},
        // Odd area group 99 wraps to 01; even area group 01 goes back to 99 ...
        {k10, 1991234, false, 1012068, 0},
        {k10, 2011234, false, 2998046, 0},
        // ... or, when validating, to the area's highest group (04 in 002 of 2006).
        {k06, 2011234, false, 2998046, 0},
        {k06, 2011234, true, 2048046, 0},
        // Odd area past its highest group starts again at 01 when validating.
        {k06, 1041234, true, 1012068, 0},
        {k06, 1041234, false, 1062068, 0},
        // Group 00 is rank 0: masked without validation, refused with it.
        {k10, 123006789, false, 123013517, 0},
        {k10, 123006789, true, 0, QRNP_MSG_US_INVALID_GROUP},
        // Area checks apply with or without validation.
        {k10, 6789, false, 0, QRNP_MSG_US_INVALID_AREA},
        {k10, 900123456, false, 0, QRNP_MSG_US_INVALID_AREA},
        {k06, 773123456, false, 0, QRNP_MSG_US_INVALID_AREA},
        {k10, 773123456, false, 773144028, 0},  // in use in 2010 only
        {k10, 666123456, false, 0, QRNP_MSG_US_AREA_NOT_IN_USE},
        {k06, 740123456, false, 0, QRNP_MSG_US_AREA_NOT_IN_USE},
        // Group not yet issued: 06 is rank 53 in area 001, whose highest is 04 (rank 52).
        {k06, 1061234, true, 0, QRNP_MSG_US_INVALID_GROUP},
        {k06, 1981234, true, 1022068, 0},
        // Serial checks when validating.
        {k10, 123450000, true, 0, QRNP_MSG_US_INVALID_SERIAL},
        {k10, 78051120, true, 0, QRNP_MSG_US_INVALID_SERIAL},
        {k10, 457555462, true, 0, QRNP_MSG_US_INVALID_SERIAL},
        {k10, 78051121, true, 78034757, 0},
    };
    for (const MaskCase& c : cases) {
        auto pTable = Working(c.lTable);
        int32_t iOut = -7;
        const int32_t iRc = MaskSSNIn(pTable.get(), c.iIn, &iOut, c.lTable, c.bValidate);
        SCOPED_TRACE(testing::Message() << c.iIn << (c.bValidate ? " validating" : ""));
        EXPECT_EQ(iRc, c.iCode);
        EXPECT_EQ(iOut, c.iCode == 0 ? c.iExpected : -7);
    }
}

// Within one area and group the serials 0001-9999 map one to one onto
// 0001-9999: masking never merges two numbers and never gives serial 0000.
TEST(UsMaskSSN, SerialsMapOneToOne) {
    auto pTable = Working(0);
    for (int32_t iArea : {123, 124, 501, 898}) {
        std::vector<bool> seen(10000, false);
        for (int32_t s = 1; s <= 9999; ++s) {
            int32_t iOut = 0;
            ASSERT_EQ(MaskSSNIn(pTable.get(), iArea * 1000000 + 450000 + s, &iOut, 0, true), 0);
            const int32_t iSerial = SerialOf(iOut);
            ASSERT_GE(iSerial, 1) << iArea << " " << s;
            EXPECT_FALSE(seen[static_cast<size_t>(iSerial)]) << iArea << " " << s;
            seen[static_cast<size_t>(iSerial)] = true;
        }
    }
}

// Every number that passes the full checks masks into one that passes them
// too, in every area of every table.
TEST(UsMaskSSN, ValidatedNumbersStayValid) {
    for (uint64_t lTable : {US_FLAG_TABLE_2006, US_FLAG_TABLE_2008, uint64_t{0}}) {
        auto pTable = Working(lTable);
        for (int32_t iArea = 1; iArea <= pTable->NumAreas; ++iArea) {
            if (pTable->AreaTable[iArea - 1].cCurGroup == 0) continue;
            for (int32_t iGroup = 1; iGroup <= 99; ++iGroup) {
                const int32_t iIn = iArea * 1000000 + iGroup * 10000 + 4321;
                int32_t iOut = 0, iAgain = 0;
                const int32_t iRc = MaskSSNIn(pTable.get(), iIn, &iOut, lTable, true);
                if (iRc == QRNP_MSG_US_INVALID_GROUP) continue;
                ASSERT_EQ(iRc, 0) << iIn;
                EXPECT_EQ(MaskSSNIn(pTable.get(), iOut, &iAgain, lTable, true), 0) << iIn << " -> " << iOut;
            }
        }
    }
}

// The block case (700-728) runs end to end in tests/us_scenarios.
TEST(UsMaskSSN, ReplacedAreaWithoutABlock) {
    std::srand(7);
    auto pTable = Working(US_FLAG_TABLE_2006);
    const uint64_t lFlags = US_FLAG_TABLE_2006 | US_FLAG_REPLACE_AREA;
    // Areas without a block draw within their side-table set (Hawaii).
    std::set<int32_t> hawaii;
    for (int i = 0; i < 200; ++i) {
        int32_t iOut = 0;
        ASSERT_EQ(MaskSSNIn(pTable.get(), 575123456, &iOut, lFlags, false), 0);
        hawaii.insert(AreaOf(iOut));
    }
    EXPECT_EQ(hawaii, (std::set<int32_t>{575, 576, 750, 751}));

    // A block of one keeps its area; the source's own next number is skipped.
    ASSERT_EQ(pTable->AreaTable[579].cBlockSize, 1);  // 580
    const int32_t iGroup = pTable->AreaTable[579].cCurGroup;
    int32_t iOut = 0;
    ASSERT_EQ(MaskSSNIn(pTable.get(), 580 * 1000000 + iGroup * 10000 + 1, &iOut, lFlags, false), 0);
    EXPECT_EQ(iOut, 580 * 1000000 + iGroup * 10000 + 2);
    ASSERT_EQ(MaskSSNIn(pTable.get(), 580 * 1000000 + iGroup * 10000 + 1, &iOut, lFlags, false), 0);
    EXPECT_EQ(iOut, 580 * 1000000 + iGroup * 10000 + 3);
}

// Past serial 9999 an area moves one group back in issuance order; past its
// first group it is used up, and with every area used up nothing is left.
TEST(UsRandomSSN, SerialsRollOverIntoTheGroupBefore) {
    auto pTable = Working(0);
    for (AreaEntry& e : pTable->AreaTable) e.cCurGroup = 0;
    pTable->iAreasLeft = 1;
    AreaEntry& e = pTable->AreaTable[4];  // area 005
    e.cCurGroup = 10;                     // rank 6; the group before it is 09
    e.sSerial = 9999;
    const int32_t expected[] = {5109999, 5090001, 5090002};
    for (int32_t iWant : expected) {
        int32_t iOut = 0;
        ASSERT_EQ(RandomSSNIn(pTable.get(), &iOut), 0);
        EXPECT_EQ(iOut, iWant);
    }
    e.cCurGroup = 1;
    e.sSerial = 9999;
    int32_t iOut = 0;
    ASSERT_EQ(RandomSSNIn(pTable.get(), &iOut), 0);
    EXPECT_EQ(iOut, 5019999);
    EXPECT_EQ(e.cCurGroup, 0);
    EXPECT_EQ(pTable->iAreasLeft, 0);
    EXPECT_EQ(RandomSSNIn(pTable.get(), &iOut), -1);
}

}  // namespace
