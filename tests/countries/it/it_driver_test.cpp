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
        {{{QRNP_OPR_IT_FLAGS, 8}}, VARCHAR, {4362, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 3}}, VARCHAR, {4360, 4503, 4353},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        {{{QRNP_OPR_IT_SEPARATOR, 4}}, VARCHAR, {4360, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 32}}, VARCHAR, {4360, 4503, 4353}},
        {{{QRNP_OPR_IT_SEPARATOR, 0xFFFF}}, VARCHAR, {4360, 4503, 4353}},
    });
}

TEST(ItalyDriverTest, LayoutsAndChecks) {
    testsupport::ExpectRows(Italian(), {
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
    });
}

TEST(ItalyDriverTest, MessagesCarryTheirTokens) {
    testsupport::ExpectMessages(Italian(), {
        {L"RSSMRA85T10A562", 0, 4405,
         {{QRNP_TOKID_SRCDATA, L"RSSMRA85T10A562"}, {QRNP_TOKID_SRCLEN, L"15"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        {L"RSS-MRA 85T10-A562S", 0, 4406, {{QRNP_TOKID_SRCDATA, L"RSS-MRA 85T10-A562S"}, {QRNP_TOKID_COUNTRY, L"Italy"}}},
        // Field checks carry the compact value alone.
        {L"RSS-MR4-85T10-A562S", 0, 4504, {{QRNP_TOKID_SRCDATA, L"RSSMR485T10A562S"}}},
        {L"RSSMRA85T40A562S", 0, 4509, {{QRNP_TOKID_SRCDATA, L"RSSMRA85T40A562S"}}},
        {L"RSSMRA85T10A562X", 1, 4511, {{QRNP_TOKID_SRCDATA, L"RSSMRA85T10A562X"}}},
    });
}

TEST(ItalyDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        Italian(QRNP_PROC_VALIDATE_FULLY),
        {L"RSSMR", L"RSS-MRA 85T10-A562S", L"RSSMR485T10A562S", L"RSSMRA8AT10A562S", L"RSSMRA8?T10A562S",
         L"RASMRA85T10A562S", L"RSSMRA85T40A562S", L"RSSMRA85T10A002S", L"RSSMRA85T10A562X"});
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
    for (const Case& c : cases) {
        const auto result = RunRows(Italian(0, {{QRNP_OPR_IT_SEPARATOR, c.iOption}}), {*c.pSource});
        ASSERT_EQ(result.rows[0].iStatus, 0);
        std::wstring expected = L"RSSMRA10E05G451W";
        if (c.separator != 0) {
            for (size_t iPos : {3, 7, 13}) expected.insert(iPos, 1, c.separator);
        }
        EXPECT_EQ(*result.rows[0].output, expected) << c.iOption << " " << hostkit::ToUtf8(*c.pSource);
    }
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
        GetControlCharacter(v.data());
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
