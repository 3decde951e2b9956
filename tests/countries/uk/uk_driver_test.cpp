// The United Kingdom end to end through the entry points: forms, checks,
// options, exits. AB123456 masks to AB897952 (see uk_algo_test.cpp).
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;
using testsupport::TokenText;

InstanceOptions British(std::vector<std::pair<uint16_t, uint32_t>> operands = {}, uint16_t sProcFlags = 0) {
    InstanceOptions options;
    options.countrySwitch = L"uk";
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    return options;
}

// Separator code 2 (the default): every form is read and written back as it came.
TEST(UkDriverTest, FormsAndChecks) {
    testsupport::ExpectRows(British(), {
        {L"AB123456", 0, 0, L"AB897952"},
        {L"AB123456C", 0, 0, L"AB897952C"},
        {L"ab123456a", 0, 0, L"ab897952a"},         // lower case passes and is kept
        {L"AB-123456", 0, 0, L"AB-897952"},         // 9 with a separator at 2: 3-part, no suffix
        {L"AB.123456", 0, 0, L"AB.897952"},
        {L"AB 123456", 0, 0, L"AB 897952"},
        {L"AB-123456-C", 0, 0, L"AB-897952-C"},     // 11, separators at 2 and 9
        {L"AB 123456 d", 0, 0, L"AB 897952 d"},
        {L"AB-12-34-56", 0, 0, L"AB-89-79-52"},     // 11, separators at 2, 5 and 8
        {L"AB.12.34.56.C", 0, 0, L"AB.89.79.52.C"},
        {L"AB 12 34 56 C", 0, 0, L"AB 89 79 52 C"},
        {L"AB-1234567", 0, QRNP_MSG_INVALID_LENGTH},
        {L"AB-12-34-56-", 0, QRNP_MSG_INVALID_LENGTH},                 // 12 characters
        {L"AB--12-34-56-C", 0, QRNP_MSG_INVALID_LENGTH},               // 14 characters
        {L"AB--123456", 0, QRNP_MSG_INVALID_LENGTH},
        {L"AB-1-2-3-4-5-6", 0, QRNP_MSG_INVALID_LENGTH},               // 8 letters and digits, but 14 characters
        {L"AB-12-34-5-6C", 0, QRNP_MSG_INVALID_SEPARATOR},                // 13 characters, but no separator at 11
        {L"AB 12-34-56-C", 0, QRNP_MSG_INVALID_SEPARATOR},                // mixed separators
        {L"AB-12-34-56 C", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"AB-123456.C", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"AB/123456/C", 0, QRNP_MSG_INVALID_SEPARATOR},                  // "/" is no separator
        {L"AB-1234-56C", 0, QRNP_MSG_INVALID_SEPARATOR},                  // 11 with separators at 2 and 7 only
        {L"AB/123456", 0, QRNP_MSG_UK_INVALID_NUMBER},                    // 9 without a separator at 2: compact with suffix
        {L"DA123456C", 0, QRNP_MSG_UK_INVALID_PREFIX},
        {L"QQ-123456", 0, QRNP_MSG_UK_INVALID_PREFIX},
        {L"AB-12-3X-56", 0, QRNP_MSG_UK_INVALID_NUMBER},
        {L"AB1234567", 0, QRNP_MSG_UK_INVALID_SUFFIX},
        {L"AB-123456-e", 0, QRNP_MSG_UK_INVALID_SUFFIX},
    });
}

TEST(UkDriverTest, MessagesAndPassThrough) {
    testsupport::ExpectMessages(British(), {
        {L"AB12345", 0, QRNP_MSG_INVALID_LENGTH, {{QRNP_TOKID_SRCDATA, L"AB12345"}, {QRNP_TOKID_SRCLEN, L"7"}, {QRNP_TOKID_COUNTRY, L"UK"}}},
        {L"AB 12-34-56-C", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"AB 12-34-56-C"}, {QRNP_TOKID_COUNTRY, L"UK"}}},
        // The field checks carry the compact value alone.
        {L"DA-123456-C", 0, QRNP_MSG_UK_INVALID_PREFIX, {{QRNP_TOKID_SRCDATA, L"DA123456C"}}},
        {L"AB-12-3X-56-C", 0, QRNP_MSG_UK_INVALID_NUMBER, {{QRNP_TOKID_SRCDATA, L"AB123X56C"}}},
        {L"AB 123456 E", 0, QRNP_MSG_UK_INVALID_SUFFIX, {{QRNP_TOKID_SRCDATA, L"AB123456E"}}},
    });
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        British(), {L"AB123456E", L"DA123456", L"AB-12-3X-56", L"AB 12-34-56-C", L"AB12345"});
}

// Separator code 1 writes the compact form, 4, 8 and 16 the 3-part form unless
// the form flags ask for 5 parts; data option bit 1 masks the prefix too.
TEST(UkDriverTest, ConfiguredFormsAndPrefix) {
    struct Case {
        uint32_t iSeparator;
        int32_t iFormFlags;  // -1: no form operand
        uint32_t iData;
        const wchar_t* pSource;
        const wchar_t* pOutput;
    };
    const Case cases[] = {
        {1, -1, 0, L"AB-12-34-56-C", L"AB897952C"},
        {1, 2, 0, L"AB 123456", L"AB897952"},
        {8, -1, 0, L"AB.12.34.56.C", L"AB-897952-C"},   // no form flags: 3-part
        {8, -1, 0, L"AB123456", L"AB-897952"},
        {16, 2, 0, L"AB123456C", L"AB 89 79 52 C"},
        {16, 2, 0, L"AB-123456", L"AB 89 79 52"},
        {4, 1, 0, L"AB-12-34-56", L"AB.897952"},
        {4, 3, 0, L"AB123456C", L"AB.89.79.52.C"},      // both form bits: the 5-part bit decides
        {2, 4, 0, L"AB.12.34.56", L"AB.89.79.52"},      // code 2 needs no form bit
        {2, -1, 1, L"ab123456d", L"SW897952d"},
        {2, -1, 1, L"AB-12-34-56", L"SW-89-79-52"},
    };
    for (const Case& c : cases) {
        std::vector<std::pair<uint16_t, uint32_t>> operands = {{QRNP_OPR_UK_SEPARATOR, c.iSeparator},
                                                               {QRNP_OPR_UK_DATA, c.iData}};
        if (c.iFormFlags >= 0) operands.push_back({QRNP_OPR_UK_FORM, static_cast<uint32_t>(c.iFormFlags)});
        const auto result = RunRows(British(operands), {std::wstring(c.pSource)});
        ASSERT_EQ(result.iInit, 0) << c.iSeparator << " " << c.iFormFlags;
        EXPECT_EQ(result.rows[0].output, std::wstring(c.pOutput)) << c.iSeparator << " " << c.iFormFlags;
    }
}

TEST(UkDriverTest, SetUpOptions) {
    constexpr uint16_t kRandom = QRNP_METHOD_RANDOM;
    testsupport::ExpectInits(British(), {
        {{{QRNP_OPR_UK_SEPARATOR, 32}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {{QRNP_TOKID_SEP, L"32"}, {QRNP_TOKID_COUNTRY, L"UK"}}},
        {{{QRNP_OPR_UK_DATA, 2}}, VARCHAR, {QRNP_MSG_INVALID_PARTS_OPTION, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{{QRNP_OPR_UK_SEPARATOR, 16}, {QRNP_OPR_UK_FORM, 4}}, VARCHAR, {QRNP_MSG_UK_INVALID_FLAGS, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_FLAG, L"QRNP_FLAG_UK_FORM_3_PART"}, {QRNP_TOKID_FLAG, L"QRNP_FLAG_UK_FORM_5_PART"}}},
        {{{QRNP_OPR_UK_FORM, 8}}, VARCHAR, {QRNP_MSG_UK_METHOD_FORM_MISMATCH, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{{QRNP_OPR_UK_FORM, 5}}, VARCHAR, {QRNP_MSG_UK_METHOD_FORM_MISMATCH, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {}, kRandom},
        // The mismatch is found before the column and the other options.
        {{{QRNP_OPR_UK_FORM, 4}, {QRNP_OPR_UK_SEPARATOR, 32}}, INTEGER, {QRNP_MSG_UK_METHOD_FORM_MISMATCH, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {}, kRandom},
        {{}, INTEGER, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_UK_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}, {{QRNP_TOKID_SRC_DATATYPE, L"9"}, {QRNP_TOKID_COLNAME, L"NID"}, {QRNP_TOKID_COUNTRY, L"UK"}}},
        // Both permissions, or a method given by the flags themselves, are fine.
        {{{QRNP_OPR_UK_FORM, 12}}, VARCHAR, {}},
        {{{QRNP_OPR_UK_FORM, 12}}, VARCHAR, {}, {}, kRandom},
        {{{QRNP_OPR_UK_FORM, 0}}, VARCHAR, {}},
        {{{QRNP_OPR_UK_FORM, 0}}, VARCHAR, {}, {}, kRandom},
    });
}

}  // namespace
