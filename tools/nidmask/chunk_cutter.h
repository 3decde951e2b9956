// Where a run with worker processes cuts its input: into chunks of whole
// batches of records (so that every Service call gets the rows it gets in
// one process), found by looking only at line ends and, in CSV, quotes.
//
// A CSV record ends at a CR or LF outside quotes; the CRs and LFs after it
// (blank lines) belong to it, as CsvReader reads it, so a chunk starts at
// the first other byte. Quotes are followed by their count alone: in the
// CSV the reader accepts, quotes open and close quoted fields and come in
// pairs inside them, so the count tells the reader's state. In CSV it
// refuses, every cut before the first fault is still where the reader
// would end a record, and the worker that reads the faulty record reports
// it as one process would.
#ifndef NIDMASK_CHUNK_CUTTER_H
#define NIDMASK_CHUNK_CUTTER_H

#include <cstddef>
#include <cstdint>

namespace nidmask {

enum class RecordSyntax { Lines, Csv };

class ChunkCutter {
public:
    // Chunks of at least iMinBytes bytes (but for the last) and a multiple
    // of iBatch records.
    ChunkCutter(RecordSyntax syntax, size_t iBatch, size_t iMinBytes);

    // data[0, size) is the current chunk's input so far (what was passed
    // before, then more). Returns the chunk's size once it can end there,
    // else 0 (more input is needed, or this is the last chunk).
    size_t Scan(const char* pData, size_t size);

    // After a chunk of the size Scan returned: the next starts.
    void StartNext();

    // Data records and line ends before the current chunk.
    uint64_t RecordsBefore() const { return iRecordsBefore_; }
    uint64_t LinesBefore() const { return iLinesBefore_; }
    // Counts the line ends of what came before the first chunk (a CSV header).
    void SetLinesBefore(uint64_t iLines) { iLinesBefore_ = iLines; }

private:
    size_t ScanLines(const char* pData, size_t size);
    size_t ScanCsv(const char* pData, size_t size);

    RecordSyntax syntax_;
    size_t iBatch_;
    size_t iMinBytes_;
    uint64_t iRecordsBefore_ = 0;
    uint64_t iLinesBefore_ = 0;
    // In the current chunk:
    size_t iScanned_ = 0;
    uint64_t iRecords_ = 0;    // records ended
    uint64_t iLines_ = 0;      // LFs
    bool bInQuotes_ = false;   // CSV
    bool bBetween_ = true;     // CSV: after a record's end, or at the start: line ends are skipped
};

}  // namespace nidmask

#endif
