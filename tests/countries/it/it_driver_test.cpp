// Italy end to end through the entry points: options, layouts, checks, exits.
#include <gtest/gtest.h>

#include "countries/it/QRNPNidItFlags.h"
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

std::vector<uint32_t> Captured(const std::vector<hostkit::Message>& messages) {
    std::vector<uint32_t> numbers;
    for (const auto& m : messages) numbers.push_back(m.iMessage);
    return numbers;
}

// The check character of a compact or separated value is its last character;
// this recomputes it from the published rule for comparison.
wchar_t CheckOf(std::wstring v) {
    std::erase_if(v, [](wchar_t c) { return c == L'-' || c == L' '; });
    static const int kOdd[26] = {1, 0, 5, 7, 9, 13, 15, 17, 19, 21, 2, 4, 18, 20, 11, 3, 6, 8, 12, 14, 16, 10, 22, 25, 24, 23};
    int iSum = 0;
    for (size_t i = 0; i < 15; ++i) {
        const int v2 = (v[i] >= L'0' && v[i] <= L'9') ? v[i] - L'0' : v[i] - L'A';
        iSum += (i % 2 == 0) ? kOdd[v2] : v2;
    }
    return static_cast<wchar_t>(L'A' + iSum % 26);
}

TEST(ItalyDriverTest, InitDecodesTheOptions) {
    struct Case {
        std::vector<std::pair<uint16_t, uint32_t>> operands;
        int32_t iInit;
        uint64_t lOptionFlags;
        uint16_t sSeparatorSlot;
        std::vector<uint32_t> captured;
    };
    const Case cases[] = {
        {{}, 0, 6, 2, {}},
        {{{QRNP_OPR_IT_FLAGS, 7}}, 0, 7, 2, {}},
        {{{QRNP_OPR_IT_FLAGS, 0x81}}, 0, 1, 2, {}},   // only bits 1, 2 and 4 are taken
        {{{QRNP_OPR_IT_FLAGS, 8}}, 4353, 0, 0, {4362, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 1}}, 0, 6 | IT_FLAG_COMPACT, 1, {}},
        {{{QRNP_OPR_IT_SEPARATOR, 2}}, 0, 6, 2, {}},
        {{{QRNP_OPR_IT_SEPARATOR, 8}}, 0, 6 | IT_FLAG_HYPHENS, 8, {}},
        {{{QRNP_OPR_IT_SEPARATOR, 16}}, 0, 6 | IT_FLAG_SPACES, 16, {}},
        {{{QRNP_OPR_IT_SEPARATOR, 3}}, 4353, 0, 0, {4360, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 4}}, 4353, 0, 0, {4360, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 32}}, 4353, 0, 0, {4360, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 0xFFFF}}, 4353, 0, 0, {4360, 4503, 4353}},
    };
    for (const Case& c : cases) {
        auto instance = hostkit::MakeInstance(testsupport::Linked(), Italian(0, c.operands));
        const int32_t iInit = hostkit::InitInstance(*instance);
        EXPECT_EQ(iInit, c.iInit);
        EXPECT_EQ(Captured(hostkit::ReadErrors(instance->ctrl.pEAB)), c.captured);
        if (iInit != 0) continue;
        const auto* pNid = static_cast<const NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
        EXPECT_EQ(pNid->iCountryMask, static_cast<uint32_t>(QRNP_COUNTRY_IT));
        EXPECT_EQ(pNid->blockB.lOptionFlags, c.lOptionFlags);
        EXPECT_EQ(pNid->blockB.sSlot[2], c.sSeparatorSlot);
        EXPECT_EQ(pNid->blockB.iWorkBufSize, 96u);
        EXPECT_NE(pNid->blockB.pWorkBuf, nullptr);
        EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
    }

    const auto result = RunRows(Italian(0, {{QRNP_OPR_IT_SEPARATOR, 3}}), {kValid});
    ASSERT_FALSE(result.messages.empty());
    EXPECT_EQ(testsupport::TokenText(result.messages[0], QRNP_TOKID_SEP), L"3");
    EXPECT_EQ(testsupport::TokenText(result.messages[0], QRNP_TOKID_COUNTRY), L"Italy");
}

TEST(ItalyDriverTest, LayoutsAndChecks) {
    struct Case {
        const wchar_t* pValue;
        uint16_t sFlags;
        int32_t iStatus;
    };
    const Case cases[] = {
        {L"RSSMRA85T10A562S", 0, 0},
        {L"  RSSMRA85T10A562S ", 0, 0},
        {L"RSS-MRA-85T10-A562S", 0, 0},
        {L"RSS MRA 85T10 A562S", 0, 0},
        {L"RSSMRA85T10A562", 0, 4405},
        {L"RSSMRA85T10A562SX", 0, 4405},
        {L"RSS-MRA 85T10-A562S", 0, 4406},      // mixed separators
        {L"RSS/MRA/85T10/A562S", 0, 4406},
        {L"RSSM-RA85T1-0A562S", 0, 4405},       // 18 characters
        {L"RSSMR-A85T-10A-562S", 0, 4406},      // separators in the wrong places
        // Character checks, in their order.
        {L"RSSMR485T10A562S", 0, 4504},
        {L"RSSMRA8?T10A562S", 0, 4506},
        {L"RSSMRA8AT10A562S", 0, 4505},
        {L"RSSMRA85T1lA562S", 0, 4505},         // lower case is a letter, but no replacement letter
        {L"R1SMRA8AT10A562S", 0, 4504},
        {L"RSSMRA8?T10A5A2S", 0, 4506},         // the first failing position decides
        {L"RSSMRA8AT10A5?2S", 0, 4505},
        // Positions 8 and 11: one letter of the two is enough for this check.
        {L"RSSMRA85110A562S", 0, 4509},         // left to the month check
        {L"RSSMRA85T101562S", 0, 4510},         // left to the region check
        {L"RSSMRA851101562S", 0, 4506},
        // Field checks.
        {L"RASMRA85T10A562S", 0, 4507},
        {L"RSSMRA85T40A562S", 0, 4509},
        {L"RSSMRA85T10A002S", 0, 4510},
        {L"rssmra85t10a562s", 0, 4509},         // lower case fails at the month
        // Omocodic values: replacement letters anywhere in the digit fields.
        {L"RSSMRA85T10A56NH", 1, 0},
        {L"RSSMRAURTMLAQSNJ", 1, 0},
        {L"RSSMRA8RT10A562S", 0, 0},            // not from the right: still accepted
        // The check character is looked at only under a full validation.
        {L"RSSMRA85T10A562X", 0, 0},
        {L"RSSMRA85T10A562X", 1, 4511},
        {L"RSSMRA85T10A562s", 1, 4511},
        {L"RSS-MRA-85T10-A562S", 1, 0},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(Italian(c.sFlags), {std::wstring(c.pValue)});
        ASSERT_EQ(result.iInit, 0);
        EXPECT_EQ(result.rows[0].iStatus, c.iStatus) << hostkit::ToUtf8(c.pValue);
        EXPECT_EQ(result.rows[0].bRejected, c.iStatus != 0) << hostkit::ToUtf8(c.pValue);
        EXPECT_EQ(result.iService, c.iStatus != 0 ? -2 : 0);
        EXPECT_EQ(result.messages.size(), c.iStatus != 0 ? 1u : 0u) << hostkit::ToUtf8(c.pValue);
    }
}

TEST(ItalyDriverTest, MessagesCarryTheirTokens) {
    struct Case {
        const wchar_t* pValue;
        uint16_t sFlags;
        uint32_t iMessage;
        uint16_t sTokens;
        const wchar_t* pTokenValue;
    };
    const Case cases[] = {
        {L"RSSMRA85T10A562", 0, 4405, 3, L"RSSMRA85T10A562"},
        {L"RSS-MRA 85T10-A562S", 0, 4406, 2, L"RSS-MRA 85T10-A562S"},
        // Field checks carry the compact value alone.
        {L"RSS-MR4-85T10-A562S", 0, 4504, 1, L"RSSMR485T10A562S"},
        {L"RSSMRA85T40A562S", 0, 4509, 1, L"RSSMRA85T40A562S"},
        {L"RSSMRA85T10A562X", 1, 4511, 1, L"RSSMRA85T10A562X"},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(Italian(c.sFlags), {std::wstring(c.pValue)});
        ASSERT_EQ(result.messages.size(), 1u);
        const hostkit::Message& m = result.messages[0];
        EXPECT_EQ(m.iMessage, c.iMessage);
        EXPECT_EQ(m.iRow, 1u);
        EXPECT_EQ(m.sDeclaredTokens, c.sTokens);
        EXPECT_EQ(testsupport::TokenText(m, QRNP_TOKID_SRCDATA), c.pTokenValue);
        if (c.sTokens > 1) {
            EXPECT_EQ(testsupport::TokenText(m, QRNP_TOKID_COUNTRY), L"Italy");
        }
    }
    const auto length = RunRows(Italian(), {L"RSSMRA85T10A562"});
    EXPECT_EQ(testsupport::TokenText(length.messages[0], QRNP_TOKID_SRCLEN), L"15");
}

TEST(ItalyDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    for (const wchar_t* pValue : {L"RSSMRA85T40A562S", L"RSSMRA85T10A562X", L"RSS-MRA 85T10-A562S", L"RSSMR"}) {
        for (bool bSeparate : {true, false}) {
            InstanceOptions options = Italian(QRNP_PROC_PASS_INVALID | QRNP_PROC_VALIDATE_FULLY);
            options.bSeparateDestination = bSeparate;
            const auto passed = RunRows(options, {std::wstring(pValue)});
            EXPECT_NE(passed.rows[0].iStatus, 0);
            EXPECT_FALSE(passed.rows[0].bRejected) << hostkit::ToUtf8(pValue);
            EXPECT_EQ(passed.rows[0].output, pValue);
            EXPECT_EQ(passed.iTerminate, 0);

            options.sProcFlags = QRNP_PROC_VALIDATE_FULLY;
            const auto rejected = RunRows(options, {std::wstring(pValue)});
            EXPECT_TRUE(rejected.rows[0].bRejected);
            EXPECT_EQ(rejected.iTerminate, -2);
            if (bSeparate) {
                EXPECT_EQ(rejected.rows[0].output, L"") << "the destination is left as it was";
            }
        }
    }
}

TEST(ItalyDriverTest, SeparatorStyles) {
    struct Case {
        uint32_t iOption;
        const std::wstring* pSource;
        wchar_t separator;  // 0: compact output
    };
    const Case cases[] = {
        {0, &kValid, 0},   {0, &kHyphens, L'-'},  {0, &kSpaces, L' '},
        {2, &kValid, 0},   {2, &kHyphens, L'-'},  {2, &kSpaces, L' '},
        {1, &kValid, 0},   {1, &kHyphens, 0},     {1, &kSpaces, 0},
        {8, &kValid, L'-'}, {8, &kHyphens, L'-'}, {8, &kSpaces, L'-'},
        {16, &kValid, L' '}, {16, &kHyphens, L' '}, {16, &kSpaces, L' '},
    };
    const auto reference = RunRows(Italian(), {kValid});
    ASSERT_EQ(reference.rows[0].iStatus, 0);
    const std::wstring masked = *reference.rows[0].output;
    for (const Case& c : cases) {
        const auto result = RunRows(Italian(0, {{QRNP_OPR_IT_SEPARATOR, c.iOption}}), {*c.pSource});
        ASSERT_EQ(result.rows[0].iStatus, 0);
        std::wstring expected = masked;
        if (c.separator != 0) {
            expected.insert(3, 1, c.separator);
            expected.insert(7, 1, c.separator);
            expected.insert(13, 1, c.separator);
        }
        EXPECT_EQ(*result.rows[0].output, expected) << c.iOption << " " << hostkit::ToUtf8(*c.pSource);
    }
}

TEST(ItalyDriverTest, MaskingKeepsNamesByDefaultAndIsDeterministic) {
    const std::vector<std::optional<std::wstring>> values = {kValid, L"BNCLRA70M52H501Y", L"RSSMRAURTMLAQSNJ"};
    const auto first = RunRows(Italian(QRNP_PROC_VALIDATE_FULLY), values);
    const auto second = RunRows(Italian(QRNP_PROC_VALIDATE_FULLY), values);
    ASSERT_EQ(first.iService, 0);
    for (size_t i = 0; i < values.size(); ++i) {
        const std::wstring& out = *first.rows[i].output;
        EXPECT_EQ(out, *second.rows[i].output);
        EXPECT_EQ(out.substr(0, 6), values[i]->substr(0, 6));
        EXPECT_NE(out, *values[i]);
        EXPECT_EQ(out[15], CheckOf(out));
    }
    EXPECT_EQ(*first.rows[0].output, L"RSSMRA10E05G451W");
    EXPECT_EQ(*first.rows[1].output, L"BNCLRA73L68I275P");
    // The fully omocodic value keeps replacement letters in all seven places.
    const std::wstring& omocodic = *first.rows[2].output;
    for (int i : {6, 7, 9, 10, 12, 13, 14}) EXPECT_TRUE(omocodic[i] >= L'L' && omocodic[i] <= L'V') << i;

    const auto names = RunRows(Italian(0, {{QRNP_OPR_IT_FLAGS, 1}}), {kValid});
    EXPECT_EQ(*names.rows[0].output, L"HDMCCE85T10A562J");
}

TEST(ItalyDriverTest, RandomValuesTakeTheOutputForm) {
    for (uint32_t iOption : {0u, 1u, 8u, 16u}) {
        const auto result =
            RunRows(Italian(0, {{QRNP_OPR_IT_SEPARATOR, iOption}}), std::vector<std::optional<std::wstring>>(50),
                    QRNP_METHOD_RANDOM);
        ASSERT_EQ(result.iService, 0);
        for (const auto& row : result.rows) {
            const std::wstring& out = *row.output;
            ASSERT_EQ(out.size(), iOption >= 8 ? 19u : 16u) << iOption;
            if (iOption >= 8) {
                const wchar_t sep = iOption == 8 ? L'-' : L' ';
                EXPECT_TRUE(out[3] == sep && out[7] == sep && out[13] == sep) << hostkit::ToUtf8(out);
            }
            EXPECT_EQ(out.back(), CheckOf(out));
        }
    }
}

// Generated values whose day is 01-31 or 41-71 mask with every row served,
// under a full validation, and every masked value passes the full validation
// (fields, region code and check character) again; the same holds for their
// omocodic forms.
TEST(ItalyDriverTest, GeneratedValuesMaskAndRevalidate) {
    constexpr int kRows = 100000;
    auto generator = hostkit::MakeInstance(testsupport::Linked(), Italian());
    ASSERT_EQ(hostkit::InitInstance(*generator), 0);
    hostkit::Batch batch;
    std::vector<hostkit::CellValue> generated;
    while (static_cast<int>(generated.size()) < kRows) {
        hostkit::FillBatch(*generator, std::vector<hostkit::CellValue>(kRows, {true, L""}), &batch);
        ASSERT_EQ(hostkit::ServiceBatch(*generator, batch, QRNP_METHOD_RANDOM), 0);
        for (int i = 0; i < kRows && static_cast<int>(generated.size()) < kRows; ++i) {
            const std::wstring out = *hostkit::ReadRow(*generator, batch, i).output;
            const int iDay = std::stoi(out.substr(9, 2));
            if (iDay != 0 && iDay != 40) generated.push_back({false, out});
        }
    }
    EXPECT_EQ(hostkit::TerminateInstance(*generator), 0);

    // Every tenth value made omocodic: its rightmost (i mod 8) digits as letters.
    const int kFromRight[7] = {14, 13, 12, 10, 9, 7, 6};
    for (int i = 0; i < kRows; i += 10) {
        std::wstring& v = generated[static_cast<size_t>(i)].text;
        for (int k = 0; k < (i / 10) % 8; ++k) v[kFromRight[k]] = L"LMNPQRSTUV"[v[kFromRight[k]] - L'0'];
        v[15] = CheckOf(v);
    }

    for (uint32_t iParts : {0u, 7u}) {
        auto instance = hostkit::MakeInstance(testsupport::Linked(),
                                              Italian(QRNP_PROC_VALIDATE_FULLY, {{QRNP_OPR_IT_FLAGS, iParts}}));
        ASSERT_EQ(hostkit::InitInstance(*instance), 0);
        std::vector<hostkit::CellValue> values = generated;
        for (int pass = 0; pass < 2; ++pass) {
            hostkit::FillBatch(*instance, values, &batch);
            ASSERT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), 0) << "parts " << iParts << " pass " << pass;
            for (int i = 0; i < kRows; ++i) values[static_cast<size_t>(i)].text = *hostkit::ReadRow(*instance, batch, i).output;
        }
        EXPECT_EQ(hostkit::ReadErrors(instance->ctrl.pEAB).size(), 0u);
        EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
    }
}

}  // namespace
