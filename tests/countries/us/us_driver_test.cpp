// The United States end to end through the entry points: layouts, checks,
// exits, options, column types and methods.
//
// MaskSSN and RandomSSN choose their area table on their first call in the
// process, so every row that reaches them here uses the default table
// ("10/10/10"); the other tables and the area replacement run in
// tests/us_scenarios, one process per table.
#include <gtest/gtest.h>

#include <set>

#include "countries/us/QRNPNidUsFlags.h"
#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;
using testsupport::TokenText;

InstanceOptions UnitedStates(uint16_t sProcFlags = 0, std::vector<std::pair<uint16_t, uint32_t>> operands = {}) {
    InstanceOptions options;
    options.countrySwitch = L"US";
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    return options;
}

std::vector<uint32_t> Captured(const testsupport::RunResult& result) {
    std::vector<uint32_t> numbers;
    for (const auto& m : result.messages) numbers.push_back(m.iMessage);
    return numbers;
}

TEST(UnitedStatesDriverTest, LayoutsAndChecks) {
    struct Case {
        const wchar_t* pValue;
        uint16_t sFlags;
        int32_t iStatus;
        const wchar_t* pOutput;  // with the source's separator (option 2, the default)
    };
    const Case cases[] = {
        {L"123-45-6789", 0, 0, L"123-47-3517"},
        {L"123 45 6789", 0, 0, L"123 47 3517"},
        {L"123.45.6789", 0, 0, L"123.47.3517"},
        {L"123456789", 0, 0, L"123473517"},
        {L"  123-45-6789 ", 0, 0, L"123-47-3517"},
        {L"123-456-789", 0, 4406, nullptr},
        {L"123-45.6789", 0, 4406, nullptr},
        {L"123/45/6789", 0, 4406, nullptr},
        {L"123456-789", 0, 4406, nullptr},     // ten characters can never hold both separators
        {L"12345678", 0, 4405, nullptr},
        {L"1234567890", 0, 4405, nullptr},
        {L"123-45-678", 0, 4405, nullptr},
        {L"12a456789", 0, 4405, nullptr},
        {L"123-45-67890", 0, 4405, nullptr},
        // Area checks run whether or not validation is asked for.
        {L"000-12-3456", 0, 4554, nullptr},
        {L"900-12-3456", 0, 4554, nullptr},
        {L"666-12-3456", 0, 4555, nullptr},
        // Group and serial checks only when validating.
        {L"123-00-6789", 0, 0, L"123-01-3517"},
        {L"123-00-6789", 1, 4556, nullptr},
        {L"123-45-0000", 1, 4557, nullptr},
        {L"078-05-1120", 0, 0, nullptr},
        {L"078-05-1120", 1, 4557, nullptr},
        {L"457-55-5462", 1, 4557, nullptr},
        {L"123-45-6789", 1, 0, L"123-47-3517"},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(UnitedStates(c.sFlags), {std::wstring(c.pValue)});
        ASSERT_EQ(result.iInit, 0);
        SCOPED_TRACE(hostkit::ToUtf8(c.pValue));
        EXPECT_EQ(result.rows[0].iStatus, c.iStatus);
        EXPECT_EQ(result.rows[0].bRejected, c.iStatus != 0);
        EXPECT_EQ(result.iService, c.iStatus != 0 ? -2 : 0);
        if (c.pOutput != nullptr) {
            EXPECT_EQ(result.rows[0].output, c.pOutput);
        }
    }
}

TEST(UnitedStatesDriverTest, MessagesCarryTheirTokens) {
    auto result = RunRows(UnitedStates(), {L"123-45-678"});
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].iMessage, 4405u);
    EXPECT_EQ(result.messages[0].iRow, 1u);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCDATA), L"123-45-678");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCLEN), L"10");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"US");

    result = RunRows(UnitedStates(), {L"123-456-789"});
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 2);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"US");

    // A refused number is reported with the source as an integer only.
    result = RunRows(UnitedStates(1), {L"078-05-1120"});
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].iMessage, 4557u);
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 1);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCDATA), L"78051120");
}

TEST(UnitedStatesDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    for (const wchar_t* pValue : {L"666-12-3456", L"123-456-789", L"123-00-6789"}) {
        for (bool bSeparate : {true, false}) {
            InstanceOptions options = UnitedStates(1 | 2);
            options.bSeparateDestination = bSeparate;
            const auto passed = RunRows(options, {std::wstring(pValue)});
            EXPECT_NE(passed.rows[0].iStatus, 0) << hostkit::ToUtf8(pValue);
            EXPECT_FALSE(passed.rows[0].bRejected) << hostkit::ToUtf8(pValue);
            EXPECT_EQ(passed.rows[0].output, pValue);
            EXPECT_EQ(passed.iTerminate, 0);

            options.sProcFlags = 1;
            const auto rejected = RunRows(options, {std::wstring(pValue)});
            EXPECT_TRUE(rejected.rows[0].bRejected) << hostkit::ToUtf8(pValue);
            EXPECT_EQ(rejected.iTerminate, -2);
        }
    }
}

TEST(UnitedStatesDriverTest, SeparatorOptions) {
    struct Case {
        uint32_t iOption;
        const wchar_t* pSource;
        const wchar_t* pOutput;
    };
    const Case cases[] = {
        {0, L"123.45.6789", L"123.47.3517"}, {2, L"123456789", L"123473517"},
        {1, L"123-45-6789", L"123473517"},   {4, L"123456789", L"123.47.3517"},
        {8, L"123 45 6789", L"123-47-3517"}, {16, L"123-45-6789", L"123 47 3517"},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(UnitedStates(0, {{QRNP_OPR_US_SEPARATOR, c.iOption}}), {std::wstring(c.pSource)});
        ASSERT_EQ(result.iInit, 0) << c.iOption;
        EXPECT_EQ(result.rows[0].output, c.pOutput) << c.iOption;
    }
}

TEST(UnitedStatesDriverTest, OptionsAtSetUp) {
    struct Case {
        uint32_t iFlags;
        uint32_t iSeparator;
        uint64_t lOptionFlags;
        uint16_t sStoredSeparator;
    };
    const Case cases[] = {
        {0, 0, 0, 2},
        {1, 2, US_FLAG_REPLACE_AREA, 2},
        {2, 1, US_FLAG_TABLE_2006 | US_FLAG_NO_SEPARATOR, 1},
        {5, 8, US_FLAG_REPLACE_AREA | US_FLAG_TABLE_2008 | US_FLAG_HYPHEN, 8},
        {8, 16, US_FLAG_BLANK, 16},  // bits other than 1, 2 and 4 mean nothing
    };
    for (const Case& c : cases) {
        auto instance = hostkit::MakeInstance(
            testsupport::Linked(),
            UnitedStates(0, {{QRNP_OPR_US_FLAGS, c.iFlags}, {QRNP_OPR_US_SEPARATOR, c.iSeparator}}));
        ASSERT_EQ(hostkit::InitInstance(*instance), 0);
        const auto* pNid = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
        EXPECT_EQ(pNid->iCountryMask, static_cast<uint32_t>(QRNP_COUNTRY_US));
        EXPECT_EQ(pNid->blockE.lOptionFlags, c.lOptionFlags) << c.iFlags;
        EXPECT_EQ(pNid->blockE.sSlot[3], c.sStoredSeparator);
        EXPECT_EQ(pNid->blockE.iWorkBufSize, 104u);
        EXPECT_NE(pNid->blockE.pWorkBuf, nullptr);
        hostkit::TerminateInstance(*instance);
    }
}

TEST(UnitedStatesDriverTest, InvalidSetUpFailsInit) {
    struct Case {
        std::vector<std::pair<uint16_t, uint32_t>> operands;
        int16_t sDataType;
        std::vector<uint32_t> captured;
    };
    const Case cases[] = {
        {{{QRNP_OPR_US_FLAGS, 6}}, VARCHAR, {4558, 4553, 4353}},
        {{{QRNP_OPR_US_SEPARATOR, 3}}, VARCHAR, {4360, 4553, 4353}},
        {{}, ODBC_DATE, {4354, 4553, 4353}},
        {{}, LONG_LONG, {4354, 4553, 4353}},
    };
    for (const Case& c : cases) {
        InstanceOptions options = UnitedStates(0, c.operands);
        options.sDataType = c.sDataType;
        const auto result = RunRows(options, {L"123-45-6789"});
        EXPECT_EQ(result.iInit, 4353);
        EXPECT_EQ(Captured(result), c.captured);
    }
    auto result = RunRows(UnitedStates(0, {{QRNP_OPR_US_FLAGS, 6}}), {L"123-45-6789"});
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 1);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_FLAG), L"6");
    result = RunRows(UnitedStates(0, {{QRNP_OPR_US_SEPARATOR, 3}}), {L"123-45-6789"});
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SEP), L"3");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"US");

    InstanceOptions options = UnitedStates();
    options.sDataType = ODBC_DATE;
    result = RunRows(options, {L"123-45-6789"});
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRC_DATATYPE), L"14");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COLNAME), L"NID");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"US");

    options = UnitedStates();
    options.bNoConversionBlock = true;
    result = RunRows(options, {L"123-45-6789"});
    EXPECT_EQ(Captured(result), (std::vector<uint32_t>{26, 4553, 4353}));
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 0);
}

TEST(UnitedStatesDriverTest, EveryCharacterTypeInPlaceOrNot) {
    for (int16_t sType : {CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ}) {
        for (bool bSeparate : {true, false}) {
            InstanceOptions options = UnitedStates();
            options.sDataType = sType;
            options.iLength = 14;
            options.bSeparateDestination = bSeparate;
            const auto result = RunRows(options, {L"123-45-6789"});
            ASSERT_EQ(result.rows[0].iStatus, 0) << "type " << sType;
            EXPECT_TRUE(result.bGuardsIntact);
            std::wstring expected = L"123-47-3517";
            if (sType == CHAR || sType == WCHAR) expected.resize(14, L' ');
            EXPECT_EQ(result.rows[0].output, expected) << "type " << sType << " separate " << bSeparate;
        }
    }
}

// Numeric columns lose leading zeros; the driver puts them back before the
// layout check. VARNUM columns are the exception: they mark the Canadian
// block, so a short value fails the length check.
TEST(UnitedStatesDriverTest, NumericColumns) {
    const auto text = RunRows(UnitedStates(), {L"046454286", L"123456789"});
    ASSERT_EQ(text.rows[0].iStatus, 0);
    std::wstring masked046 = *text.rows[0].output;
    ASSERT_EQ(masked046.substr(0, 3), L"046");
    masked046.erase(0, 1);  // a number has no leading zero
    for (int16_t sType : {U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD}) {
        InstanceOptions options = UnitedStates(1);
        options.sDataType = sType;
        const auto result = RunRows(options, {L"46454286", L"123456789", L"0"});
        ASSERT_EQ(result.iInit, 0) << sType;
        EXPECT_EQ(result.rows[0].iStatus, 0) << sType;
        EXPECT_EQ(result.rows[0].output, masked046) << sType;
        EXPECT_EQ(result.rows[1].output, text.rows[1].output) << sType;
        EXPECT_EQ(result.rows[2].iStatus, 75) << "a numeric zero is an empty value";
        EXPECT_FALSE(result.rows[2].bRejected);
    }

    InstanceOptions options = UnitedStates();
    options.sDataType = ORA_VARNUM;
    auto instance = hostkit::MakeInstance(testsupport::Linked(), options);
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    const auto* pNid = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
    EXPECT_EQ(pNid->blockE.bNumericSource, 0);
    EXPECT_EQ(pNid->blockF.bNumericSource, 1);
    EXPECT_EQ(instance->conversion.bSrcTypeId, 17);
    EXPECT_EQ(instance->conversion.bDstTypeId, 107);
    hostkit::TerminateInstance(*instance);
    const auto varnum = RunRows(options, {L"46454286", L"123456789"});
    EXPECT_EQ(varnum.rows[0].iStatus, 4405);
    EXPECT_EQ(varnum.rows[1].output, text.rows[1].output);

    // Every packed-decimal column is accepted, whatever its precision.
    for (int16_t sPrecision : {1, 8, 9, 21, 31}) {
        options = UnitedStates();
        options.sDataType = DECIMAL_PKD;
        options.sPrecision = sPrecision;
        EXPECT_EQ(RunRows(options, {L"1"}).iInit, 0) << sPrecision;
    }
}

// The random method and any method that is neither mask nor random (given
// through the control block; it writes 000000000) never read the source, so
// only the layout fixed at set-up applies: option 2 then means no separator.
TEST(UnitedStatesDriverTest, MethodsThatDoNotReadTheSource) {
    for (uint32_t iSeparator : {2u, 8u}) {
        const auto result = RunRows(UnitedStates(0, {{QRNP_OPR_US_SEPARATOR, iSeparator}}),
                                    std::vector<std::optional<std::wstring>>(200, std::nullopt), QRNP_METHOD_RANDOM);
        ASSERT_EQ(result.iService, 0);
        std::set<std::wstring> seen;
        for (const auto& row : result.rows) {
            const std::wstring& out = *row.output;
            ASSERT_EQ(out.size(), iSeparator == 2 ? 9u : 11u) << hostkit::ToUtf8(out);
            EXPECT_TRUE(iSeparator == 2 || (out[3] == L'-' && out[6] == L'-')) << hostkit::ToUtf8(out);
            EXPECT_TRUE(seen.insert(out).second) << hostkit::ToUtf8(out);
        }

        InstanceOptions options = UnitedStates(0, {{QRNP_OPR_US_SEPARATOR, iSeparator}});
        options.sMethod = 0x1409;
        const auto other = RunRows(options, {L"123-45-6789"}, QRNP_METHOD_CTRLBLK);
        EXPECT_EQ(other.rows[0].iStatus, 0);
        EXPECT_EQ(other.rows[0].output, iSeparator == 2 ? L"000000000" : L"000-00-0000");
    }
}

}  // namespace
