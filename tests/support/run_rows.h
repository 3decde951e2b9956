// Test support: one call of the linked provider on a list of values, with
// everything a test wants to look at afterwards.
#ifndef QRNP_TESTS_RUN_ROWS_H
#define QRNP_TESTS_RUN_ROWS_H

#include <optional>
#include <string>
#include <vector>

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

// The text of token `iTokenId` of a message, or "" when it has none.
inline std::wstring TokenText(const hostkit::Message& message, int32_t iTokenId) {
    for (const auto& [id, text] : message.tokens)
        if (id == iTokenId) return text;
    return L"";
}

// The messages with number iMessage.
inline std::vector<hostkit::Message> MessagesNumbered(const std::vector<hostkit::Message>& messages, uint32_t iMessage) {
    std::vector<hostkit::Message> found;
    for (const auto& m : messages)
        if (m.iMessage == iMessage) found.push_back(m);
    return found;
}

}  // namespace testsupport

#endif
