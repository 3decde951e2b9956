// What a run's parent process and its worker processes say to each other
// (parallel_run.h). Parent to worker, on a socket: a ChunkOrder per chunk,
// followed by the chunk's bytes unless the worker reads them from the input
// file itself. Worker to parent, on a pipe: a ReplyHeader, the output bytes,
// then the rest of the reply (the report lines and the columns' totals),
// written with the helpers below.
#ifndef NIDMASK_WORKER_WIRE_H
#define NIDMASK_WORKER_WIRE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "masking_session.h"

namespace nidmask {

struct ChunkOrder {
    uint64_t iRecordsBefore = 0;  // data records of the input before the chunk
    uint64_t iLinesBefore = 0;    // line ends before it (the header's included), for CSV messages
    uint64_t iSize = 0;           // bytes
    int64_t iOffset = -1;         // where they are in the input file; -1: they follow the order
};

enum class ReplyKind : uint32_t {
    Started,  // after Init: bool started, failure text, report lines, totals per column
    Chunk,    // after a chunk: ChunkReply's fields, report lines, totals per column
    Finished  // after Terminate: report lines, then per column the result, failure text and totals
};

struct ReplyHeader {
    static constexpr uint32_t kWroteBatch = 1;  // Chunk: at least one batch reached the output
    ReplyKind kind = ReplyKind::Chunk;
    uint32_t iFlags = 0;
    uint64_t iOutputSize = 0;  // output bytes that follow the header
    uint64_t iRestSize = 0;    // bytes of the rest, after the output
};

// A chunk's reply, but for the output, report lines and totals.
struct ChunkReply {
    uint32_t iEnd = 0;         // BatchesEnd::Kind
    uint64_t iRecord = 0;      // BatchesEnd::iRecord
    std::string error;         // BatchesEnd::error
    uint64_t iRecordsServed = 0;  // records served and written (iRecordsBefore included)
    uint64_t iWritten = 0;     // records written (dropped ones are not)
};

// The rest of a reply, written and read field by field.
class WireWriter {
public:
    void Number(uint64_t value);
    void Text(std::string_view text);
    void Totals(const SessionTotals& totals);
    const std::string& Bytes() const { return bytes_; }

private:
    std::string bytes_;
};

class WireReader {
public:
    explicit WireReader(std::string_view bytes) : bytes_(bytes) {}
    // Each false once the bytes run out (a broken reply).
    bool Number(uint64_t* pValue);
    bool Text(std::string* pText);
    bool Totals(SessionTotals* pTotals);

private:
    std::string_view bytes_;
};

// Reads exactly `size` bytes; false at the end of the stream or on an error.
bool ReadExactly(int fd, void* pData, size_t size);

// Writes a reply whole (blocking). False on an error.
bool WriteReply(int fd, ReplyKind kind, uint32_t iFlags, std::string_view output, std::string_view rest);

}  // namespace nidmask

#endif
