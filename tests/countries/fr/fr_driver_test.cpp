// France end to end through the entry points: layouts, checks, options.
// (What every country shares is tested with a made-up country in
// tests/countries/row_driver_test.cpp.)
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::RunRows;
using testsupport::TokenText;

const std::wstring kValid = L"185057800608491";  // key 91 = 97 - (1850578006084 mod 97)

InstanceOptions French(uint16_t sProcFlags = 0, std::vector<std::pair<uint16_t, uint32_t>> operands = {}) {
    InstanceOptions options;
    options.sProcFlags = sProcFlags;
    options.operands = std::move(operands);
    return options;
}

TEST(FranceDriverTest, LayoutsAndFieldChecks) {
    testsupport::ExpectRows(French(), {
        {L"185057800608491", 0, 0},
        {L"1850578006084-91", 0, 0},
        {L"1850578006084 91", 0, 0},
        {L"1850578006084/91", 0, QRNP_MSG_INVALID_SEPARATOR},
        {L"18505780060849", 0, QRNP_MSG_INVALID_LENGTH},
        {L"18505780060849100", 0, QRNP_MSG_INVALID_LENGTH},
        {L"18505780060849X", 0, QRNP_MSG_INVALID_SOURCE_DATA},
        {L"185057X00608491", 0, QRNP_MSG_FR_INVALID_DEPT},     // position 6 is left to the department check
        {L"385057800608491", 0, QRNP_MSG_FR_INVALID_SEX},
        {L"185052000608491", 0, QRNP_MSG_FR_INVALID_DEPT},     // department 20
        {L"185059600608491", 0, QRNP_MSG_FR_INVALID_DEPT},
        {L"185059800608491", 0, QRNP_MSG_FR_INVALID_DEPT},
        {L"185052A00608491", 0, 0},
        {L"185052B00608491", 0, 0},
        // Lower case passes the checks, but the algorithm reads only capitals:
        // the conversion of "2a" fails as a masking failure.
        {L"185052a00608491", 0, QRNP_CNV_NOT_A_NUMBER},
        {L"185052b00608491", 0, QRNP_CNV_NOT_A_NUMBER},
        {L"185137800608491", 0, QRNP_MSG_FR_INVALID_MONTH},
        {L"185007800608491", 0, QRNP_MSG_FR_INVALID_MONTH},
        {L"185057800608492", 0, 0},        // wrong key: only a full validation sees it
        {L"185057800608492", 1, QRNP_MSG_FR_INVALID_KEY},
        {L"185057800608491", 1, 0},
        {L"185057899908491", 0, 0},        // unknown commune 999 in department 78
        {L"185057899908491", 1, QRNP_MSG_FR_INVALID_COMMUNE},
    });
}

TEST(FranceDriverTest, MessagesCarryTheirTokens) {
    testsupport::ExpectMessages(French(), {
        {L"18505780060849", 0, QRNP_MSG_INVALID_LENGTH,
         {{QRNP_TOKID_SRCDATA, L"18505780060849"}, {QRNP_TOKID_SRCLEN, L"14"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {L"1850578006084/91", 0, QRNP_MSG_INVALID_SEPARATOR, {{QRNP_TOKID_SRCDATA, L"1850578006084/91"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {L"385057800608491", 0, QRNP_MSG_FR_INVALID_SEX, {{QRNP_TOKID_SRCDATA, L"385057800608491"}}},
    });
}

TEST(FranceDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    // The pass-through set: lengths, separators, characters and every field check.
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        French(QRNP_PROC_VALIDATE_FULLY),
        {L"18505780060849", L"1850578006084/91", L"18505780060849X", L"385057800608491", L"185059600608491",
         L"185137800608491", L"185057899908491", L"185057800608492"});

    // A masking failure is not invalid data: lower-case Corsica passes the
    // checks but the algorithm reads only capitals, so the row is rejected.
    const auto failed = RunRows(French(QRNP_PROC_PASS_INVALID), {L"185052a00608491"});
    EXPECT_TRUE(failed.rows[0].bRejected);
    ASSERT_EQ(failed.messages.size(), 1u);
    EXPECT_EQ(TokenText(failed.messages[0], QRNP_TOKID_COUNTRY), L"France");
}

// The parts option: 0 masks sex, year, month and commune (flags 46); the
// department bit brings the commune along (15 gives flags 62).
TEST(FranceDriverTest, PartsToMask) {
    const std::pair<uint32_t, const wchar_t*> cases[] = {{0, L"283027800792395"}, {15, L"283028700792346"}};
    for (const auto& [iParts, pExpected] : cases)
        EXPECT_EQ(RunRows(French(0, {{QRNP_OPR_FR_PARTS, iParts}}), {kValid}).rows[0].output, pExpected) << iParts;
}

TEST(FranceDriverTest, SeparatorOptions) {
    testsupport::ExpectSeparators(French(), QRNP_OPR_FR_SEPARATOR, {
        {0, L"1850578006084-91", L"2830278007923-95"}, {2, L"1850578006084 91", L"2830278007923 95"},
        {2, L"185057800608491", L"283027800792395"},   {1, L"1850578006084-91", L"283027800792395"},
        {8, L"185057800608491", L"2830278007923-95"},  {16, L"1850578006084-91", L"2830278007923 95"},
    });
}

TEST(FranceDriverTest, InvalidOptionsFailInit) {
    testsupport::ExpectInits(French(), {
        {{{QRNP_OPR_FR_SEPARATOR, 3}}, VARCHAR, {QRNP_MSG_INVALID_SEPARATOR_OPTION, QRNP_MSG_FR_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {{{QRNP_OPR_FR_PARTS, 32}}, VARCHAR, {QRNP_MSG_INVALID_PARTS_OPTION, QRNP_MSG_FR_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED}},
        {{}, INTEGER, {QRNP_MSG_DATATYPE_NOT_SUPPORTED, QRNP_MSG_FR_INIT_FAILED, QRNP_MSG_NO_COUNTRY_INITIALISED},
         {{QRNP_TOKID_SRC_DATATYPE, L"9"}, {QRNP_TOKID_COLNAME, L"NID"}, {QRNP_TOKID_COUNTRY, L"France"}}},
    });
}

}  // namespace
