// France end to end through the entry points: layouts, checks, exits, options.
// France is also where the common row driver's behaviour is pinned: empty
// and blank values, pass-through mechanics, every character type in place or
// not, and the working buffer.
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
        {L"  185057800608491  ", 0, 0},
        {L"1850578006084-91", 0, 0},
        {L"1850578006084 91", 0, 0},
        {L"1850578006084/91", 0, 4406},
        {L"18505780060849", 0, 4405},
        {L"18505780060849100", 0, 4405},
        {L"18505780060849X", 0, 4407},
        {L"185057X00608491", 0, 4455},     // position 6 is left to the department check
        {L"385057800608491", 0, 4454},
        {L"185052000608491", 0, 4455},     // department 20
        {L"185059600608491", 0, 4455},
        {L"185059800608491", 0, 4455},
        {L"185052A00608491", 0, 0},
        {L"185052B00608491", 0, 0},
        // Lower case passes the checks, but the algorithm reads only capitals:
        // the conversion of "2a" fails as a masking failure.
        {L"185052a00608491", 0, QRNP_CNV_NOT_A_NUMBER},
        {L"185052b00608491", 0, QRNP_CNV_NOT_A_NUMBER},
        {L"185137800608491", 0, 4456},
        {L"185007800608491", 0, 4456},
        {L"185057800608492", 0, 0},        // wrong key: only a full validation sees it
        {L"185057800608492", 1, 4458},
        {L"185057800608491", 1, 0},
        {L"185057899908491", 0, 0},        // unknown commune 999 in department 78
        {L"185057899908491", 1, 4457},
    });
}

TEST(FranceDriverTest, MessagesCarryTheirTokens) {
    testsupport::ExpectMessages(French(), {
        {L"18505780060849", 0, 4405,
         {{QRNP_TOKID_SRCDATA, L"18505780060849"}, {QRNP_TOKID_SRCLEN, L"14"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {L"1850578006084/91", 0, 4406, {{QRNP_TOKID_SRCDATA, L"1850578006084/91"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {L"385057800608491", 0, 4454, {{QRNP_TOKID_SRCDATA, L"385057800608491"}}},
    });
}

TEST(FranceDriverTest, InvalidDataPassesThroughOnlyWhenAsked) {
    // The pass-through set: lengths, separators, characters and every field check.
    testsupport::ExpectPassedThroughOnlyWhenAsked(
        French(QRNP_PROC_VALIDATE_FULLY),
        {L"18505780060849", L"1850578006084/91", L"18505780060849X", L"385057800608491", L"185059600608491",
         L"185137800608491", L"185057899908491", L"185057800608492"});

    // The common mechanics: in place or not, the untouched destination (the
    // exits are the provider tests').
    for (bool bSeparate : {true, false}) {
        InstanceOptions options = French(QRNP_PROC_PASS_INVALID);
        options.bSeparateDestination = bSeparate;
        const auto passed = RunRows(options, {L"385057800608491"});
        EXPECT_EQ(passed.rows[0].iStatus, 4454);
        EXPECT_EQ(passed.rows[0].output, L"385057800608491");
        EXPECT_EQ(passed.iService, -2);

        options.sProcFlags = 0;
        const auto rejected = RunRows(options, {L"385057800608491"});
        EXPECT_TRUE(rejected.rows[0].bRejected);
        if (bSeparate) {
            EXPECT_EQ(rejected.rows[0].output, L"") << "the destination is left as it was";
        }
    }
    // A masking failure is not invalid data: lower-case Corsica passes the
    // checks but the algorithm reads only capitals, so the row is rejected.
    const auto failed = RunRows(French(QRNP_PROC_PASS_INVALID), {L"185052a00608491"});
    EXPECT_TRUE(failed.rows[0].bRejected);
    ASSERT_EQ(failed.messages.size(), 1u);
    EXPECT_EQ(TokenText(failed.messages[0], QRNP_TOKID_COUNTRY), L"France");
}

TEST(FranceDriverTest, EmptyAndBlankValuesPassThrough) {
    const auto result = RunRows(French(), {L"", L"     "});
    EXPECT_EQ(result.rows[0].iStatus, 74);
    EXPECT_EQ(result.rows[1].iStatus, 4403);
    EXPECT_EQ(result.rows[1].output, L"     ");
    EXPECT_FALSE(result.rows[0].bRejected);
    EXPECT_FALSE(result.rows[1].bRejected);
    EXPECT_EQ(result.iService, -2) << "a non-zero cell status counts the row as failed";
}

TEST(FranceDriverTest, EveryCharacterTypeInPlaceOrNot) {
    for (int16_t sType : {CHAR, VARCHAR, VARCHAR_SZ, WCHAR, WVARCHAR, WVARCHAR_SZ}) {
        for (bool bSeparate : {true, false}) {
            InstanceOptions options = French();
            options.sDataType = sType;
            options.iLength = 20;
            options.bSeparateDestination = bSeparate;
            const auto result = RunRows(options, {kValid});
            ASSERT_EQ(result.rows[0].iStatus, 0) << "type " << sType;
            EXPECT_TRUE(result.bGuardsIntact);
            std::wstring expected = L"283027800792395";
            if (sType == CHAR || sType == WCHAR) expected.resize(20, L' ');  // fixed width keeps its padding
            EXPECT_EQ(result.rows[0].output, expected) << "type " << sType << " separate " << bSeparate;
        }
    }
}

// The parts option: 0 masks sex, year, month and commune (flags 46); the
// department bit brings the commune along (15 gives flags 62).
TEST(FranceDriverTest, PartsToMask) {
    const std::pair<uint32_t, const wchar_t*> cases[] = {{0, L"283027800792395"}, {15, L"283028700792346"}};
    for (const auto& [iParts, pExpected] : cases)
        EXPECT_EQ(RunRows(French(0, {{QRNP_OPR_FR_PARTS, iParts}}), {kValid}).rows[0].output, pExpected) << iParts;
}

TEST(FranceDriverTest, SeparatorOptions) {
    struct Case {
        uint32_t iOption;
        const wchar_t* pSource;
        wchar_t expectedAt13;  // 0: compact output
    };
    const Case cases[] = {
        {0, L"1850578006084-91", L'-'}, {2, L"1850578006084 91", L' '}, {2, L"185057800608491", 0},
        {1, L"1850578006084-91", 0},    {8, L"185057800608491", L'-'},  {16, L"1850578006084-91", L' '},
    };
    for (const Case& c : cases) {
        const auto result = RunRows(French(0, {{QRNP_OPR_FR_SEPARATOR, c.iOption}}), {std::wstring(c.pSource)});
        ASSERT_EQ(result.rows[0].iStatus, 0);
        std::wstring expected = L"283027800792395";
        if (c.expectedAt13 != 0) expected.insert(13, 1, c.expectedAt13);
        EXPECT_EQ(result.rows[0].output, expected) << c.iOption;
    }
}

TEST(FranceDriverTest, InvalidOptionsFailInit) {
    testsupport::ExpectInits(French(), {
        {{{QRNP_OPR_FR_SEPARATOR, 3}}, VARCHAR, {4360, 4453, 4353},
         {{QRNP_TOKID_SEP, L"3"}, {QRNP_TOKID_COUNTRY, L"France"}}},
        {{{QRNP_OPR_FR_SEPARATOR, 0xFFFF}}, VARCHAR, {4360, 4453, 4353}},
        {{{QRNP_OPR_FR_PARTS, 32}}, VARCHAR, {4362, 4453, 4353}},
        {{}, INTEGER, {4354, 4453, 4353},
         {{QRNP_TOKID_SRC_DATATYPE, L"9"}, {QRNP_TOKID_COLNAME, L"NID"}, {QRNP_TOKID_COUNTRY, L"France"}}},
    });
}

TEST(FranceDriverTest, WorkingBufferGrowsAndNeverShrinks) {
    auto instance = hostkit::MakeInstance(testsupport::Linked(), French());
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    auto* pNid = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate);
    EXPECT_EQ(pNid->blockD.iWorkBufSize, 84u);
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, {{false, std::wstring(500, L'1')}, {false, kValid}}, &batch);
    hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK);
    EXPECT_EQ(pNid->blockD.iWorkBufSize, 501u * 4);
    EXPECT_EQ(pNid->HeapMaxAlloc, 501u * 4);
    EXPECT_EQ(hostkit::ReadRow(*instance, batch, 0).iStatus, 4405);
    EXPECT_EQ(hostkit::ReadRow(*instance, batch, 1).iStatus, 0);
    hostkit::Batch small;
    hostkit::FillBatch(*instance, {{false, kValid}}, &small);
    hostkit::ServiceBatch(*instance, small, QRNP_METHOD_MASK);
    EXPECT_EQ(pNid->blockD.iWorkBufSize, 501u * 4);

    // A working buffer that cannot grow rejects the row with 106.
    hostkit::ResetErrors(*instance);
    hostkit::FillBatch(*instance, {{false, std::wstring(900, L'1')}}, &batch);
    KNL_Heap_FailNthCall(1);
    hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK);
    KNL_Heap_FailNthCall(0);
    const auto row = hostkit::ReadRow(*instance, batch, 0);
    EXPECT_EQ(row.iStatus, 106);
    EXPECT_TRUE(row.bRejected);
    const auto messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(TokenText(messages[0], QRNP_TOKID_PROVIDER), L"NID");
    hostkit::TerminateInstance(*instance);
}

// Generated numbers are well formed, mask with every row served, and the
// masked numbers pass the full validation again.
TEST(FranceDriverTest, GeneratedNumbersMaskAndRevalidate) {
    constexpr int kRows = 100000;
    auto instance = hostkit::MakeInstance(testsupport::Linked(), French(QRNP_PROC_VALIDATE_FULLY));
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, std::vector<hostkit::CellValue>(kRows, {true, L""}), &batch);
    ASSERT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_RANDOM), 0);
    std::vector<hostkit::CellValue> generated;
    for (int i = 0; i < kRows; ++i) generated.push_back({false, *hostkit::ReadRow(*instance, batch, i).output});

    for (int pass = 0; pass < 2; ++pass) {
        hostkit::FillBatch(*instance, generated, &batch);
        ASSERT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), 0) << "pass " << pass;
        for (int i = 0; i < kRows; ++i) generated[static_cast<size_t>(i)].text = *hostkit::ReadRow(*instance, batch, i).output;
    }
    EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
}

}  // namespace
