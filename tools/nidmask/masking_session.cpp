// The provider session: rowsets in, classified rows, report lines and tallies out.
#include "masking_session.h"

#include <algorithm>

#include <qrnp/qrnp.h>

#include "column_types.h"
#include "host_messages.h"
#include "message_text.h"

namespace nidmask {

namespace {

// Notices about rows that were not masked on purpose; the summary counts
// them already, so they are not tallied as problems.
bool IsNotice(uint32_t iMessage) {
    return iMessage == QRNP_MSG_NULL_SOURCE || iMessage == QRNP_MSG_SOURCE_ONLY_SPACES ||
           iMessage == QRNP_MSG_EMPTY_CHARACTER_VALUE || iMessage == QRNP_MSG_EMPTY_NUMERIC_VALUE;
}

RowKind Classify(const hostkit::RowResult& row) {
    if (!row.bTaken) return RowKind::Unserved;
    if (row.bRejected) return RowKind::Rejected;
    switch (row.iStatus) {
        case 0: return RowKind::Masked;
        case QRNP_MSG_NULL_SOURCE: return RowKind::Null;
        case QRNP_MSG_SOURCE_ONLY_SPACES: return RowKind::Blank;
        case QRNP_MSG_EMPTY_CHARACTER_VALUE:
        case QRNP_MSG_EMPTY_NUMERIC_VALUE: return RowKind::Empty;
        default: return RowKind::Invalid;
    }
}

}  // namespace

MaskingSession::MaskingSession(const hostkit::EntryPoints& entryPoints, const SessionSettings& settings,
                               ReportWriter* pReport)
    : entryPoints_(entryPoints), settings_(settings), pReport_(pReport) {}

int32_t MaskingSession::Start() {
    instance_ = hostkit::MakeInstance(entryPoints_, settings_.instance);
    const int32_t iResult = hostkit::InitInstance(*instance_);
    CollectMessages(0, 0);
    return iResult;
}

// What the host decides before the provider sees the rows (see the header).
void MaskingSession::DecideRows(const std::vector<hostkit::CellValue>& values, const std::vector<uint32_t>& refused) {
    const size_t nRows = values.size();
    const int16_t sType = settings_.instance.sDataType;
    const bool bKeepEmpty = settings_.instance.sMethod == QRNP_METHOD_RANDOM && !settings_.bFillNull;
    hostKinds_.assign(nRows, RowKind::Unserved);
    hostMessageOf_.assign(nRows, -1);
    hostMessages_.clear();
    const auto decide = [&](size_t i, RowKind kind, uint32_t iMessage) {
        hostKinds_[i] = kind;
        batch_.rows[i].bTaken = 1;
        hostMessageOf_[i] = static_cast<int32_t>(hostMessages_.size());
        hostMessages_.push_back(
            hostkit::HostMessage(iMessage, values[i], settings_.instance, i < refused.size() ? refused[i] >> 16 : 0));
        hostMessages_.back().iRow = static_cast<uint32_t>(i + 1);
    };
    for (size_t i = 0; i < nRows; ++i) {
        const hostkit::CellValue& value = values[i];
        const bool bEmpty = !value.bNull && hostkit::CellLength(value) == 0;
        if (i < refused.size() && refused[i] != 0) {
            decide(i, RowKind::Rejected, refused[i] & 0xFFFF);
        } else if (bKeepEmpty && value.bNull) {
            decide(i, RowKind::Null, QRNP_MSG_NULL_SOURCE);
        } else if (bEmpty && (bKeepEmpty || hostkit::IsNumericType(sType))) {
            decide(i, RowKind::Empty, hostkit::IsNumericType(sType) ? QRNP_MSG_EMPTY_NUMERIC_VALUE : QRNP_MSG_EMPTY_CHARACTER_VALUE);
        } else if (batch_.encodeFailed[i] != 0) {
            std::wstring scratch;
            decide(i, RowKind::Rejected, hostkit::EncodeFailure(settings_.instance, hostkit::CellText(value, &scratch)));
        }
    }
}

ServeResult MaskingSession::Serve(const std::vector<hostkit::CellValue>& values, const std::vector<uint32_t>& refused,
                                  uint64_t iFirstRecord) {
    const size_t nRows = values.size();
    hostkit::FillBatch(*instance_, values, &batch_);
    DecideRows(values, refused);
    // The error limit counts the messages of the whole run; the provider
    // sees one rowset's list at a time, so it gets what is left of it.
    if (settings_.iErrorLimit > 0) {
        const uint64_t iLimit = static_cast<uint64_t>(settings_.iErrorLimit);
        instance_->ctrl.sErrorLimit = static_cast<int16_t>(iLimit > iErrorsSoFar_ ? iLimit - iErrorsSoFar_ : 1);
    }
    iServiceResult_ = hostkit::ServiceBatch(*instance_, batch_, settings_.sServiceMethod);
    if (iServiceResult_ != QRNP_OK && iServiceResult_ != QRNP_WARNING) {
        CollectMessages(iFirstRecord, 0);
        return ServeResult::ServiceFailed;
    }

    kinds_.resize(nRows);
    if (outputs_.size() < nRows) outputs_.resize(nRows);
    outputBytes_.resize(nRows);
    outputIsBytes_.assign(nRows, 0);
    const bool bFixedWidth = hostkit::IsFixedWidthType(settings_.instance.sDataType);
    counts_.iRead += nRows;
    for (size_t i = 0; i < nRows; ++i) {
        RowKind kind = hostKinds_[i];
        if (kind == RowKind::Unserved) {
            kind = Classify(hostkit::ReadRowStatus(*instance_, batch_, static_cast<int>(i)));
            if (kind == RowKind::Masked && !ReadOutput(i, bFixedWidth)) kind = RowKind::Rejected;
        }
        kinds_[i] = kind;
        switch (kind) {
            case RowKind::Masked: ++counts_.iMasked; break;
            case RowKind::Null: ++counts_.iNull; break;
            case RowKind::Blank: ++counts_.iBlank; break;
            case RowKind::Empty: ++counts_.iEmpty; break;
            case RowKind::Invalid: ++counts_.iInvalid; break;
            case RowKind::Rejected:
                ++counts_.iRejected;
                if (rejectedRows_.size() < kRejectedRowsKept) rejectedRows_.push_back(iFirstRecord + i);
                break;
            case RowKind::Unserved: ++counts_.iUnserved; break;
        }
    }
    CollectMessages(iFirstRecord, nRows);
    return ServeResult::Served;
}

// The result of a masked row: its bytes where the column is single-byte,
// else decoded. False when nothing readable was written.
bool MaskingSession::ReadOutput(size_t iRow, bool bFixedWidth) {
    const int iCell = static_cast<int>(iRow);
    std::string_view bytes;
    if (hostkit::ReadRowBytes(*instance_, batch_, iCell, &bytes)) {
        if (bFixedWidth) {
            while (!bytes.empty() && bytes.back() == ' ') bytes.remove_suffix(1);
        }
        outputBytes_[iRow] = bytes;
        outputIsBytes_[iRow] = 1;
        return true;
    }
    std::wstring& text = outputs_[iRow];
    if (!hostkit::ReadRowOutput(*instance_, batch_, iCell, &text)) return false;
    if (bFixedWidth) {
        while (!text.empty() && text.back() == L' ') text.pop_back();
    }
    return true;
}

const std::wstring& MaskingSession::Output(size_t iRow) const {
    std::wstring& text = outputs_[iRow];
    if (outputIsBytes_[iRow] != 0) {
        const std::string_view bytes = outputBytes_[iRow];
        text.resize(bytes.size());
        for (size_t k = 0; k < bytes.size(); ++k) text[k] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[k]));
    }
    return text;
}

// Reads and clears the error list; writes the report lines of the rows
// served (nRows, from record iFirstRecord) and of the unbound messages.
void MaskingSession::CollectMessages(uint64_t iFirstRecord, size_t nRows) {
    messages_ = hostkit::ReadErrors(instance_->ctrl.pEAB);
    hostkit::ResetErrors(*instance_);
    if (nRows > 0) messages_.insert(messages_.end(), hostMessages_.begin(), hostMessages_.end());
    iErrorsSoFar_ += messages_.size();

    messagesByRow_.clear();
    rowMessages_.clear();
    for (size_t k = 0; k < messages_.size(); ++k) {
        const hostkit::Message& message = messages_[k];
        const bool bBound = message.iRow > 0 && message.iRow <= nRows;
        if (bBound) {
            messagesByRow_.emplace_back(message.iRow, static_cast<uint32_t>(k));
        } else {
            rowMessages_.push_back(&message);
        }
        Tally(message, bBound ? iFirstRecord + message.iRow - 1 : 0);
    }
    if (pReport_ != nullptr) pReport_->WriteUnbound(settings_.place, rowMessages_);
    std::stable_sort(messagesByRow_.begin(), messagesByRow_.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });

    if (pReport_ == nullptr || !pReport_->IsOpen()) return;
    size_t k = 0;
    for (size_t i = 0; i < nRows; ++i) {
        rowMessages_.clear();
        while (k < messagesByRow_.size() && messagesByRow_[k].first == i + 1)
            rowMessages_.push_back(&messages_[messagesByRow_[k++].second]);
        if (kinds_[i] == RowKind::Unserved) continue;
        const int32_t iStatus = hostMessageOf_[i] >= 0
                                    ? static_cast<int32_t>(hostMessages_[static_cast<size_t>(hostMessageOf_[i])].iMessage)
                                    : hostkit::ReadRowStatus(*instance_, batch_, static_cast<int>(i)).iStatus;
        if (iStatus != 0 || kinds_[i] == RowKind::Rejected)
            pReport_->WriteRow(settings_.place, iFirstRecord + i, iStatus, kinds_[i] == RowKind::Rejected, rowMessages_);
    }
}

void MaskingSession::Tally(const hostkit::Message& message, uint64_t iRecord) {
    if (IsNotice(message.iMessage)) return;
    for (MessageTally& tally : tallies_) {
        if (tally.iMessage == message.iMessage) {
            ++tally.iCount;
            return;
        }
    }
    tallies_.push_back(MessageTally{message.iMessage, 1, iRecord, hostkit::RenderMessage(message, settings_.bShowValues)});
}

SessionTotals MaskingSession::TakeTotals() {
    SessionTotals totals{counts_, std::move(tallies_), std::move(rejectedRows_)};
    counts_ = {};
    tallies_.clear();
    rejectedRows_.clear();
    return totals;
}

void AddTotals(const SessionTotals& later, SessionTotals* pInto) {
    RowCounts& counts = pInto->counts;
    counts.iRead += later.counts.iRead;
    counts.iMasked += later.counts.iMasked;
    counts.iNull += later.counts.iNull;
    counts.iBlank += later.counts.iBlank;
    counts.iEmpty += later.counts.iEmpty;
    counts.iInvalid += later.counts.iInvalid;
    counts.iRejected += later.counts.iRejected;
    counts.iUnserved += later.counts.iUnserved;
    counts.bStoppedAtLimit = counts.bStoppedAtLimit || later.counts.bStoppedAtLimit;
    for (const MessageTally& tally : later.tallies) {
        const auto known = std::find_if(pInto->tallies.begin(), pInto->tallies.end(),
                                        [&](const MessageTally& t) { return t.iMessage == tally.iMessage; });
        if (known != pInto->tallies.end()) {
            known->iCount += tally.iCount;
        } else {
            pInto->tallies.push_back(tally);
        }
    }
    for (const uint64_t iRow : later.rejectedRows)
        if (pInto->rejectedRows.size() < MaskingSession::kRejectedRowsKept) pInto->rejectedRows.push_back(iRow);
}

int32_t MaskingSession::Finish() {
    if (!instance_) return 0;
    const int32_t iResult = hostkit::TerminateInstance(*instance_);
    CollectMessages(0, 0);
    return iResult;
}

}  // namespace nidmask

