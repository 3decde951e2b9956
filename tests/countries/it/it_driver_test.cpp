// Italy end to end through the entry points: options, layouts, checks, exits.
#include <gtest/gtest.h>

#include "countries/it/QRNPNidItAlgo.h"
#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;

const std::wstring kValid = L"RSSMRA85T10A562S";
const std::wstring kHyphens = L"RSS-MRA-85T10-A562S";
const std::wstring kSpaces = L"RSS MRA 85T10 A562S";

InstanceOptions Italian(uint16_t sProcFlags = 0, std::vector<std::pair<uint16_t, uint32_t>> operands = {}) {
    InstanceOptions options;
    options.countrySwitch = L"IT";
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    return options;
}

// The value's own check character, recomputed from its compact form.
wchar_t CheckOf(std::wstring v) {
    std::erase_if(v, [](wchar_t c) { return c == L'-' || c == L' '; });
    GetControlCharacter(v.data());
    return v[15];
}

TEST(ItalyDriverTest, InvalidOptionsFailInit) {
    testsupport::ExpectInits(Italian(), {
        {{{QRNP_OPR_IT_FLAGS, 8}}, VARCHAR, {QRNP_MSG_INVALID_PARTS_OPTION, QRNP_MSG_IT_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{{QRNP_OPR_IT_SEPARATOR, 3}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_IT_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        {{{QRNP_OPR_IT_SEPARATOR, 4}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_IT_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
    });
}

TEST(ItalyDriverTest, LayoutsAndChecks) {
    testsupport::ExpectRows(Italian(), {
        {L"RSSMRA85T10A562S", 0, 0},
        {L"RSS-MRA-85T10-A562S", 0, 0},
        {L"RSS MRA 85T10 A562S", 0, 0},
        {L"RSSMRA85T10A562SX", 0, QRNP_MSG_INVALID_LENGTH},
        {L"RSS-MRA 85T10-A562S", 0, QRNP_MSG_INVALID_SEPARATOR},      // mixed separators
        {L"RSS/MRA/85T10/A562S", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"RSSM-RA85T1-0A562S", 0, QRNP_MSG_INVALID_LENGTH},       // 18 characters
        {L"RSSMR-A85T-10A-562S", 0, QRNP_MSG_INVALID_SEPARATOR},      // separators in the wrong places
        // Character checks, in their order.
        {L"RSSMR485T10A562S", 0, QRNP_MSG_IT_INVALID_NAME},
        {L"RSSMRA8?T10A562S", 0, QRNP_MSG_IT_INVALID_SOURCE_DATA},
        {L"RSSMRA8AT10A562S", 0, QRNP_MSG_IT_INVALID_REPLACEMENT},
        {L"RSSMRA85T1lA562S", 0, QRNP_MSG_IT_INVALID_REPLACEMENT},         // lower case is a letter, but no replacement letter
        {L"R1SMRA8AT10A562S", 0, QRNP_MSG_IT_INVALID_NAME},
        {L"RSSMRA8?T10A5A2S", 0, QRNP_MSG_IT_INVALID_SOURCE_DATA},         // the first failing position decides
        {L"RSSMRA8AT10A5?2S", 0, QRNP_MSG_IT_INVALID_REPLACEMENT},
        // Positions 8 and 11: one letter of the two is enough for this check.
        {L"RSSMRA85110A562S", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},         // left to the month check
        {L"RSSMRA85T101562S", 0, QRNP_MSG_IT_INVALID_REGION},         // left to the region check
        {L"RSSMRA851101562S", 0, QRNP_MSG_IT_INVALID_SOURCE_DATA},
        // The field checks (tests/countries/it/it_algo_test.cpp) run on what passes these.
        {L"rssmra85t10a562s", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE},         // lower case fails at the month
        // Omocodic values: replacement letters anywhere in the digit fields.
        {L"RSSMRA85T10A56NH", 1, 0},
        {L"RSSMRAURTMLAQSNJ", 1, 0},
        {L"RSSMRA8RT10A562S", 0, 0},            // not from the right: still accepted
        // The check character is looked at only under a full validation.
        {L"RSSMRA85T10A562X", 0, 0},
        {L"RSSMRA85T10A562s", 1, QRNP_MSG_IT_INVALID_CHECK},
        {L"RSS-MRA-85T10-A562S", 1, 0},
    });
}

TEST(ItalyDriverTest, MessagesCarryTheirTokens) {
    testsupport::ExpectMessages(Italian(), {
        {L"RSSMRA85T10A562", 0, QRNP_MSG_INVALID_LENGTH,
         {{QRNP_TOKID_SRCDATA, L"RSSMRA85T10A562"}, {QRNP_TOKID_SRCLEN, L"15"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        {L"RSS-MRA 85T10-A562S", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"RSS-MRA 85T10-A562S"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        // Field checks carry the compact value alone.
        {L"RSS-MR4-85T10-A562S", 0, QRNP_MSG_IT_INVALID_NAME, {{QRNP_TOKID_SRCDATA, L"RSSMR485T10A562S"}}},
        {L"RSSMRA85T40A562S", 0, QRNP_MSG_IT_INVALID_BIRTH_DATE, {{QRNP_TOKID_SRCDATA, L"RSSMRA85T40A562S"}}},
        {L"RSSMRA85T10A562X", 1, QRNP_MSG_IT_INVALID_CHECK, {{QRNP_TOKID_SRCDATA, L"RSSMRA85T10A562X"}}},
    });
}

TEST(ItalyDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        Italian(QRNP_PROC_VALIDATE_FULLY),
        {L"RSSMR", L"RSS-MRA 85T10-A562S", L"RSSMR485T10A562S", L"RSSMRA8AT10A562S", L"RSSMRA8?T10A562S",
         L"RASMRA85T10A562S", L"RSSMRA85T40A562S", L"RSSMRA85T10A002S", L"RSSMRA85T10A562X"});
}

TEST(ItalyDriverTest, SeparatorStyles) {
    const std::wstring compact = L"RSSMRA10E05G451W", hyphens = L"RSS-MRA-10E05-G451W", spaces = L"RSS MRA 10E05 G451W";
    testsupport::ExpectSeparators(Italian(), QRNP_OPR_IT_SEPARATOR, {
        {0, kValid, compact},   {0, kHyphens, hyphens}, {0, kSpaces, spaces},
        {2, kValid, compact},   {2, kHyphens, hyphens}, {2, kSpaces, spaces},
        {1, kValid, compact},   {1, kHyphens, compact}, {1, kSpaces, compact},
        {8, kValid, hyphens},   {8, kHyphens, hyphens}, {8, kSpaces, hyphens},
        {16, kValid, spaces},   {16, kHyphens, spaces}, {16, kSpaces, spaces},
    });
}

// The parts option: 0 masks the date and region (flags 6), bit 1 the names
// alone; only bits 1, 2 and 4 are read.
TEST(ItalyDriverTest, PartsToMask) {
    struct Case {
        uint32_t iParts;
        const wchar_t* pSource;
        const wchar_t* pMasked;
    };
    const Case cases[] = {
        {0, L"RSSMRA85T10A562S", L"RSSMRA10E05G451W"},
        {0, L"BNCLRA70M52H501Y", L"BNCLRA73L68I275P"},
        {1, L"RSSMRA85T10A562S", L"HDMCCE85T10A562J"},
        {0x81, L"RSSMRA85T10A562S", L"HDMCCE85T10A562J"},
        {7, L"RSSMRA85T10A562S", L"HDMCCE10E05G451N"},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(Italian(QRNP_PROC_VALIDATE_FULLY, {{QRNP_OPR_IT_FLAGS, c.iParts}}), {c.pSource});
        EXPECT_EQ(result.rows[0].output, c.pMasked) << c.iParts;
    }
    // The fully omocodic value keeps replacement letters in all seven places.
    const std::wstring omocodic = *RunRows(Italian(), {L"RSSMRAURTMLAQSNJ"}).rows[0].output;
    for (int i : {6, 7, 9, 10, 12, 13, 14}) EXPECT_TRUE(omocodic[i] >= L'L' && omocodic[i] <= L'V') << i;
    EXPECT_EQ(omocodic[15], CheckOf(omocodic));
}

}  // namespace
