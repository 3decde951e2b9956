// Fuzz target: nidmask's CSV reading.
//
// Input: byte 0 says whether the first record is a header (bit 7) and how
// many read sizes follow (low 4 bits); those bytes (0 read as 1) are the
// sizes of the successive reads the reader gets, used in turn; the rest is
// the CSV text. The text is handed over through a SOCK_SEQPACKET socket, one
// message per read size, so every read() returns exactly one piece and the
// reader meets its block ends wherever the input puts them.
//
// Checked: the same records (bytes, field spans, values, line numbers,
// error) come out whatever the pieces, and whether records without quotes
// are split by the reader itself or all go through the parser; a file read to its end is exactly its
// byte-order mark, if any, and the concatenation of its records' bytes
// (blank lines go with a record, so nothing is lost but a file of blank
// lines only); every field's bytes are
// what writing its value back (AppendCsvField, quoted as it was) gives, so a
// record copied field by field comes out as it went in.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "csv_field.h"
#include "csv_reader.h"
#include "fuzz_check.h"
#include "input_file.h"

namespace {

struct Reading {
    std::vector<nidmask::CsvRecord> records;
    std::string error;
    bool bByteOrderMark = false;
};

// Messages queued at most before reading starts (each costs the socket far
// more than its bytes; the rest of the text goes in the last one).
constexpr size_t kMaxPieces = 64;

// Reads `text` through a socket, as standard input, in pieces of the given sizes (cycled).
Reading ReadCsv(const std::string& text, const std::vector<size_t>& pieces, bool bHeader, bool bPlainSplitting = true) {
    Reading reading;
    int fds[2];
    FUZZ_CHECK(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds) == 0, "socketpair");
    const int iRoom = static_cast<int>(text.size() * 2 + 65536);
    setsockopt(fds[1], SOL_SOCKET, SO_SNDBUF, &iRoom, sizeof iRoom);
    size_t iDone = 0;
    for (size_t k = 0; iDone < text.size(); ++k) {
        size_t n = text.size() - iDone;
        if (!pieces.empty() && k + 1 < kMaxPieces) n = std::min(pieces[k % pieces.size()], n);
        FUZZ_CHECK(send(fds[1], text.data() + iDone, n, 0) == static_cast<ssize_t>(n), "send %zu bytes", n);
        iDone += n;
    }
    close(fds[1]);

    const int iSavedStdin = dup(STDIN_FILENO);
    dup2(fds[0], STDIN_FILENO);
    close(fds[0]);
    {
        nidmask::InputFile input;
        std::string error;
        FUZZ_CHECK(input.Open("-", &error), "%s", error.c_str());
        nidmask::CsvReader reader(input, bHeader);
        reader.SetPlainSplitting(bPlainSplitting);
        nidmask::CsvRecord record;
        while (reader.Next(&record, &reading.error)) reading.records.push_back(record);
        reading.bByteOrderMark = input.HadByteOrderMark();
        FUZZ_CHECK(reader.Records() == reading.records.size(), "%llu records counted, %zu read",
                   static_cast<unsigned long long>(reader.Records()), reading.records.size());
    }
    dup2(iSavedStdin, STDIN_FILENO);
    close(iSavedStdin);
    return reading;
}

bool SameRecords(const Reading& a, const Reading& b) {
    if (a.error != b.error || a.records.size() != b.records.size()) return false;
    for (size_t i = 0; i < a.records.size(); ++i) {
        const nidmask::CsvRecord& x = a.records[i];
        const nidmask::CsvRecord& y = b.records[i];
        if (x.raw != y.raw || x.spans != y.spans || x.values != y.values || x.valueEnds != y.valueEnds ||
            x.iLine != y.iLine)
            return false;
    }
    return true;
}

void CheckRecord(const nidmask::CsvRecord& record, size_t iRecord) {
    FUZZ_CHECK(record.FieldCount() >= 1 && record.valueEnds.size() == record.FieldCount(),
               "record %zu: %zu spans, %zu values", iRecord, record.FieldCount(), record.valueEnds.size());
    size_t iPrevEnd = 0;
    for (size_t i = 0; i < record.FieldCount(); ++i) {
        const auto [begin, end] = record.spans[i];
        FUZZ_CHECK(begin <= end && end <= record.raw.size() && (i == 0 || begin == iPrevEnd + 1),
                   "record %zu field %zu: span [%zu, %zu) of %zu bytes", iRecord, i, begin, end, record.raw.size());
        if (i > 0) FUZZ_CHECK(record.raw[iPrevEnd] == ',', "record %zu: fields %zu and %zu not separated by a comma",
                              iRecord, i - 1, i);
        // Writing the value back gives the field's bytes.
        std::string written;
        nidmask::AppendCsvField(record.Value(i), record.Quoted(i), &written);
        FUZZ_CHECK(written == record.raw.substr(begin, end - begin),
                   "record %zu field %zu: \"%s\" is written back as \"%s\"", iRecord, i,
                   record.raw.substr(begin, end - begin).c_str(), written.c_str());
        iPrevEnd = end;
    }
    // Before the first field only line ends (blank lines before the first record), after the last only line ends.
    for (size_t k = 0; k < record.spans[0].first; ++k)
        FUZZ_CHECK(record.raw[k] == '\n' || record.raw[k] == '\r', "record %zu: byte %zu before the first field",
                   iRecord, k);
    for (size_t k = iPrevEnd; k < record.raw.size(); ++k)
        FUZZ_CHECK(record.raw[k] == '\n' || record.raw[k] == '\r', "record %zu: byte %zu after the last field",
                   iRecord, k);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t iSize) {
    if (iSize == 0) return 0;
    const bool bHeader = (pData[0] & 0x80) != 0;
    const size_t nPieces = std::min<size_t>(pData[0] & 0x0F, iSize - 1);
    std::vector<size_t> pieces;
    for (size_t i = 0; i < nPieces; ++i) pieces.push_back(pData[1 + i] == 0 ? 1 : pData[1 + i]);
    const std::string text(reinterpret_cast<const char*>(pData) + 1 + nPieces, iSize - 1 - nPieces);

    const Reading whole = ReadCsv(text, {}, bHeader);
    const Reading pieced = ReadCsv(text, pieces, bHeader);
    FUZZ_CHECK(SameRecords(whole, pieced), "reading in pieces gives other records (%zu and %zu, errors \"%s\" and \"%s\")",
               whole.records.size(), pieced.records.size(), whole.error.c_str(), pieced.error.c_str());
    const Reading parsed = ReadCsv(text, {}, bHeader, false);
    FUZZ_CHECK(SameRecords(whole, parsed), "the parser alone gives other records (%zu and %zu, errors \"%s\" and \"%s\")",
               whole.records.size(), parsed.records.size(), whole.error.c_str(), parsed.error.c_str());

    uint64_t iLine = 0;
    std::string all;
    for (size_t i = 0; i < whole.records.size(); ++i) {
        CheckRecord(whole.records[i], i + 1);
        // (Lines are counted at LF: records ended by a lone CR share one.)
        FUZZ_CHECK(whole.records[i].iLine >= std::max<uint64_t>(iLine, 1), "record %zu starts on line %llu", i + 1,
                   static_cast<unsigned long long>(whole.records[i].iLine));
        iLine = whole.records[i].iLine;
        all += whole.records[i].raw;
    }
    if (whole.error.empty()) {
        // A UTF-8 byte-order mark at the start is the input's, not a record's.
        const std::string body = whole.bByteOrderMark ? text.substr(3) : text;
        FUZZ_CHECK(!whole.bByteOrderMark || text.compare(0, 3, "\xEF\xBB\xBF") == 0, "a byte-order mark that is none");
        const bool bOnlyLineEnds = body.find_first_not_of("\r\n") == std::string::npos;
        FUZZ_CHECK(all == body || (whole.records.empty() && bOnlyLineEnds),
                   "the records hold %zu of the %zu bytes read", all.size(), body.size());
    }
    return 0;
}
