// The heap failure sweep: for every country present, a whole instance life
// (Init, a random Service, a mask Service with values long enough to grow the
// working buffer several times, Terminate) is run once to count its heap
// calls, then once per call with that call made to fail. Each run must end
// with the message that call's failure is reported with, change nothing else,
// and leave nothing allocated (but for the two heaps left on purpose: after a
// failed state-block acquire, and after a failed discard, which the test then
// discards itself).
#include <algorithm>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "support/countries.h"
#include "support/run_rows.h"

namespace {

using hostkit::CellValue;
using hostkit::Message;
using hostkit::RowResult;

struct Cycle {
    int32_t iInit = 0, iRandom = 0, iMask = 0, iTerminate = 0;
    std::vector<RowResult> randomRows, maskRows;
    std::vector<Message> messages;
    int64_t iCallsInit = 0, iCallsRandom = 0, iCallsMask = 0, iCalls = 0;
    int64_t iHeapsLeft = 0, iBlocksLeft = 0;
};

std::vector<RowResult> ServeAll(hostkit::Instance& instance, const std::vector<CellValue>& cells, uint16_t sMethod,
                                int32_t* piResult) {
    hostkit::Batch batch;
    hostkit::FillBatch(instance, cells, &batch);
    hostkit::ProtectGuards(batch, true);
    *piResult = hostkit::ServiceBatch(instance, batch, sMethod);
    EXPECT_TRUE(hostkit::GuardsIntact(batch));
    std::vector<RowResult> rows;
    for (size_t r = 0; r < cells.size(); ++r) rows.push_back(hostkit::ReadRow(instance, batch, static_cast<int>(r)));
    return rows;
}

// One instance life with heap call `iFail` made to fail (0: none).
Cycle RunCycle(uint32_t iCountry, int iFail) {
    Cycle c;
    const int64_t iHeaps = KNL_Heap_LiveHeaps(), iBlocks = KNL_Heap_LiveBlocks();
    hostkit::InstanceOptions options;
    options.countrySwitch = testsupport::SwitchLetters(iCountry);
    auto instance = hostkit::MakeInstance(testsupport::Linked(), options);
    const int64_t iCalls0 = KNL_Heap_CallCount();
    KNL_Heap_FailNthCall(iFail);
    c.iInit = hostkit::InitInstance(*instance);
    c.iCallsInit = KNL_Heap_CallCount() - iCalls0;
    if (c.iInit == 0) {
        // Random rows read no source, except to learn its form (Spain): make it long.
        c.randomRows = ServeAll(*instance, {CellValue{false, std::wstring(20, L'7')}, CellValue{true, L""}},
                                QRNP_METHOD_RANDOM, &c.iRandom);
        c.iCallsRandom = KNL_Heap_CallCount() - iCalls0 - c.iCallsInit;
        std::vector<CellValue> growing;
        for (size_t n : {8u, 30u, 70u, 150u, 310u, 630u}) growing.push_back(CellValue{false, std::wstring(n, L'1')});
        c.maskRows = ServeAll(*instance, growing, QRNP_METHOD_MASK, &c.iMask);
        c.iCallsMask = KNL_Heap_CallCount() - iCalls0 - c.iCallsInit - c.iCallsRandom;
        void* pHeap = static_cast<NidCtrlBlk*>(instance->ctrl.pProviderPrivate)->HeapToken;
        c.iTerminate = hostkit::TerminateInstance(*instance);
        if (c.iTerminate == QRNP_MSG_HEAP_DISCARD_FAILED) {
            EXPECT_EQ(KNL_Heap_Discard(pHeap), 0);
        }
    }
    c.iCalls = KNL_Heap_CallCount() - iCalls0;
    KNL_Heap_FailNthCall(0);
    c.messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    c.iHeapsLeft = KNL_Heap_LiveHeaps() - iHeaps;
    c.iBlocksLeft = KNL_Heap_LiveBlocks() - iBlocks;
    return c;
}

bool HasNoMemoryMessage(const std::vector<Message>& messages, uint32_t iRow, const wchar_t* pCountry) {
    for (const Message& m : messages)
        if (m.iMessage == QRNP_MSG_NO_MEMORY && m.iRow == iRow)
            return testsupport::TokenText(m, QRNP_TOKID_PROVIDER) == L"NID" &&
                   testsupport::TokenText(m, QRNP_TOKID_COUNTRY) == pCountry;
    return false;
}

// The rows of a Service call against the run without failures: the same,
// but for at most the one row whose working buffer could not grow (106).
int CompareRows(const std::vector<RowResult>& rows, const std::vector<RowResult>& base, const std::vector<Message>& messages,
                const wchar_t* pCountry) {
    int iFailed = 0;
    for (size_t r = 0; r < rows.size(); ++r) {
        if (rows[r].iStatus == base[r].iStatus && rows[r].bRejected == base[r].bRejected) continue;
        ++iFailed;
        EXPECT_EQ(rows[r].iStatus, QRNP_MSG_NO_MEMORY) << "row " << r + 1;
        EXPECT_TRUE(rows[r].bRejected) << "row " << r + 1;
        EXPECT_TRUE(HasNoMemoryMessage(messages, static_cast<uint32_t>(r + 1), pCountry)) << "row " << r + 1;
    }
    return iFailed;
}

TEST(HeapFailureSweep, EveryHeapCallOfAnInstanceLifeMayFail) {
    for (uint32_t iCountry : testsupport::CountriesPresent()) {
        const CountryEntry* pCountry = FindCountry(iCountry);
        const std::string name = hostkit::ToUtf8(pCountry->pName);
        SCOPED_TRACE(name);
        const Cycle base = RunCycle(iCountry, 0);
        ASSERT_EQ(base.iInit, 0);
        ASSERT_EQ(base.iHeapsLeft, 0);
        ASSERT_EQ(base.iBlocksLeft, 0);
        ASSERT_GE(base.iCallsMask, 3) << "the mask rows are meant to grow the working buffer";

        for (int iFail = 1; iFail <= base.iCalls + 1; ++iFail) {
            SCOPED_TRACE("heap call " + std::to_string(iFail) + " of " + std::to_string(base.iCalls));
            const Cycle c = RunCycle(iCountry, iFail);
            const bool bLeftOnPurpose = c.iInit == QRNP_MSG_BLOCK_ACQUIRE_FAILED;
            EXPECT_EQ(c.iHeapsLeft, bLeftOnPurpose ? 1 : 0);
            EXPECT_EQ(c.iBlocksLeft, 0);
            if (iFail == 1) {
                EXPECT_EQ(c.iInit, QRNP_MSG_HEAP_CREATE_FAILED);
                ASSERT_EQ(c.messages.size(), 1u);
                EXPECT_EQ(c.messages[0].iMessage, static_cast<uint32_t>(QRNP_MSG_HEAP_CREATE_FAILED));
            } else if (iFail == 2) {
                EXPECT_EQ(c.iInit, QRNP_MSG_BLOCK_ACQUIRE_FAILED);
                EXPECT_TRUE(c.messages.empty());
            } else if (iFail <= base.iCallsInit) {
                // The working buffer of the country's set-up.
                EXPECT_EQ(c.iInit, QRNP_MSG_NO_COUNTRY_INITIALISED);
                ASSERT_EQ(c.messages.size(), 3u);
                EXPECT_TRUE(HasNoMemoryMessage(c.messages, 0, pCountry->pName));
                EXPECT_EQ(c.messages[1].iMessage, pCountry->iInitFailedMsg);
                EXPECT_EQ(c.messages[2].iMessage, static_cast<uint32_t>(QRNP_MSG_NO_COUNTRY_INITIALISED));
            } else if (iFail <= base.iCalls - 1) {
                // A working buffer that could not grow: that row alone fails, with 106.
                EXPECT_EQ(c.iInit, 0);
                const int iFailed = CompareRows(c.randomRows, base.randomRows, c.messages, pCountry->pName) +
                                    CompareRows(c.maskRows, base.maskRows, c.messages, pCountry->pName);
                EXPECT_EQ(iFailed, 1);
                EXPECT_EQ(c.iTerminate, QRNP_WARNING);
            } else if (iFail == base.iCalls) {
                EXPECT_EQ(c.iTerminate, QRNP_MSG_HEAP_DISCARD_FAILED);
                EXPECT_EQ(c.messages.size(), base.messages.size());
            } else {
                EXPECT_EQ(c.iTerminate, base.iTerminate);
                EXPECT_EQ(c.messages.size(), base.messages.size());
            }
        }
        std::cout << "[ sweep    ] " << name << ": " << base.iCalls << " heap calls (Init " << base.iCallsInit
                  << ", random " << base.iCallsRandom << ", mask " << base.iCallsMask << ", Terminate 1), each made to fail\n";
        ::testing::Test::RecordProperty(name + "_heap_calls", static_cast<int>(base.iCalls));
    }
}

}  // namespace
