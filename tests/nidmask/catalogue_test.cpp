// The message catalogue: placeholders, rendering, redaction.
#include <set>

#include <gtest/gtest.h>

#include "message_catalogue.h"
#include "message_text.h"

namespace {

// (That every message number has a text is checked by the compiler, in the host kit.)
TEST(CatalogueTest, PlaceholdersNameKnownTokens) {
    std::set<std::string> tokens;
    for (int32_t id = 1; id <= QRNP_TOKID_COUNT; ++id) tokens.insert(hostkit::TokenName(id));
    for (uint32_t number : hostkit::CatalogueNumbers()) {
        hostkit::FillTemplate(hostkit::MessageTemplate(number), [&](const std::string& name) {
            EXPECT_TRUE(tokens.count(name)) << number << ": " << name;
            return name;
        });
    }
}

TEST(CatalogueTest, RendersTokensAndUnknownNumbers) {
    hostkit::Message message;
    message.iMessage = 4405;
    message.tokens = {{QRNP_TOKID_SRCDATA, L"12345"}, {QRNP_TOKID_SRCLEN, L"5"}, {QRNP_TOKID_COUNTRY, L"France"}};
    EXPECT_EQ(hostkit::RenderMessage(message, true),
              "the value 12345 has 5 characters, which is not a valid length for a France identifier");
    message.tokens.pop_back();
    EXPECT_EQ(hostkit::RenderMessage(message, true),
              "the value 12345 has 5 characters, which is not a valid length for a ? identifier");
    message.iMessage = 4999;
    EXPECT_EQ(hostkit::RenderMessage(message, true), "message 4999 (SRCDATA=12345, SRCLEN=5)");
    EXPECT_EQ(hostkit::RenderMessage(message, false), "message 4999 (SRCDATA=[12... 5 characters], SRCLEN=5)");
    message.tokens.clear();
    EXPECT_EQ(hostkit::RenderMessage(message, true), "message 4999");
}

}  // namespace
