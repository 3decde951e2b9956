// Init and Terminate: country selection, operands, the heap's release. (A
// failure of each heap call is tests/robustness/heap_failure_sweep_test.cpp's;
// Terminate's warning after failed rows, the provider fuzz oracle's.)
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::Linked;

struct InitOutcome {
    int32_t iInit;
    std::vector<uint32_t> captured;
    NidCtrlBlk* pNid;
};

InitOutcome InitOnly(hostkit::Instance& instance) {
    InitOutcome outcome{hostkit::InitInstance(instance), {}, nullptr};
    for (const auto& m : hostkit::ReadErrors(instance.ctrl.pEAB)) outcome.captured.push_back(m.iMessage);
    outcome.pNid = static_cast<NidCtrlBlk*>(instance.ctrl.pProviderPrivate);
    return outcome;
}

TEST(InitTest, CountrySwitchUsesTheFirstTwoLettersInAnyCase) {
    struct Case {
        const wchar_t* pSwitch;
        int32_t iExpected;
        std::vector<uint32_t> captured;
    };
    const Case cases[] = {
        {L"FR", 0, {}},
        {L"fr", 0, {}},
        {L"France", 0, {}},
        {L"FRxyz", 0, {}},
        {L"GB", QRNP_MSG_UNKNOWN_COUNTRY, {QRNP_MSG_UNKNOWN_COUNTRY}},
        {L"Spain", QRNP_MSG_UNKNOWN_COUNTRY, {QRNP_MSG_UNKNOWN_COUNTRY}},
        {L"F", QRNP_MSG_UNKNOWN_COUNTRY, {QRNP_MSG_UNKNOWN_COUNTRY}},
        {L"", QRNP_MSG_UNKNOWN_COUNTRY, {QRNP_MSG_UNKNOWN_COUNTRY}},
    };
    for (const Case& c : cases) {
        InstanceOptions options;
        options.countrySwitch = c.pSwitch;
        auto instance = hostkit::MakeInstance(Linked(), options);
        const InitOutcome outcome = InitOnly(*instance);
        EXPECT_EQ(outcome.iInit, c.iExpected) << "switch " << hostkit::ToUtf8(c.pSwitch);
        EXPECT_EQ(outcome.captured, c.captured) << "switch " << hostkit::ToUtf8(c.pSwitch);
        if (c.iExpected == 0) {
            ASSERT_NE(outcome.pNid, nullptr);
            EXPECT_EQ(outcome.pNid->iCountryMask, static_cast<uint32_t>(QRNP_COUNTRY_FR));
            EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
        } else {
            EXPECT_EQ(outcome.pNid, nullptr);
        }
    }
}

TEST(InitTest, SwitchThatIsNotAWideStringInitialisesNothing) {
    InstanceOptions options;
    options.bSwitchIsWide = false;
    auto instance = hostkit::MakeInstance(Linked(), options);
    const InitOutcome outcome = InitOnly(*instance);
    EXPECT_EQ(outcome.iInit, QRNP_MSG_NO_COUNTRY_INITIALISED);
    EXPECT_EQ(outcome.captured, std::vector<uint32_t>{QRNP_MSG_NO_COUNTRY_INITIALISED});
    EXPECT_EQ(outcome.pNid, nullptr);
}

TEST(InitTest, UkFormFlagsGetTheMethodBitWhenNeitherIsGiven) {
    struct Case {
        uint16_t sMethod;
        uint32_t iFormFlags;
        uint16_t sStored;
    };
    const Case cases[] = {
        {QRNP_METHOD_RANDOM, 0, 8}, {QRNP_METHOD_RANDOM, 1, 9}, {QRNP_METHOD_RANDOM, 4, 4},
        {QRNP_METHOD_MASK, 0, 4},   {QRNP_METHOD_MASK, 2, 6},   {QRNP_METHOD_MASK, 8, 8},
    };
    for (bool bAsList : {false, true}) {
        for (const Case& c : cases) {
            InstanceOptions options;
            options.sMethod = c.sMethod;
            options.bOperandsAsList = bAsList;
            options.operands = {{QRNP_OPR_UK_FORM, c.iFormFlags}};
            auto instance = hostkit::MakeInstance(Linked(), options);
            const InitOutcome outcome = InitOnly(*instance);
            ASSERT_EQ(outcome.iInit, 0);
            EXPECT_EQ(outcome.pNid->blockC.sSlot[0], c.sStored) << "flags " << c.iFormFlags << " list " << bAsList;
            hostkit::TerminateInstance(*instance);
        }
    }
}

TEST(InitTest, OperandsLandInTheirSlotsWalkedAsArrayOrList) {
    const std::vector<std::pair<uint16_t, uint32_t>> operands = {
        {QRNP_OPR_ES_PARTS, 0x11},    {QRNP_OPR_ES_SEPARATOR, 0x12}, {QRNP_OPR_IT_FLAGS, 0x21},
        {QRNP_OPR_IT_SEPARATOR, 0x22}, {QRNP_OPR_UK_DATA, 0x31},      {QRNP_OPR_UK_SEPARATOR, 0x32},
        {QRNP_OPR_FR_PARTS, 1},        {QRNP_OPR_FR_SEPARATOR, 1},    {QRNP_OPR_US_FLAGS, 0x51},
        {QRNP_OPR_US_SLOT3, 0x52},     {QRNP_OPR_US_SEPARATOR, 0x53}, {QRNP_OPR_CA_PARTS, 0x61},
        {QRNP_OPR_CA_SEPARATOR, 0x62}, {0x1234, 0x99},                {QRNP_OPR_FR_PARTS, 0x10002},
    };
    for (bool bAsList : {false, true}) {
        InstanceOptions options;
        options.operands = operands;
        options.bOperandsAsList = bAsList;
        auto instance = hostkit::MakeInstance(Linked(), options);
        const InitOutcome outcome = InitOnly(*instance);
        ASSERT_EQ(outcome.iInit, 0);
        const NidCtrlBlk& nid = *outcome.pNid;
        EXPECT_EQ(nid.blockA.sSlot[1], 0x11);
        EXPECT_EQ(nid.blockA.sSlot[2], 0x12);
        EXPECT_EQ(nid.blockB.sSlot[1], 0x21);
        EXPECT_EQ(nid.blockB.sSlot[2], 0x22);
        EXPECT_EQ(nid.blockC.sSlot[1], 0x31);
        EXPECT_EQ(nid.blockC.sSlot[2], 0x32);
        EXPECT_EQ(nid.blockD.sSlot[1], 2) << "a key met twice keeps its last value, low 16 bits";
        EXPECT_EQ(nid.blockE.sSlot[1], 0x51);
        EXPECT_EQ(nid.blockE.sSlot[2], 0x52);
        EXPECT_EQ(nid.blockE.sSlot[3], 0x53);
        EXPECT_EQ(nid.blockF.sSlot[2], 0x61);
        EXPECT_EQ(nid.blockF.sSlot[3], 0x62);
        EXPECT_EQ(nid.HeapMinAlloc, 84u) << "the French working buffer is the smallest size seen";
        EXPECT_EQ(nid.HeapMaxAlloc, 232u);
        hostkit::TerminateInstance(*instance);
    }
}

TEST(TerminateTest, ReleasesTheHeapAndReportsADiscardFailure) {
    const int64_t iHeapsBefore = KNL_Heap_LiveHeaps();
    auto instance = hostkit::MakeInstance(Linked(), InstanceOptions{});
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    EXPECT_EQ(KNL_Heap_LiveHeaps(), iHeapsBefore + 1);
    KNL_Heap_FailNthCall(1);
    EXPECT_EQ(hostkit::TerminateInstance(*instance), QRNP_MSG_HEAP_DISCARD_FAILED);
    KNL_Heap_FailNthCall(0);
    EXPECT_EQ(hostkit::TerminateInstance(*instance), 0);
    EXPECT_EQ(KNL_Heap_LiveHeaps(), iHeapsBefore);

    auto uninitialised = hostkit::MakeInstance(Linked(), InstanceOptions{});
    EXPECT_EQ(hostkit::TerminateInstance(*uninitialised), 0);
}

}  // namespace
