// Formats as sources and sinks of record batches. A source reads records
// and hands over, for each masked column, the batch's values; a sink writes
// the records back with each column's outcome. ServeRecords (serve_loop.h)
// is the one loop between them: adding a format means writing a source and
// a sink.
#ifndef NIDMASK_RECORD_STREAM_H
#define NIDMASK_RECORD_STREAM_H

#include <cstdint>
#include <string>
#include <vector>

#include "hostkit.h"
#include "masking_session.h"
#include "options.h"

namespace nidmask {

// One batch of records: for each masked column, one value per record, and
// for values the source could not read, why (RefusedValue of host_messages.h). What else a record holds (its raw
// bytes, its key in a table) stays with the source and sink that share it.
struct RecordBatch {
    size_t n = 0;                                        // records in the batch
    uint64_t iFirstRecord = 1;                           // record number of the first
    std::vector<std::vector<hostkit::CellValue>> cells;  // [column][record]
    std::vector<std::vector<uint32_t>> refused;          // [column][record]: 0, or why it could not be read

    // Makes room for `nColumns` columns of up to `iMax` records.
    void Reset(size_t nColumns, size_t iMax);
};

// What becomes of a row in the output.
enum class CellAction {
    WriteResult,   // the masked or generated value
    WriteSource,   // the source, unchanged (empty, blank, or invalid passed through)
    WriteNull,     // the NULL text, or SQL NULL
    WriteEmpty,    // an empty value
    Drop,          // leave the record out
    StopRejected,  // --on-reject fail: stop, write nothing
    StopUnserved   // the error limit stopped the provider before this row
};
CellAction ActionFor(RowKind kind, RejectAction onReject);

// A served column as sinks read it.
struct ServedColumn {
    const MaskingSession* pSession;
    RejectAction onReject;
    CellAction Action(size_t iRow) const { return ActionFor(pSession->Kind(iRow), onReject); }
    const std::wstring& Output(size_t iRow) const { return pSession->Output(iRow); }
    bool OutputBytes(size_t iRow, std::string_view* pBytes) const { return pSession->OutputBytes(iRow, pBytes); }
};

class RecordSource {
public:
    virtual ~RecordSource() = default;
    // Reads up to iMax records into *pBatch (n, cells, refused; the loop
    // sets iFirstRecord). False on an error, with a message; n == 0 at the end.
    virtual bool Read(RecordBatch* pBatch, size_t iMax, std::string* pError) = 0;
    // True when at least one more record is left (read ahead if needed).
    virtual bool MoreLeft() = 0;
    // Bytes read so far and in all (0: unknown), for the progress bar.
    virtual uint64_t BytesRead() const { return 0; }
    virtual uint64_t TotalBytes() const { return 0; }
    virtual uint64_t TotalRecords() { return 0; }
};

class RecordSink {
public:
    virtual ~RecordSink() = default;
    // Writes the batch's records. A record for which any column's action is
    // Drop is left out; StopUnserved ends the batch there. False on an error.
    virtual bool Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) = 0;
    // After the last batch: make everything written final. False on an error.
    virtual bool Commit(std::string* pError) = 0;
    // The run failed or stopped early: leave the destination as it was where
    // that is possible (a renamed file, a transaction).
    virtual void Abandon() = 0;
    // True when what was written already reached its reader (standard
    // output, a device or FIFO) and cannot be taken back.
    virtual bool WritesThrough() const { return false; }
    // Records written so far.
    virtual uint64_t RecordsWritten() const = 0;
    // What an abandoned run leaves, for its last message ("out.csv is left
    // as it was", "12 records were written to standard output").
    virtual std::string AbandonedNote() const = 0;
};

}  // namespace nidmask

#endif
