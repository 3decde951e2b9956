// The United Kingdom end to end through the entry points: forms, checks,
// options, exits. AB123456 masks to AB897952 (see uk_algo_test.cpp).
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::MessagesNumbered;
using testsupport::RunRows;
using testsupport::TokenText;

InstanceOptions British(std::vector<std::pair<uint16_t, uint32_t>> operands = {}, uint16_t sProcFlags = 0) {
    InstanceOptions options;
    options.countrySwitch = L"uk";
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    return options;
}

std::vector<uint32_t> Captured(const testsupport::RunResult& result) {
    std::vector<uint32_t> numbers;
    for (const auto& m : result.messages) numbers.push_back(m.iMessage);
    return numbers;
}

struct RowCase {
    const wchar_t* pValue;
    int32_t iStatus;
    const wchar_t* pOutput;  // with status 0
};

void ExpectRows(const InstanceOptions& options, const std::vector<RowCase>& cases) {
    for (const RowCase& c : cases) {
        const auto result = RunRows(options, {std::wstring(c.pValue)});
        ASSERT_EQ(result.iInit, 0);
        const std::string value = hostkit::ToUtf8(c.pValue);
        EXPECT_EQ(result.rows[0].iStatus, c.iStatus) << value;
        EXPECT_EQ(result.rows[0].bRejected, c.iStatus != 0) << value;
        if (c.iStatus == 0) {
            EXPECT_EQ(result.rows[0].output, std::wstring(c.pOutput)) << value;
        }
    }
}

// Separator code 2 (the default): every form is read and written back as it came.
TEST(UkDriverTest, FormsAreRecognisedAndKept) {
    ExpectRows(British(), {
        {L"AB123456", 0, L"AB897952"},
        {L"AB123456C", 0, L"AB897952C"},
        {L"  AB123456C  ", 0, L"AB897952C"},
        {L"ab123456a", 0, L"ab897952a"},         // lower case passes and is kept
        {L"AB-123456", 0, L"AB-897952"},         // 9 with a separator at 2: 3-part, no suffix
        {L"AB.123456", 0, L"AB.897952"},
        {L"AB 123456", 0, L"AB 897952"},
        {L"AB-123456-C", 0, L"AB-897952-C"},     // 11, separators at 2 and 9
        {L"AB 123456 d", 0, L"AB 897952 d"},
        {L"AB-12-34-56", 0, L"AB-89-79-52"},     // 11, separators at 2, 5 and 8
        {L"AB.12.34.56.C", 0, L"AB.89.79.52.C"},
        {L"AB 12 34 56 C", 0, L"AB 89 79 52 C"},
    });
}

TEST(UkDriverTest, LengthSeparatorAndFieldChecks) {
    ExpectRows(British(), {
        {L"AB12345", 4405, nullptr},
        {L"AB123456CD", 4405, nullptr},          // 10 characters
        {L"AB-1234567", 4405, nullptr},
        {L"AB-12-34-56-", 4405, nullptr},        // 12 characters
        {L"AB--12-34-56-C", 4405, nullptr},      // 14 characters
        {L"AB--123456", 4405, nullptr},
        {L"AB-1-2-3-4-5-6", 4405, nullptr},      // 8 letters and digits, but 14 characters
        {L"AB-12-34-5-6C", 4406, nullptr},       // 13 characters, but no separator at 11
        {L"AB 12-34-56-C", 4406, nullptr},       // mixed separators
        {L"AB-12-34-56 C", 4406, nullptr},
        {L"AB-123456.C", 4406, nullptr},
        {L"AB/123456/C", 4406, nullptr},         // "/" is no separator
        {L"AB-1234-56C", 4406, nullptr},         // 11 with separators at 2 and 7 only
        {L"AB/123456", 4531, nullptr},           // 9 without a separator at 2: compact with suffix
        {L"DA123456C", 4530, nullptr},
        {L"QQ-123456", 4530, nullptr},
        {L"A1234567C", 4530, nullptr},
        {L"AB12345XC", 4531, nullptr},
        {L"AB-12-3X-56", 4531, nullptr},
        {L"AB1234567", 4532, nullptr},
        {L"AB123456E", 4532, nullptr},
        {L"AB-123456-e", 4532, nullptr},
    });
}

TEST(UkDriverTest, MessagesCarryTheirTokens) {
    auto result = RunRows(British(), {L"AB12345"});
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].iMessage, 4405u);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCDATA), L"AB12345");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCLEN), L"7");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"UK");

    result = RunRows(British(), {L"AB 12-34-56-C"});
    ASSERT_EQ(result.messages.size(), 1u);
    EXPECT_EQ(result.messages[0].sDeclaredTokens, 2);
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"UK");

    for (const wchar_t* pValue : {L"DA-123456-C", L"AB12345XC", L"AB123456E"}) {
        result = RunRows(British(), {std::wstring(pValue)});
        ASSERT_EQ(result.messages.size(), 1u);
        EXPECT_EQ(result.messages[0].sDeclaredTokens, 1);
        EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SRCDATA).size(), 9u) << "the compact value";
    }
}

TEST(UkDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    for (const wchar_t* pValue : {L"AB123456E", L"DA123456", L"AB-12-3X-56", L"AB 12-34-56-C", L"AB12345"}) {
        const auto passed = RunRows(British({}, 2), {std::wstring(pValue)});
        EXPECT_NE(passed.rows[0].iStatus, 0);
        EXPECT_FALSE(passed.rows[0].bRejected);
        EXPECT_EQ(passed.rows[0].output, std::wstring(pValue));
        EXPECT_EQ(passed.iTerminate, 0);

        const auto rejected = RunRows(British(), {std::wstring(pValue)});
        EXPECT_TRUE(rejected.rows[0].bRejected);
        EXPECT_EQ(rejected.iTerminate, -2);
    }
}

TEST(UkDriverTest, ConfiguredFormsOverrideTheSource) {
    struct Case {
        uint32_t iSeparator;
        int32_t iFormFlags;  // -1: no 0x180D operand
        const wchar_t* pSource;
        const wchar_t* pOutput;
    };
    const Case cases[] = {
        {1, -1, L"AB-12-34-56-C", L"AB897952C"},
        {1, 2, L"AB 123456", L"AB897952"},
        {8, -1, L"AB.12.34.56.C", L"AB-897952-C"},   // no form flags: 3-part
        {8, -1, L"AB123456", L"AB-897952"},
        {16, 2, L"AB123456C", L"AB 89 79 52 C"},
        {16, 2, L"AB-123456", L"AB 89 79 52"},
        {4, 1, L"AB-12-34-56", L"AB.897952"},
        {4, 3, L"AB123456C", L"AB.89.79.52.C"},      // both form bits: the 5-part bit decides
        {2, 4, L"AB.12.34.56", L"AB.89.79.52"},      // code 2 needs no form bit
    };
    for (const Case& c : cases) {
        std::vector<std::pair<uint16_t, uint32_t>> operands = {{QRNP_OPR_UK_SEPARATOR, c.iSeparator}};
        if (c.iFormFlags >= 0) operands.push_back({QRNP_OPR_UK_FORM, static_cast<uint32_t>(c.iFormFlags)});
        const auto result = RunRows(British(operands), {std::wstring(c.pSource)});
        ASSERT_EQ(result.iInit, 0) << c.iSeparator << " " << c.iFormFlags;
        EXPECT_EQ(result.rows[0].iStatus, 0);
        EXPECT_EQ(result.rows[0].output, std::wstring(c.pOutput)) << c.iSeparator << " " << c.iFormFlags;
    }
}

TEST(UkDriverTest, PrefixIsMaskedOnlyWithDataOptionBit1) {
    ExpectRows(British({{QRNP_OPR_UK_DATA, 1}}), {
        {L"ab123456d", 0, L"SW897952d"},
        {L"AB-12-34-56", 0, L"SW-89-79-52"},
    });
    ExpectRows(British({{QRNP_OPR_UK_DATA, 0}}), {{L"ab123456d", 0, L"ab897952d"}});
}

TEST(UkDriverTest, InvalidOptionsFailInit) {
    struct Case {
        uint16_t sMethod;
        std::vector<std::pair<uint16_t, uint32_t>> operands;
        std::vector<uint32_t> captured;
    };
    const Case cases[] = {
        {QRNP_METHOD_MASK, {{QRNP_OPR_UK_SEPARATOR, 32}}, {4360, 4528, 4353}},
        {QRNP_METHOD_MASK, {{QRNP_OPR_UK_SEPARATOR, 0xFFFF}}, {4360, 4528, 4353}},
        {QRNP_METHOD_MASK, {{QRNP_OPR_UK_DATA, 2}}, {4362, 4528, 4353}},
        {QRNP_METHOD_MASK, {{QRNP_OPR_UK_SEPARATOR, 8}, {QRNP_OPR_UK_FORM, 4}}, {4529, 4528, 4353}},
        {QRNP_METHOD_MASK, {{QRNP_OPR_UK_FORM, 8}}, {4534, 4528, 4353}},
        {QRNP_METHOD_RANDOM, {{QRNP_OPR_UK_FORM, 5}}, {4534, 4528, 4353}},
        // The mismatch is found before the column and the other options.
        {QRNP_METHOD_RANDOM, {{QRNP_OPR_UK_FORM, 4}, {QRNP_OPR_UK_SEPARATOR, 32}}, {4534, 4528, 4353}},
    };
    for (const Case& c : cases) {
        InstanceOptions options = British(c.operands);
        options.sMethod = c.sMethod;
        const auto result = RunRows(options, {L"AB123456C"});
        EXPECT_EQ(result.iInit, 4353);
        EXPECT_EQ(Captured(result), c.captured);
    }

    auto result = RunRows(British({{QRNP_OPR_UK_SEPARATOR, 32}}), {});
    ASSERT_FALSE(result.messages.empty());
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_SEP), L"32");
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"UK");

    result = RunRows(British({{QRNP_OPR_UK_SEPARATOR, 16}, {QRNP_OPR_UK_FORM, 4}}), {});
    ASSERT_FALSE(result.messages.empty());
    ASSERT_EQ(result.messages[0].sDeclaredTokens, 2);
    EXPECT_EQ(result.messages[0].tokens[0].second, L"QRNP_FLAG_UK_FORM_3_PART");
    EXPECT_EQ(result.messages[0].tokens[1].second, L"QRNP_FLAG_UK_FORM_5_PART");

    InstanceOptions numeric = British();
    numeric.sDataType = INTEGER;
    result = RunRows(numeric, {});
    EXPECT_EQ(Captured(result), (std::vector<uint32_t>{4354, 4528, 4353}));
    EXPECT_EQ(TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"UK");

    // Both permissions, or a method given by the flags themselves, are fine.
    for (uint16_t sMethod : {QRNP_METHOD_MASK, QRNP_METHOD_RANDOM}) {
        InstanceOptions options = British({{QRNP_OPR_UK_FORM, 12}});
        options.sMethod = sMethod;
        EXPECT_EQ(RunRows(options, {}).iInit, 0);
        options.operands = {{QRNP_OPR_UK_FORM, 0}};
        EXPECT_EQ(RunRows(options, {}).iInit, 0);
    }
}

TEST(UkDriverTest, RandomValuesTakeTheConfiguredForm) {
    struct Case {
        uint32_t iSeparator;
        uint32_t iFormFlags;
        size_t iSeparatorPos;  // 0: compact
        wchar_t sep;
    };
    const Case cases[] = {{2, 0, 0, 0}, {1, 2, 0, 0}, {8, 1, 2, L'-'}, {4, 2, 5, L'.'}, {16, 2, 8, L' '}};
    for (const Case& c : cases) {
        InstanceOptions options = British({{QRNP_OPR_UK_SEPARATOR, c.iSeparator}, {QRNP_OPR_UK_FORM, c.iFormFlags}});
        options.sMethod = QRNP_METHOD_RANDOM;
        const auto result = RunRows(options, std::vector<std::optional<std::wstring>>(200, std::nullopt),
                                    QRNP_METHOD_RANDOM);
        ASSERT_EQ(result.iService, 0);
        std::vector<std::optional<std::wstring>> outputs;
        for (const auto& row : result.rows) {
            const std::wstring& out = *row.output;
            if (c.sep == 0) {
                EXPECT_TRUE(out.size() == 8 || out.size() == 9) << hostkit::ToUtf8(out);
            } else {
                ASSERT_GT(out.size(), c.iSeparatorPos);
                EXPECT_EQ(out[2], c.sep);
                EXPECT_EQ(out[c.iSeparatorPos], c.sep);
            }
            outputs.push_back(out);
        }
        // What was generated masks again.
        const auto masked = RunRows(British(), outputs);
        EXPECT_EQ(masked.iService, 0);
    }
}

}  // namespace
