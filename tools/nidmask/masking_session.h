// One provider instance driven over a stream of rowsets: Init, one Service
// per batch, Terminate. It classifies every row from its cell status and
// row flags, maps the provider's per-rowset row numbers to record numbers,
// writes the report, and keeps the counts and message tallies for the
// summary.
//
// How a row is classified:
//   Masked    status 0 (masked, or generated with the random method)
//   Null      status 4408: a NULL source (its result is NULL)
//   Blank     status 4403: only blanks, passed through unchanged
//   Empty     status 74 or 75: an empty value or a numeric zero, passed through
//   Invalid   any other status with the row error flag clear: invalid data
//             passed through because pass-invalid was asked for
//   Rejected  the row error flag is set, or the host refused the value
//   Unserved  not taken: Service stopped at the error limit
// Only Rejected and Unserved rows make the run fail (exit status 1).
//
// The host decides some rows before the provider sees them, and marks them
// taken so that Service skips them: a value the column type cannot hold, or
// text that is not UTF-8, is rejected with a host message (host_messages.h);
// an empty value of a numeric column is Empty (75); under random generation
// NULL and empty rows are kept as they are unless fill-null is asked for.
#ifndef NIDMASK_MASKING_SESSION_H
#define NIDMASK_MASKING_SESSION_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit.h"
#include "report.h"

namespace nidmask {

enum class RowKind : uint8_t { Masked, Null, Blank, Empty, Invalid, Rejected, Unserved };

struct RowCounts {
    uint64_t iRead = 0;
    uint64_t iMasked = 0;
    uint64_t iNull = 0;
    uint64_t iBlank = 0;
    uint64_t iEmpty = 0;
    uint64_t iInvalid = 0;
    uint64_t iRejected = 0;
    uint64_t iUnserved = 0;
    bool bStoppedAtLimit = false;  // the error limit ended the run before the end of the input
    uint64_t PassedThrough() const { return iBlank + iEmpty + iInvalid; }
    bool Failed() const { return iRejected > 0 || iUnserved > 0 || bStoppedAtLimit; }
};

// Messages of one number, for the summary.
struct MessageTally {
    uint32_t iMessage = 0;
    uint64_t iCount = 0;
    uint64_t iFirstRow = 0;  // record number of the first, 0 when bound to no row
    std::string text;        // the first one, rendered
};

// What a session counted: its rows, its messages by number, and its first
// rejected rows (record numbers).
struct SessionTotals {
    RowCounts counts;
    std::vector<MessageTally> tallies;
    std::vector<uint64_t> rejectedRows;
};

// Adds the totals of records that follow those of *pInto (a later part of
// the input): counts summed, message numbers first seen in `later` appended
// in their order, rejected rows kept up to MaskingSession::kRejectedRowsKept.
void AddTotals(const SessionTotals& later, SessionTotals* pInto);

struct SessionSettings {
    hostkit::InstanceOptions instance;  // switch, CtrlBlk method, flags, column, operands
    uint16_t sServiceMethod = QRNP_METHOD_MASK;  // the method Service is called with
    int iErrorLimit = 0;                // over the whole run; 0: none
    bool bFillNull = false;             // random: generate for NULL and empty rows too
    bool bShowValues = false;           // values in clear in the summary's texts
    ReportWriter::Place place;          // the rule's table and column, for the report
};

enum class ServeResult {
    Served,         // every row classified (some may be Unserved: stop after this batch)
    ServiceFailed   // Service returned a message number: see ServiceResult(), Messages()
};

class MaskingSession {
public:
    MaskingSession(const hostkit::EntryPoints& entryPoints, const SessionSettings& settings, ReportWriter* pReport);

    // Init. 0, or its result; the captured messages are in Messages() and in the report.
    int32_t Start();

    // Serves one rowset; values[0] is record number iFirstRecord. A non-zero
    // refused[i] is a host message (host_messages.h) for a value the source
    // could not read: that row is rejected with it.
    ServeResult Serve(const std::vector<hostkit::CellValue>& values, const std::vector<uint32_t>& refused,
                      uint64_t iFirstRecord);

    RowKind Kind(size_t iRow) const { return kinds_[iRow]; }
    // The result of a Masked row, its column padding removed.
    const std::wstring& Output(size_t iRow) const;
    // The same result as ISO-8859-1 bytes, one a character, when the session
    // holds it so (single-byte column types): true and *pBytes, valid until
    // the next Serve. False: take Output().
    bool OutputBytes(size_t iRow, std::string_view* pBytes) const {
        if (outputIsBytes_[iRow] == 0) return false;
        *pBytes = outputBytes_[iRow];
        return true;
    }

    // True once the error limit is reached: serve no more rows. Call
    // NoteStopped() when input is left.
    bool LimitReached() const {
        return counts_.iUnserved > 0 ||
               (settings_.iErrorLimit > 0 && iErrorsSoFar_ >= static_cast<uint64_t>(settings_.iErrorLimit));
    }
    void NoteStopped() { counts_.bStoppedAtLimit = true; }

    int32_t ServiceResult() const { return iServiceResult_; }
    // Messages captured by the last Start or Serve.
    const std::vector<hostkit::Message>& Messages() const { return messages_; }

    // Terminate: 0, -2 (rows failed), or a message number.
    int32_t Finish();

    const RowCounts& Counts() const { return counts_; }
    const std::vector<MessageTally>& Tallies() const { return tallies_; }
    // Record numbers of the first rejected rows (at most kRejectedRowsKept).
    static constexpr size_t kRejectedRowsKept = 10;
    const std::vector<uint64_t>& RejectedRows() const { return rejectedRows_; }
    const SessionSettings& Settings() const { return settings_; }

    SessionTotals Totals() const { return {counts_, tallies_, rejectedRows_}; }
    // The totals since the last call, which start again from zero: what a
    // worker reports for each chunk it serves.
    SessionTotals TakeTotals();

private:
    void DecideRows(const std::vector<hostkit::CellValue>& values, const std::vector<uint32_t>& refused);
    bool ReadOutput(size_t iRow, bool bFixedWidth);
    void CollectMessages(uint64_t iFirstRecord, size_t nRows);
    void Tally(const hostkit::Message& message, uint64_t iRecord);

    const hostkit::EntryPoints& entryPoints_;
    SessionSettings settings_;
    ReportWriter* pReport_;
    std::unique_ptr<hostkit::Instance> instance_;
    hostkit::Batch batch_;
    std::vector<RowKind> kinds_;
    mutable std::vector<std::wstring> outputs_;   // wide results (widened from the bytes on demand)
    std::vector<std::string_view> outputBytes_;   // results in the batch's cells, for single-byte columns
    std::vector<uint8_t> outputIsBytes_;          // per row: the result is in outputBytes_
    std::vector<hostkit::Message> messages_;
    std::vector<std::pair<uint32_t, uint32_t>> messagesByRow_;  // (row in rowset, message index)
    std::vector<const hostkit::Message*> rowMessages_;
    // Per row of the rowset: the host's own decision (RowKind::Unserved: none)
    // and, for a host rejection or kept row, its message.
    std::vector<RowKind> hostKinds_;
    std::vector<hostkit::Message> hostMessages_;
    std::vector<int32_t> hostMessageOf_;  // index into hostMessages_, or -1
    std::vector<uint64_t> rejectedRows_;
    int32_t iServiceResult_ = 0;
    uint64_t iErrorsSoFar_ = 0;
    RowCounts counts_;
    std::vector<MessageTally> tallies_;
};

}  // namespace nidmask

#endif
