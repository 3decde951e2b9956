// One dated area table in a process of its own (US_SCENARIO_TABLE_OPTION is
// the flags option bit that chooses it: 2 "11/01/06", 4 "01/02/08", 0
// "10/10/10"). Every call in this process uses that table, so the tests hold
// whether they run together or one by one.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include <qrnp/qrnp_messages.h>

#include "countries/us/QRNPNidUsAlgo.h"
#include "support/run_rows.h"

namespace {

constexpr uint16_t kTableOption = US_SCENARIO_TABLE_OPTION;
constexpr uint64_t kTableFlags = kTableOption == US_OPTION_TABLE_2006   ? US_FLAG_TABLE_2006
                                 : kTableOption == US_OPTION_TABLE_2008 ? US_FLAG_TABLE_2008
                                                                        : 0;
// Flags that would choose another table, had the choice not been made already.
constexpr uint64_t kOtherFlags = kTableFlags == 0 ? US_FLAG_TABLE_2006 : 0;

const AreaEntry* Table() {
    const char* pDate = nullptr;
    return ChooseAreaTable(kTableFlags, &pDate);
}

hostkit::InstanceOptions UnitedStates(uint16_t sProcFlags, uint32_t iFlagsOption) {
    hostkit::InstanceOptions options;
    options.countrySwitch = L"US";
    options.sProcFlags = sProcFlags;
    options.operands = {{QRNP_OPR_US_FLAGS, iFlagsOption}};
    return options;
}

// 100,000 generated numbers are all new and issued; masked with full
// validation every row is served, and masking the masked numbers again
// (still validating) serves every row too.
TEST(UsScenario, GeneratedNumbersMaskWithFullValidationTwice) {
    const hostkit::InstanceOptions options = UnitedStates(QRNP_PROC_VALIDATE_FULLY, kTableOption);
    std::vector<std::optional<std::wstring>> values = testsupport::Generated(options, 100000);
    std::set<std::wstring> seen;
    for (const auto& value : values) {
        const std::wstring& out = *value;
        ASSERT_EQ(out.size(), 9u);
        const int iArea = std::stoi(out.substr(0, 3));
        ASSERT_TRUE(iArea >= 1 && Table()[iArea - 1].cHighGroup > 0) << hostkit::ToUtf8(out);
        ASSERT_TRUE(seen.insert(out).second) << "repeated " << hostkit::ToUtf8(out);
    }
    for (int pass = 1; pass <= 2; ++pass) {
        const auto masked = testsupport::RunRows(options, values);
        EXPECT_EQ(masked.iService, 0) << "pass " << pass;
        EXPECT_EQ(masked.messages.size(), 0u) << "pass " << pass;
        values = testsupport::OutputsOf(masked);
    }
}

// With option flag 32 the area is replaced by one of its block (the Railroad
// Board's 700-728) and each area hands out its numbers in turn.
TEST(UsScenario, ReplacedAreasStayInTheirBlockAndCountUp) {
    std::vector<std::optional<std::wstring>> values;
    for (int i = 0; i < 2000; ++i) {
        const int iSerial = 1 + i % 9999;
        wchar_t text[16];
        swprintf(text, 16, L"%03d-01-%04d", 700 + i % 29, iSerial);
        values.push_back(std::wstring(text));
    }
    const auto result = testsupport::RunRows(UnitedStates(0, US_OPTION_REPLACE_AREA | kTableOption), values);
    ASSERT_EQ(result.iService, 0);
    std::map<int, int> lastSerial;
    std::set<int> areas;
    for (const auto& row : result.rows) {
        const std::wstring& out = *row.output;
        const int iArea = std::stoi(out.substr(0, 3));
        const int iGroup = std::stoi(out.substr(4, 2));
        const int iSerial = std::stoi(out.substr(7, 4));
        ASSERT_TRUE(iArea >= 700 && iArea <= 728) << hostkit::ToUtf8(out);
        EXPECT_EQ(iGroup, Table()[iArea - 1].cHighGroup) << hostkit::ToUtf8(out);
        if (lastSerial.count(iArea) != 0) {
            EXPECT_EQ(iSerial, lastSerial[iArea] + 1) << hostkit::ToUtf8(out);
        }
        lastSerial[iArea] = iSerial;
        areas.insert(iArea);
    }
    EXPECT_GT(areas.size(), 20u);
}

// Under the official rules a number the table does not know (its area, or
// its group, issued since) is masked without the table: its group and serial
// as with its area kept, and with option flag 32 in another area of 001-899
// but 666, the same for the same value.
TEST(UsScenario, OfficialNumbersTheTableDoesNotKnowMaskWithoutIt) {
    std::vector<std::optional<std::wstring>> values;
    for (int a = 1; a <= 899; ++a) {
        const int8_t cHigh = Table()[a - 1].cHighGroup;
        if (a == 666 || (cHigh > 0 && IssuanceRank(cHigh) == 99)) continue;  // the table knows group 99
        wchar_t text[16];
        swprintf(text, 16, L"%03d-99-%04d", a, 1 + a * 37 % 9999);
        values.push_back(std::wstring(text));
    }
    // (The 2010 table knows group 99 of every area but 666.)
    if (kTableFlags == 0) {
        EXPECT_TRUE(values.empty());
        return;
    }
    ASSERT_GT(values.size(), 100u);
    const auto Official = [](uint32_t iFlagsOption) {
        hostkit::InstanceOptions options = UnitedStates(QRNP_PROC_VALIDATE_FULLY, iFlagsOption | kTableOption);
        options.operands.emplace_back(QRNP_OPR_OFFICIAL_RULES, 1);
        return options;
    };
    const auto kept = testsupport::RunRows(Official(0), values);
    const auto replaced = testsupport::RunRows(Official(US_OPTION_REPLACE_AREA), values);
    std::vector<std::optional<std::wstring>> outputs;
    for (size_t i = 0; i < values.size(); ++i) {
        const std::wstring& source = *values[i];
        ASSERT_EQ(kept.rows[i].iStatus, 0) << hostkit::ToUtf8(source);
        ASSERT_EQ(replaced.rows[i].iStatus, 0) << hostkit::ToUtf8(source);
        const std::wstring& k = *kept.rows[i].output;
        const std::wstring& r = *replaced.rows[i].output;
        const int iArea = std::stoi(r.substr(0, 3));
        EXPECT_EQ(k.substr(0, 3), source.substr(0, 3)) << hostkit::ToUtf8(source);
        EXPECT_TRUE(iArea >= 1 && iArea <= 899 && iArea != 666 && r.substr(0, 3) != source.substr(0, 3))
            << hostkit::ToUtf8(source) << " -> " << hostkit::ToUtf8(r);
        EXPECT_EQ(r.substr(3), k.substr(3)) << hostkit::ToUtf8(source);
        outputs.push_back(r);
    }
    const auto again = testsupport::RunRows(Official(US_OPTION_REPLACE_AREA), values);
    for (size_t i = 0; i < values.size(); ++i) EXPECT_EQ(again.rows[i].output, outputs[i]);
    EXPECT_TRUE(testsupport::RunRows(Official(0), outputs).messages.empty());
}

// The table is chosen by the first call of each function; later flags that
// name another table change nothing.
TEST(UsScenario, TheTableIsChosenOnce) {
    int32_t iOut = 0;
    MaskSSN(123456789, &iOut, kTableFlags, 0, nullptr, nullptr);
    RandomSSN(&iOut, kTableFlags);

    // Area 800 is in use in "10/10/10" only.
    const int32_t iExpected = Table()[799].cHighGroup > 0 ? 0 : QRNP_MSG_US_INVALID_AREA;
    EXPECT_EQ(MaskSSN(800456789, &iOut, kOtherFlags, 0, nullptr, nullptr), iExpected);
    // Group 06 of area 001 was issued by 01/02/08 but not by 11/01/06.
    const int32_t iGroupExpected = IssuanceRank(6) <= IssuanceRank(Table()[0].cHighGroup) ? 0 : QRNP_MSG_US_INVALID_GROUP;
    EXPECT_EQ(MaskSSN(1061234, &iOut, US_FLAG_TABLE_2006, QRNP_PROC_VALIDATE_FULLY, nullptr, nullptr), iGroupExpected);
    EXPECT_EQ(MaskSSN(1061234, &iOut, US_FLAG_TABLE_2008, QRNP_PROC_VALIDATE_FULLY, nullptr, nullptr), iGroupExpected);

    int iAbove772 = 0;
    for (int i = 0; i < 5000; ++i) {
        ASSERT_EQ(RandomSSN(&iOut, kOtherFlags), 0);
        ASSERT_GT(Table()[iOut / 1000000 - 1].cHighGroup, 0) << iOut;
        iAbove772 += iOut / 1000000 > 772;
    }
    if (kTableFlags == 0) {
        EXPECT_GT(iAbove772, 0);
    } else {
        EXPECT_EQ(iAbove772, 0);
    }
}

}  // namespace
