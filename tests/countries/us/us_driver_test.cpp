// The United States end to end through the entry points: layouts, checks,
// exits, options, column types and methods.
//
// MaskSSN and RandomSSN choose their area table on their first call in the
// process, so every row that reaches them here uses the default table
// ("10/10/10"); the other tables and the area replacement run in
// tests/us_scenarios, one process per table.
#include <gtest/gtest.h>

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

TEST(UnitedStatesDriverTest, LayoutsAndChecks) {
    testsupport::ExpectRows(UnitedStates(), {
        {L"123-45-6789", 0, 0, L"123-47-3517"},
        {L"123 45 6789", 0, 0, L"123 47 3517"},
        {L"123.45.6789", 0, 0, L"123.47.3517"},
        {L"123456789", 0, 0, L"123473517"},
        {L"123-456-789", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"123-45.6789", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"123/45/6789", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"12345678", 0, QRNP_MSG_INVALID_LENGTH},
        {L"1234567890", 0, QRNP_MSG_INVALID_LENGTH},
        {L"123-45-678", 0, QRNP_MSG_INVALID_LENGTH},
        {L"12a456789", 0, QRNP_MSG_INVALID_LENGTH},
        {L"123-45-67890", 0, QRNP_MSG_INVALID_LENGTH},
        // Area checks run whether or not validation is asked for.
        {L"000-12-3456", 0, QRNP_MSG_US_INVALID_AREA},
        {L"900-12-3456", 0, QRNP_MSG_US_INVALID_AREA},
        {L"666-12-3456", 0, QRNP_MSG_US_AREA_NOT_IN_USE},
        // Group and serial checks only when validating (their cases: us_algo_test.cpp).
        {L"123-00-6789", 0, 0, L"123-01-3517"},
        {L"123-00-6789", 1, QRNP_MSG_US_INVALID_GROUP},
        {L"078-05-1120", 0, 0},
        {L"123-45-6789", 1, 0, L"123-47-3517"},
    });
}

TEST(UnitedStatesDriverTest, MessagesAndPassThrough) {
    testsupport::ExpectMessages(UnitedStates(), {
        {L"123-45-678", 0, QRNP_MSG_INVALID_LENGTH,
         {{QRNP_TOKID_SRCDATA, L"123-45-678"}, {QRNP_TOKID_SRCLEN, L"10"}, {QRNP_TOKID_COUNTRY, L"US"}}},
        {L"123-456-789", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"123-456-789"}, {QRNP_TOKID_COUNTRY, L"US"}}},
        // A refused number is reported with the source as an integer only.
        {L"078-05-1120", 1, QRNP_MSG_US_INVALID_SERIAL, {{QRNP_TOKID_SRCDATA, L"78051120"}}},
    });
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        UnitedStates(QRNP_PROC_VALIDATE_FULLY),
        {L"12345678", L"123-456-789", L"000-12-3456", L"666-12-3456", L"123-00-6789", L"123-45-0000"});
}

TEST(UnitedStatesDriverTest, SeparatorOptions) {
    testsupport::ExpectSeparators(UnitedStates(), QRNP_OPR_US_SEPARATOR, {
        {0, L"123.45.6789", L"123.47.3517"}, {2, L"123456789", L"123473517"},
        {1, L"123-45-6789", L"123473517"},   {4, L"123456789", L"123.47.3517"},
        {8, L"123 45 6789", L"123-47-3517"}, {16, L"123-45-6789", L"123 47 3517"},
    });
    // Flags-option bits other than 1, 2 and 4 mean nothing.
    EXPECT_EQ(RunRows(UnitedStates(0, {{QRNP_OPR_US_FLAGS, 8}}), {L"123-45-6789"}).rows[0].output, L"123-47-3517");
}

TEST(UnitedStatesDriverTest, InvalidSetUpFailsInit) {
    testsupport::ExpectInits(UnitedStates(), {
        {{{QRNP_OPR_US_FLAGS, 6}}, VARCHAR, {QRNP_MSG_US_INVALID_FLAGS, QRNP_MSG_US_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {{QRNP_TOKID_FLAG, L"6"}}},
        {{{QRNP_OPR_US_SEPARATOR, 3}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_US_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"US"}}},
        {{}, ODBC_DATE, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_US_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SRC_DATATYPE, L"14"}, {QRNP_TOKID_COLNAME, L"NID"}, {QRNP_TOKID_COUNTRY, L"US"}}},
        {{}, LONG_LONG, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_US_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
    });
    InstanceOptions options = UnitedStates();
    options.bNoConversionBlock = true;
    const auto result = RunRows(options, {L"123-45-6789"});
    EXPECT_EQ(testsupport::MessageNumbers(result), (std::vector<uint32_t>{QRNP_MSG_NO_CONVERSION_BLOCK, QRNP_MSG_US_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}));
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 0);
}

// Numeric columns lose leading zeros; the driver puts them back before the
// layout check. VARNUM columns are the exception: they mark the Canadian
// block, so a short value fails the length check.
TEST(UnitedStatesDriverTest, NumericColumns) {
    // As text, 046-45-4286 masks to 046437623 and 123-45-6789 to 123473517.
    for (int16_t sType : {U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD}) {
        InstanceOptions options = UnitedStates(1);
        options.sDataType = sType;
        const auto result = RunRows(options, {L"46454286", L"123456789", L"0"});
        ASSERT_EQ(result.iInit, 0) << sType;
        EXPECT_EQ(result.rows[0].output, L"46437623") << sType;
        EXPECT_EQ(result.rows[1].output, L"123473517") << sType;
        EXPECT_EQ(result.rows[2].iStatus, QRNP_MSG_EMPTY_NUMERIC_VALUE) << "a numeric zero is an empty value";
        EXPECT_FALSE(result.rows[2].bRejected);
    }

    InstanceOptions options = UnitedStates();
    options.sDataType = ORA_VARNUM;
    const auto varnum = RunRows(options, {L"46454286", L"123456789"});
    EXPECT_EQ(varnum.rows[0].iStatus, QRNP_MSG_INVALID_LENGTH);
    EXPECT_EQ(varnum.rows[1].output, L"123473517");

    // Every packed-decimal column is accepted, whatever its precision.
    for (int16_t sPrecision : {1, 8, 9, 21, 31}) {
        options = UnitedStates();
        options.sDataType = DECIMAL_PKD;
        options.sPrecision = sPrecision;
        EXPECT_EQ(RunRows(options, {L"1"}).iInit, 0) << sPrecision;
    }
}

// Any method that is neither mask nor random (given through the control
// block) writes 000000000 without reading the source, in the layout fixed at
// set-up: option 2 then means no separator. (Random values in every layout:
// tests/countries/generated_values_test.cpp.)
TEST(UnitedStatesDriverTest, OtherMethodsDoNotReadTheSource) {
    for (uint32_t iSeparator : {2u, 8u}) {
        InstanceOptions options = UnitedStates(0, {{QRNP_OPR_US_SEPARATOR, iSeparator}});
        options.sMethod = 0x1409;
        const auto other = RunRows(options, {L"123-45-6789"}, QRNP_METHOD_CTRLBLK);
        EXPECT_EQ(other.rows[0].iStatus, 0);
        EXPECT_EQ(other.rows[0].output, iSeparator == 2 ? L"000000000" : L"000-00-0000");
    }
}

}  // namespace
