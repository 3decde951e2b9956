// Test support: one call of the linked provider on a list of values, with
// everything a test wants to look at afterwards.
#ifndef QRNP_TESTS_RUN_ROWS_H
#define QRNP_TESTS_RUN_ROWS_H

#include <cwctype>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "hostkit.h"
#include "hostkit_linked.h"

namespace testsupport {

struct RunResult {
    int32_t iInit = 0;
    int32_t iService = 0;
    int32_t iTerminate = 0;
    std::vector<hostkit::RowResult> rows;
    std::vector<hostkit::Message> messages;  // captured by Init and Service
    bool bGuardsIntact = true;
};

inline const hostkit::EntryPoints& Linked() {
    static const hostkit::EntryPoints ep = hostkit::LinkedEntryPoints();
    return ep;
}

// Init, one Service over `values` (nullopt = NULL), Terminate.
inline RunResult RunRows(const hostkit::InstanceOptions& options, const std::vector<std::optional<std::wstring>>& values,
                         uint16_t sMethod = QRNP_METHOD_MASK, const hostkit::BatchOptions& batchOptions = {}) {
    RunResult result;
    auto instance = hostkit::MakeInstance(Linked(), options);
    result.iInit = hostkit::InitInstance(*instance);
    if (result.iInit == 0) {
        std::vector<hostkit::CellValue> cells;
        for (const auto& v : values) cells.push_back(v ? hostkit::CellValue{false, *v} : hostkit::CellValue{true, L""});
        hostkit::Batch batch;
        hostkit::FillBatch(*instance, cells, &batch, batchOptions);
        result.iService = hostkit::ServiceBatch(*instance, batch, sMethod);
        for (size_t i = 0; i < values.size(); ++i) result.rows.push_back(hostkit::ReadRow(*instance, batch, static_cast<int>(i)));
        result.bGuardsIntact = hostkit::GuardsIntact(batch);
        result.messages = hostkit::ReadErrors(instance->ctrl.pEAB);
        result.iTerminate = hostkit::TerminateInstance(*instance);
    } else {
        result.messages = hostkit::ReadErrors(instance->ctrl.pEAB);
    }
    return result;
}

// The outputs of a run's rows (nullopt where a row has none).
inline std::vector<std::optional<std::wstring>> OutputsOf(const RunResult& result) {
    std::vector<std::optional<std::wstring>> outputs;
    for (const auto& row : result.rows) outputs.push_back(row.output);
    return outputs;
}

// `n` values the random method gives under `options`.
inline std::vector<std::optional<std::wstring>> Generated(const hostkit::InstanceOptions& options, size_t n) {
    const RunResult result = RunRows(options, std::vector<std::optional<std::wstring>>(n), QRNP_METHOD_RANDOM);
    EXPECT_EQ(result.iService, 0);
    return OutputsOf(result);
}

// The layout of a value: each letter or digit as '#', anything else as itself.
inline std::wstring Shape(std::wstring v) {
    for (wchar_t& c : v)
        if (std::iswalnum(c)) c = L'#';
    return v;
}

// The text of token `iTokenId` of a message, or "" when it has none.
inline std::wstring TokenText(const hostkit::Message& message, int32_t iTokenId) {
    for (const auto& [id, text] : message.tokens)
        if (id == iTokenId) return text;
    return L"";
}

// The message numbers of a run, in the order captured.
inline std::vector<uint32_t> MessageNumbers(const RunResult& result) {
    std::vector<uint32_t> numbers;
    for (const auto& m : result.messages) numbers.push_back(m.iMessage);
    return numbers;
}

// One value in a call of its own: its status and, when given, its output.
struct RowCase {
    const wchar_t* pValue;
    uint16_t sProcFlags;
    int32_t iStatus;
    const wchar_t* pOutput = nullptr;
};

// Every case under `options` with the case's processing flags: a non-zero
// status rejects the row and captures one message.
inline void ExpectRows(hostkit::InstanceOptions options, const std::vector<RowCase>& cases) {
    for (const RowCase& c : cases) {
        SCOPED_TRACE(hostkit::ToUtf8(c.pValue) + " flags " + std::to_string(c.sProcFlags));
        options.sProcFlags = c.sProcFlags;
        const RunResult result = RunRows(options, {std::wstring(c.pValue)});
        ASSERT_EQ(result.iInit, 0);
        EXPECT_EQ(result.rows[0].iStatus, c.iStatus);
        EXPECT_EQ(result.rows[0].bRejected, c.iStatus != 0);
        EXPECT_EQ(result.messages.size(), c.iStatus != 0 ? 1u : 0u);
        if (c.pOutput != nullptr) {
            EXPECT_EQ(result.rows[0].output, std::wstring(c.pOutput));
        }
    }
}

// The one message a value raises: its number and exact tokens (row 1).
struct MessageCase {
    const wchar_t* pValue;
    uint16_t sProcFlags;
    uint32_t iMessage;
    std::vector<std::pair<int32_t, std::wstring>> tokens;
};

inline void ExpectMessages(hostkit::InstanceOptions options, const std::vector<MessageCase>& cases) {
    for (const MessageCase& c : cases) {
        SCOPED_TRACE(hostkit::ToUtf8(c.pValue));
        options.sProcFlags = c.sProcFlags;
        const RunResult result = RunRows(options, {std::wstring(c.pValue)});
        ASSERT_EQ(result.messages.size(), 1u);
        EXPECT_EQ(result.messages[0].iMessage, c.iMessage);
        EXPECT_EQ(result.messages[0].iRow, 1u);
        EXPECT_EQ(result.messages[0].sDeclaredTokens, c.tokens.size());
        EXPECT_EQ(result.messages[0].tokens, c.tokens);
    }
}

// A value masked under one separator option code, and its result.
struct SeparatorCase {
    uint32_t iOption;
    std::wstring source;
    std::wstring output;
};

inline void ExpectSeparators(const hostkit::InstanceOptions& options, uint16_t sKey,
                             const std::vector<SeparatorCase>& cases) {
    for (const SeparatorCase& c : cases) {
        SCOPED_TRACE(::testing::Message() << "option " << c.iOption << " source " << hostkit::ToUtf8(c.source));
        hostkit::InstanceOptions withOption = options;
        withOption.operands.emplace_back(sKey, c.iOption);
        const RunResult result = RunRows(withOption, {c.source});
        ASSERT_EQ(result.iInit, 0);
        EXPECT_EQ(result.rows[0].iStatus, 0);
        EXPECT_EQ(result.rows[0].output, c.output);
    }
}

// One set-up (operands, column type, method) and the messages Init captures:
// none when it succeeds, else ending with 4353; with, when given, the first
// message's exact tokens.
struct InitCase {
    std::vector<std::pair<uint16_t, uint32_t>> operands;
    int16_t sDataType;
    std::vector<uint32_t> captured;
    std::vector<std::pair<int32_t, std::wstring>> tokens = {};
    uint16_t sMethod = QRNP_METHOD_MASK;
};

inline void ExpectInits(hostkit::InstanceOptions options, const std::vector<InitCase>& cases) {
    for (const InitCase& c : cases) {
        SCOPED_TRACE(::testing::Message() << "case " << (&c - cases.data()));
        options.operands = c.operands;
        options.sDataType = c.sDataType;
        options.sMethod = c.sMethod;
        auto instance = hostkit::MakeInstance(Linked(), options);
        const int32_t iInit = hostkit::InitInstance(*instance);
        const std::vector<hostkit::Message> messages = hostkit::ReadErrors(instance->ctrl.pEAB);
        std::vector<uint32_t> captured;
        for (const auto& m : messages) captured.push_back(m.iMessage);
        EXPECT_EQ(iInit, c.captured.empty() ? 0 : QRNP_MSG_NO_COUNTRY_INITIALISED);
        EXPECT_EQ(captured, c.captured);
        if (!c.tokens.empty() && !messages.empty()) {
            EXPECT_EQ(messages[0].tokens, c.tokens);
        }
        if (iInit == 0) hostkit::TerminateInstance(*instance);
    }
}

// A country's invalid data: each value fails; with QRNP_PROC_PASS_INVALID
// added to `options` it comes out unchanged and unrejected, without it the
// row is rejected. (The destination mechanics are the common driver's,
// tested with France; the exits are tested in tests/provider.)
inline void ExpectPassedThroughOnlyWhenAsked(hostkit::InstanceOptions options,
                                             const std::vector<std::wstring>& values) {
    for (const std::wstring& value : values) {
        SCOPED_TRACE(hostkit::ToUtf8(value));
        hostkit::InstanceOptions passing = options;
        passing.sProcFlags |= QRNP_PROC_PASS_INVALID;
        const RunResult passed = RunRows(passing, {value});
        EXPECT_NE(passed.rows[0].iStatus, 0);
        EXPECT_FALSE(passed.rows[0].bRejected);
        EXPECT_EQ(passed.rows[0].output, value);
        EXPECT_TRUE(RunRows(options, {value}).rows[0].bRejected);
    }
}

}  // namespace testsupport

#endif
