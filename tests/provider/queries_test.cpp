// GetDetails, GetInfo and GetErrorMsg.
#include <gtest/gtest.h>

#include "support/run_rows.h"

namespace {

using testsupport::Linked;

TEST(QueriesTest, DetailsDescribeTheProvider) {
    wchar_t name[64] = {}, description[64] = {};
    ProviderDetails details{9, 9, 9, 9, name, description};
    EXPECT_EQ(GetDetails(&details), 0);
    EXPECT_EQ(details.bField1, 0);
    EXPECT_EQ(details.bField2, 1);
    EXPECT_EQ(details.sField3, 0);
    EXPECT_EQ(details.sField4, 1);
    EXPECT_STREQ(name, L"National Identifier");
    EXPECT_STREQ(description, L"Masking library for national identifiers");
    EXPECT_EQ(GetErrorMsg(QRNP_MSG_INVALID_LENGTH, 1, nullptr), 0);
}

TEST(QueriesTest, DestinationSizeByColumnType) {
    struct Case {
        int16_t sDataType;
        int32_t iExpected;
    };
    for (const Case& c : {Case{CHAR, 20}, Case{VARCHAR, 22}, Case{VARCHAR_SZ, 21}, Case{WCHAR, 80},
                          Case{WVARCHAR, 82}, Case{WVARCHAR_SZ, 84}}) {
        hostkit::InstanceOptions options;
        options.sDataType = c.sDataType;
        auto instance = hostkit::MakeInstance(Linked(), options);
        ASSERT_EQ(hostkit::InitInstance(*instance), 0);
        int32_t iSize = 0;
        uint32_t iLen = 4;
        EXPECT_EQ(GetInfo(&instance->ctrl, QRNP_INFO_DEST_SIZE, &iSize, &iLen), 0);
        EXPECT_EQ(iSize, c.iExpected) << "type " << c.sDataType;
        EXPECT_EQ(iLen, 4u);
        iLen = 3;
        EXPECT_EQ(GetInfo(&instance->ctrl, QRNP_INFO_DEST_SIZE, &iSize, &iLen), 64);
        iLen = 0;
        EXPECT_EQ(GetInfo(&instance->ctrl, QRNP_INFO_DEST_SIZE, nullptr, &iLen), 0);
        EXPECT_EQ(iLen, 4u);
        hostkit::TerminateInstance(*instance);
    }
}

TEST(QueriesTest, SourceColumnAndUnsupportedRequests) {
    hostkit::InstanceOptions options;
    options.sSrcColIndex = 3;
    auto instance = hostkit::MakeInstance(Linked(), options);
    int16_t sIndex = 0;
    uint32_t iLen = 2;
    EXPECT_EQ(GetInfo(&instance->ctrl, QRNP_INFO_SRC_COLUMN, &sIndex, &iLen), 0);
    EXPECT_EQ(sIndex, 3);
    iLen = 1;
    EXPECT_EQ(GetInfo(&instance->ctrl, QRNP_INFO_SRC_COLUMN2, &sIndex, &iLen), 64);

    EXPECT_EQ(GetInfo(&instance->ctrl, 0x0E03, &sIndex, &iLen), 63);
    const auto messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].iMessage, 63u);
    ASSERT_EQ(messages[0].tokens.size(), 1u);
    EXPECT_EQ(messages[0].tokens[0].first, QRNP_TOKID_INFO_REQUEST);
    EXPECT_EQ(messages[0].tokens[0].second, L"3587");
}

}  // namespace
