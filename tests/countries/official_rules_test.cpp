// The official rule set (operand 0x1920 = 1): what it adds, and that values
// the provider's own rules accept mask exactly as without it, but for the
// Corsican key it corrects.
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using Operands = std::vector<std::pair<uint16_t, uint32_t>>;

hostkit::InstanceOptions Official(const wchar_t* pCountry, Operands operands = {}) {
    hostkit::InstanceOptions options;
    options.countrySwitch = pCountry;
    options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
    options.operands = std::move(operands);
    options.operands.emplace_back(QRNP_OPR_OFFICIAL_RULES, 1);
    return options;
}

TEST(OfficialRules, WhatTheRuleSetAdds) {
    struct Case {
        const wchar_t* pCountry;
        Operands operands;
        const wchar_t* pValue;
        const wchar_t* pMasked;
    };
    const Case cases[] = {
        // Born abroad: the country of birth moves as the commune would; 99 stays.
        {L"FR", {}, L"295109912611193", L"293039912546546"},
        {L"FR", {{QRNP_OPR_FR_PARTS, 1}}, L"295109912611193", L"295109912646530"},  // the country kept
        {L"FR", {}, L"2 95 10 99 126 111 93", L"2 93 03 99 125 465 46"},             // the printed form kept
        {L"FR", {}, L"253072B07300470", L"251122B07443974"},                         // Corsica keyed 18
        {L"ES", {}, L"Y1714803Y", L"Y2948360G"},
        {L"ES", {}, L"z6067228v", L"Z9341790T"},
        {L"ES", {}, L"54362315-K", L"66607983-Y"},
        {L"UK", {{QRNP_OPR_UK_DATA, 1}}, L"TJ012345D", L"OZ541835D"},             // round the official prefixes
        {L"US", {}, L"773-12-3456", L"773-14-4028"},                               // issued since 2011
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(hostkit::ToUtf8(c.pValue));
        const auto result = testsupport::RunRows(Official(c.pCountry, c.operands), {std::wstring(c.pValue)});
        ASSERT_EQ(result.rows[0].iStatus, 0);
        EXPECT_EQ(result.rows[0].output, std::wstring(c.pMasked));
    }
    // Full validation under the official rules: what they refuse, and
    // values the provider's own rules do not know that they accept.
    struct Verdict {
        const wchar_t* pCountry;
        const wchar_t* pValue;
        uint32_t iStatus;
    };
    const Verdict verdicts[] = {
        {L"ES", L"1234567L", QRNP_MSG_INVALID_LENGTH},            // seven-digit NIFs do not exist
        {L"FR", L"185059700112377", QRNP_MSG_FR_INVALID_COMMUNE},  // 970 is no department
        {L"FR", L"185059799912313", QRNP_MSG_FR_INVALID_COMMUNE},  // nor is 979
        {L"FR", L"185059710012317", QRNP_MSG_FR_INVALID_COMMUNE},  // no commune 00 in 971
        {L"FR", L"185050100012380", QRNP_MSG_FR_INVALID_COMMUNE},  // nor 000 anywhere
        {L"FR", L"185059780112336", 0},                            // 978 Saint-Martin, commune 01
        {L"FR", L"185059759912382", 0},                            // 975 Saint-Pierre-et-Miquelon, 99
        {L"FR", L"185050199912383", 0},                            // any commune code of a department
    };
    for (const Verdict& v : verdicts)
        EXPECT_EQ(testsupport::RunRows(Official(v.pCountry), {std::wstring(v.pValue)}).rows[0].iStatus, v.iStatus)
            << hostkit::ToUtf8(v.pValue);
}

TEST(OfficialRules, ValuesBothRuleSetsAcceptMaskTheSame) {
    constexpr size_t kRows = 20000;
    for (const wchar_t* pCountry : {L"FR", L"IT", L"UK", L"ES", L"US", L"CA"}) {
        SCOPED_TRACE(hostkit::ToUtf8(pCountry));
        hostkit::InstanceOptions plain;
        plain.countrySwitch = pCountry;
        const auto generated =
            testsupport::RunRows(plain, std::vector<std::optional<std::wstring>>(kRows), QRNP_METHOD_RANDOM);
        std::vector<std::optional<std::wstring>> values;
        for (const auto& row : generated.rows) values.push_back(row.output);
        const auto usual = testsupport::RunRows(plain, values);
        const auto official = testsupport::RunRows(Official(pCountry), values);
        size_t iBoth = 0;
        for (size_t i = 0; i < kRows; ++i) {
            // (Corsican keys of the provider's rule, seven-digit NIFs and Italian
            // days 00 and 40 are not official values.)
            if (official.rows[i].iStatus != 0 || usual.rows[i].iStatus != 0) continue;
            ++iBoth;
            ASSERT_EQ(official.rows[i].output, usual.rows[i].output) << hostkit::ToUtf8(*values[i]);
        }
        EXPECT_GT(iBoth, kRows / 20);
    }
}

}  // namespace
