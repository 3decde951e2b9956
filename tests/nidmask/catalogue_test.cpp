// The message catalogue against the provider's list of message numbers.
#include <fstream>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "messages.h"

namespace {

// Every number #defined in the message header.
std::set<uint32_t> HeaderNumbers() {
    std::ifstream header(QRNP_MESSAGES_HEADER);
    const std::regex define(R"(^#define\s+QRNP_MSG_\w+\s+(\d+))");
    std::set<uint32_t> numbers;
    std::smatch match;
    for (std::string line; std::getline(header, line);)
        if (std::regex_search(line, match, define)) numbers.insert(static_cast<uint32_t>(std::stoul(match[1])));
    return numbers;
}

TEST(CatalogueTest, EveryProviderMessageHasATextWithKnownTokens) {
    const std::set<uint32_t> numbers = HeaderNumbers();
    ASSERT_GT(numbers.size(), 50u);
    for (uint32_t number : {64u, 66u}) EXPECT_NE(nidmask::MessageTemplate(number), nullptr) << number;
    for (uint32_t number : numbers) EXPECT_NE(nidmask::MessageTemplate(number), nullptr) << number;
    // Every placeholder names a token of the token table.
    std::set<std::string> tokens;
    for (int32_t id = 1; id <= QRNP_TOKID_COUNT; ++id) tokens.insert(hostkit::TokenName(id));
    const std::regex placeholder(R"(\{([A-Z0-9_]+)\})");
    for (uint32_t number : nidmask::CatalogueNumbers()) {
        const std::string text = nidmask::MessageTemplate(number);
        for (std::sregex_iterator it(text.begin(), text.end(), placeholder), end; it != end; ++it)
            EXPECT_TRUE(tokens.count((*it)[1])) << number << ": " << (*it)[1];
    }
}

TEST(CatalogueTest, RendersTokensAndUnknownNumbers) {
    hostkit::Message message;
    message.iMessage = 4405;
    message.tokens = {{QRNP_TOKID_SRCDATA, L"12345"}, {QRNP_TOKID_SRCLEN, L"5"}, {QRNP_TOKID_COUNTRY, L"France"}};
    EXPECT_EQ(nidmask::RenderMessage(message, true),
              "the value 12345 has 5 characters, which is not a valid length for a France identifier");
    message.tokens.pop_back();
    EXPECT_EQ(nidmask::RenderMessage(message, true),
              "the value 12345 has 5 characters, which is not a valid length for a ? identifier");
    message.iMessage = 4999;
    EXPECT_EQ(nidmask::RenderMessage(message, true), "message 4999 (SRCDATA=12345, SRCLEN=5)");
    EXPECT_EQ(nidmask::RenderMessage(message, false), "message 4999 (SRCDATA=[12... 5 characters], SRCLEN=5)");
    message.tokens.clear();
    EXPECT_EQ(nidmask::RenderMessage(message, true), "message 4999");
}

}  // namespace
