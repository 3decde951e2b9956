// Service: the checks that end a call, and the row loop. (Taken rows, the
// error limit and the source column among other cells are the provider fuzz
// target's oracle, which its corpus replay runs on every country; random
// values without a source are GeneratedValues'.)
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using hostkit::InstanceOptions;
using testsupport::Linked;
using testsupport::RunRows;

const std::wstring kValid = L"185057800608491";

TEST(ServiceTest, NullSourceFailsTheRowButNotTheOthers) {
    InstanceOptions options;
    for (bool bNullPointer : {false, true}) {
        hostkit::BatchOptions batchOptions;
        batchOptions.bNullSourcePointer = bNullPointer;
        const auto result = RunRows(options, {kValid, std::nullopt, kValid}, QRNP_METHOD_MASK, batchOptions);
        ASSERT_EQ(result.iInit, 0);
        EXPECT_EQ(result.iService, -2);
        EXPECT_EQ(result.rows[0].iStatus, 0);
        EXPECT_EQ(result.rows[2].iStatus, 0);
        EXPECT_NE(result.rows[0].output, kValid);
        EXPECT_EQ(result.rows[1].iStatus, QRNP_MSG_NULL_SOURCE);
        EXPECT_TRUE(result.rows[1].bDstNull);
        EXPECT_FALSE(result.rows[1].bRejected);
        ASSERT_EQ(result.messages.size(), 1u);
        EXPECT_EQ(result.messages[0].iMessage, 4408u);
        EXPECT_EQ(result.messages[0].iRow, 2u);
    }
}

TEST(ServiceTest, MethodFromTheControlBlockAndInvalidMethods) {
    InstanceOptions options;
    options.sMethod = QRNP_METHOD_RANDOM;
    auto generated = RunRows(options, {std::nullopt}, QRNP_METHOD_CTRLBLK);
    EXPECT_EQ(generated.iService, 0);
    EXPECT_EQ(generated.rows[0].output->size(), 15u);

    const auto invalid = RunRows(InstanceOptions{}, {kValid}, 0x1409);
    EXPECT_EQ(invalid.iService, QRNP_MSG_INVALID_METHOD);
    ASSERT_EQ(invalid.messages.size(), 1u);
    EXPECT_EQ(testsupport::TokenText(invalid.messages[0], QRNP_TOKID_METHOD), L"5129");
    EXPECT_FALSE(invalid.rows[0].bTaken);

    // The control block's method is taken unchecked; the driver refuses it with 11.
    options.sMethod = 0x1409;
    const auto unchecked = RunRows(options, {kValid}, QRNP_METHOD_CTRLBLK);
    EXPECT_EQ(unchecked.iService, -2);
    EXPECT_EQ(unchecked.rows[0].iStatus, QRNP_MSG_INVALID_METHOD_CODE);
    EXPECT_TRUE(unchecked.rows[0].bRejected);
    EXPECT_TRUE(unchecked.messages.empty());
}

TEST(ServiceTest, ChecksThatEndTheCall) {
    auto instance = hostkit::MakeInstance(Linked(), InstanceOptions{});
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);

    Rowset empty{0, 0, nullptr};
    EXPECT_EQ(Service(QRNP_METHOD_MASK, &instance->ctrl, &empty), QRNP_MSG_ROWSET_EMPTY);
    auto messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_ROW_COUNT), L"0");
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_ROWS_LIST), L"NULL");

    hostkit::Batch batch;
    hostkit::FillBatch(*instance, {{false, kValid}}, &batch);
    batch.rowset.iRowCount = -1;
    hostkit::ResetErrors(*instance);
    EXPECT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), QRNP_MSG_ROWSET_EMPTY);
    messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_ROW_COUNT), L"-1");
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_ROWS_LIST), L"NOT NULL");

    batch.rowset.iRowCount = 1;
    instance->ctrl.sSrcColIndex = 1;
    hostkit::ResetErrors(*instance);
    EXPECT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), QRNP_MSG_SRC_COLUMN_INDEX);
    messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_COLINDEX), L"1");
    EXPECT_EQ(testsupport::TokenText(messages[0], QRNP_TOKID_ROWDEFINE_COUNT), L"1");

    instance->ctrl.sSrcColIndex = 0;
    void* pNid = instance->ctrl.pProviderPrivate;
    instance->ctrl.pProviderPrivate = nullptr;
    EXPECT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), QRNP_MSG_NOT_INITIALISED);
    instance->ctrl.pProviderPrivate = pNid;
    EXPECT_FALSE(batch.rows[0].bTaken);
    hostkit::TerminateInstance(*instance);
}

TEST(ServiceTest, MissingDestinationBufferFailsTheRow) {
    hostkit::BatchOptions batchOptions;
    batchOptions.bNoDestination = true;
    const auto result = RunRows(InstanceOptions{}, {kValid}, QRNP_METHOD_MASK, batchOptions);
    EXPECT_EQ(result.iService, -2);
    EXPECT_EQ(result.rows[0].iStatus, QRNP_MSG_DEST_BUFFER_MISSING);
    EXPECT_TRUE(result.rows[0].bRejected);
}

TEST(ServiceTest, UnknownSwitchAtServiceTimeEndsTheCall) {
    auto instance = hostkit::MakeInstance(Linked(), InstanceOptions{});
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    instance->switchText = L"XX";
    instance->ctrl.pSwitch.pVal = instance->switchText.c_str();
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, {{false, kValid}, {false, kValid}}, &batch);
    EXPECT_EQ(hostkit::ServiceBatch(*instance, batch, QRNP_METHOD_MASK), QRNP_MSG_UNKNOWN_COUNTRY);
    EXPECT_FALSE(batch.rows[1].bTaken);
    hostkit::TerminateInstance(*instance);
}

}  // namespace
