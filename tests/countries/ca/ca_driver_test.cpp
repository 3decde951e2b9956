// Canada end to end through the entry points: layouts, separators,
// validation, exits, methods, options, and text and numeric columns.
#include <gtest/gtest.h>

#include <string>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;
using testsupport::TokenText;

InstanceOptions Canadian(uint16_t sProcFlags = 0, std::vector<std::pair<uint16_t, uint32_t>> operands = {},
                         int16_t sDataType = VARCHAR) {
    InstanceOptions options;
    options.countrySwitch = L"CA";
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    options.sDataType = sDataType;
    return options;
}

struct Worked {
    const wchar_t* pSource;
    const wchar_t* pKeepHead;
    const wchar_t* pMaskHead;
};
const Worked kWorked[] = {
    {L"130692544", L"130191067", L"426191060"},
    {L"046454286", L"046600078", L"356600072"},
    {L"123456782", L"123120578", L"053120572"},
    {L"999999998", L"999851280", L"368851283"},  // a head above 800 keys the body with head - 100
};

// A numeric column carries the value without its leading zeros.
std::wstring AsNumber(const std::wstring& digits) {
    const size_t i = digits.find_first_not_of(L'0');
    return i == std::wstring::npos ? L"0" : digits.substr(i);
}

TEST(CanadaDriverTest, WorkedExamplesInTextAndIntegerColumns) {
    for (int16_t sType : {VARCHAR, INTEGER}) {
        for (uint32_t iParts : {0u, 1u}) {
            std::vector<std::optional<std::wstring>> values;
            for (const Worked& w : kWorked)
                values.push_back(sType == INTEGER ? AsNumber(w.pSource) : std::wstring(w.pSource));
            const auto result = RunRows(Canadian(1, {{QRNP_OPR_CA_PARTS, iParts}}, sType), values);
            ASSERT_EQ(result.iInit, 0);
            EXPECT_EQ(result.iService, 0);
            for (size_t i = 0; i < values.size(); ++i) {
                const std::wstring expected = iParts ? kWorked[i].pMaskHead : kWorked[i].pKeepHead;
                EXPECT_EQ(result.rows[i].iStatus, 0);
                EXPECT_EQ(result.rows[i].output, sType == INTEGER ? AsNumber(expected) : expected)
                    << "type " << sType << " parts " << iParts << " row " << i;
            }
        }
    }
}

TEST(CanadaDriverTest, EveryNumericTypeRoundTrips) {
    for (int16_t sType : {U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, ORA_VARNUM}) {
        for (bool bSeparate : {true, false}) {
            InstanceOptions options = Canadian(1, {}, sType);
            options.bSeparateDestination = bSeparate;
            const auto result = RunRows(options, {L"46454286", L"130692544"});
            ASSERT_EQ(result.iInit, 0) << sType;
            EXPECT_TRUE(result.bGuardsIntact);
            EXPECT_EQ(result.rows[0].output, L"46600078") << "type " << sType << " separate " << bSeparate;
            EXPECT_EQ(result.rows[1].output, L"130191067") << "type " << sType << " separate " << bSeparate;
        }
    }
    const auto zero = RunRows(Canadian(0, {}, INTEGER), {L"0", L"12345678"});
    EXPECT_EQ(zero.rows[0].iStatus, QRNP_MSG_EMPTY_NUMERIC_VALUE) << "a numeric zero is the empty value, passed through";
    EXPECT_FALSE(zero.rows[0].bRejected);
    EXPECT_EQ(zero.rows[1].iStatus, 0) << "read as 012345678";
    EXPECT_EQ(RunRows(Canadian(0, {}, U_LONG_LONG), {L"1234567890"}).rows[0].iStatus, QRNP_MSG_INVALID_LENGTH);
    // The padded number is the SIN 012345678 (not Luhn-valid, so only seen under validation).
    const auto padded = RunRows(Canadian(1, {}, INTEGER), {L"12345678"});
    ASSERT_EQ(padded.messages.size(), 1u);
    EXPECT_EQ(TokenText(padded.messages[0], QRNP_TOKID_SRCDATA), L"012345678");
}

TEST(CanadaDriverTest, Layouts) {
    testsupport::ExpectRows(Canadian(), {
        {L"123456782", 0, 0, L"123120578"},
        {L"123-456-782", 0, 0, L"123-120-578"},
        {L"123 456 782", 0, 0, L"123 120 578"},
        {L"123.456.782", 0, 0, L"123.120.578"},
        {L"123-456.782", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"123/456/782", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"12-3456-782", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"123-456782", 0, QRNP_MSG_INVALID_SEPARATOR},   // ten characters cannot hold two separators
        {L"123-4567-82", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"1234567820", 0, QRNP_MSG_INVALID_LENGTH},
        {L"123-456-7822", 0, QRNP_MSG_INVALID_LENGTH},
        // Region and check digit are only looked at under full validation;
        // the source's check digit never enters the mask.
        {L"123456789", 0, 0, L"123120578"},
        {L"823456789", 0, 0},
    });
}

TEST(CanadaDriverTest, MessagesAndPassThrough) {
    testsupport::ExpectMessages(Canadian(), {
        {L"12345678", 0, QRNP_MSG_INVALID_LENGTH,
         {{QRNP_TOKID_SRCDATA, L"12345678"}, {QRNP_TOKID_SRCLEN, L"8"}, {QRNP_TOKID_COUNTRY, L"Canada"}}},
        {L"123/456/782", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"123/456/782"}, {QRNP_TOKID_COUNTRY, L"Canada"}}},
        // Region 8 is refused before the Luhn test, with the compact value.
        {L"823-456-789", 1, QRNP_MSG_CA_INVALID_SIN, {{QRNP_TOKID_SRCDATA, L"823456789"}}},
        {L"123456789", 1, QRNP_MSG_INVALID_SOURCE_DATA, {{QRNP_TOKID_SRCDATA, L"123456789"}, {QRNP_TOKID_COUNTRY, L"Canada"}}},
    });
    testsupport::ExpectPassedThroughOnlyWhenAsked(Canadian(QRNP_PROC_VALIDATE_FULLY),
                                                  {L"823456789", L"123456789", L"12345678", L"123/456/782"});
}

TEST(CanadaDriverTest, SeparatorOptions) {
    testsupport::ExpectSeparators(Canadian(), QRNP_OPR_CA_SEPARATOR, {
        {2, L"123 456 782", L"123 120 578"}, {1, L"123-456-782", L"123120578"},
        {4, L"123456782", L"123.120.578"},   {8, L"123 456 782", L"123-120-578"},
        {8, L"123.456.782", L"123-120-578"}, {16, L"123456782", L"123 120 578"},
    });
}

TEST(CanadaDriverTest, RandomAndOtherMethods) {
    // Random: the source is not read; option 2 (as the source) gives no separator.
    const auto compact = RunRows(Canadian(), {std::nullopt, L"not a SIN"}, QRNP_METHOD_RANDOM);
    for (const auto& row : compact.rows) {
        EXPECT_EQ(row.iStatus, 0);
        EXPECT_EQ(row.output.value_or(L"").size(), 9u);
    }

    // Any other method (taken from the control block) writes 000000000 in the set-up layout.
    struct Case {
        uint32_t iOption;
        int16_t sType;
        const wchar_t* pOutput;
    };
    const Case cases[] = {{2, VARCHAR, L"000000000"}, {8, VARCHAR, L"000-000-000"}, {16, CHAR, L"000 000 000 "}};
    for (const Case& c : cases) {
        InstanceOptions options = Canadian(0, {{QRNP_OPR_CA_SEPARATOR, c.iOption}}, c.sType);
        options.sMethod = 0x1234;
        options.iLength = 12;
        const auto result = RunRows(options, {L"123-456-782"}, QRNP_METHOD_CTRLBLK);
        EXPECT_EQ(result.rows[0].iStatus, 0);
        EXPECT_EQ(result.rows[0].output, std::wstring(c.pOutput)) << c.iOption;
    }
}

TEST(CanadaDriverTest, SetUpOptionsAndColumns) {
    testsupport::ExpectInits(Canadian(), {
        {{{QRNP_OPR_CA_PARTS, 2}}, VARCHAR, {QRNP_MSG_INVALID_PARTS_OPTION, QRNP_MSG_CA_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{{QRNP_OPR_CA_PARTS, 3}}, VARCHAR, {}},  // any odd value masks the head
        {{{QRNP_OPR_CA_SEPARATOR, 3}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_CA_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"Canada"}}},
        {{{QRNP_OPR_CA_SEPARATOR, 32}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_CA_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{}, DOUBLE, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_CA_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SRC_DATATYPE, L"19"}, {QRNP_TOKID_COLNAME, L"NID"}, {QRNP_TOKID_COUNTRY, L"Canada"}}},
        {{}, SMALLINT, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_CA_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{}, DECIMAL_PKD, {}},
    });
    // Packed decimals of every precision are accepted.
    for (int16_t sPrecision : {1, 5, 9, 15, 21, 31}) {
        InstanceOptions options = Canadian(0, {}, DECIMAL_PKD);
        options.sPrecision = sPrecision;
        EXPECT_EQ(RunRows(options, {L"1"}).iInit, 0) << sPrecision;
    }
}

}  // namespace
