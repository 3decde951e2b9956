// CSV records (RFC 4180: quoted fields, doubled quotes, embedded commas and
// line ends, LF or CRLF) read with libcsv in strict mode, each kept with its
// raw bytes and the byte span of every field, so that a writer can copy the
// fields it does not change byte for byte.
#ifndef NIDMASK_CSV_READER_H
#define NIDMASK_CSV_READER_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input_file.h"

struct csv_parser;

namespace nidmask {

struct CsvRecord {
    // The record's bytes as read: its fields, its line end, and the blank
    // lines after it (blank lines before the first record come first).
    std::string raw;
    // Each field's bytes in `raw`, [begin, end), quotes included.
    std::vector<std::pair<size_t, size_t>> spans;
    // Each field's content, unquoted, one after the other.
    std::string values;
    std::vector<size_t> valueEnds;
    uint64_t iLine = 0;  // the line the record starts on (1-based), for messages

    size_t FieldCount() const { return spans.size(); }
    std::string_view Value(size_t i) const {
        const size_t begin = i == 0 ? 0 : valueEnds[i - 1];
        return std::string_view(values).substr(begin, valueEnds[i] - begin);
    }
    bool Quoted(size_t i) const { return spans[i].second > spans[i].first && raw[spans[i].first] == '"'; }
    void Clear();
};

class CsvReader {
public:
    // With bHeader, messages call the first record "the header" and number
    // the others from 1, as data records. Fields are separated by cDelimiter.
    CsvReader(InputFile& input, bool bHeader, char cDelimiter = ',');

    // Whether messages call the first record the header (decided after reading it).
    void SetHeader(bool bHeader) { bHeader_ = bHeader; }
    // Whether records without quotes are split without the parser (the
    // default: the same records, faster); off, the parser reads them all.
    void SetPlainSplitting(bool bOn) { bPlainSplitting_ = bOn; }
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;
    ~CsvReader();

    // Reads the next record into *pRecord (its memory reused). False at the
    // end of input, or on a read or syntax error with *pError set.
    bool Next(CsvRecord* pRecord, std::string* pError);

    // Records read so far (the header included), and line ends.
    uint64_t Records() const { return iRecords_; }
    uint64_t Lines() const { return iLines_; }

    // The bytes read from the input but not parsed yet, and whether the
    // input ended: what a parent that reads on after the header takes over.
    std::string_view Unread() const { return std::string_view(buffer_.data() + iBegin_, iEnd_ - iBegin_); }
    bool AtEnd() const { return bEof_; }

    // Reads the input afresh from its next byte, which starts a record after
    // iRecords records (the header included) and iLines line ends: a
    // worker's next chunk. The buffer is kept.
    void Restart(uint64_t iLines, uint64_t iRecords);

private:
    static void OnField(void* pData, size_t iLen, void* pSelf);
    static void OnRecordEnd(int c, void* pSelf);
    bool SplitPlainRecord(CsvRecord* pRecord);
    void InitParser();
    bool Fill(std::string* pError);
    bool AbsorbLineEnds(std::string* pError);

    InputFile& input_;
    csv_parser* pParser_ = nullptr;
    std::vector<char> buffer_;
    size_t iBegin_ = 0;
    size_t iEnd_ = 0;
    bool bEof_ = false;
    uint64_t iLines_ = 0;     // line ends consumed
    uint64_t iRecords_ = 0;
    bool bHeader_;
    char cDelimiter_;
    // What each byte is to a record without quotes: part of a field, the
    // delimiter, or a line end or quote (where SplitPlainRecord stops).
    enum class ByteKind : uint8_t { Plain, Delimiter, Stop };
    std::array<ByteKind, 256> byteKinds_{};
    bool bPlainSplitting_ = true;
    // While a record is being read:
    CsvRecord* pRecord_ = nullptr;
    bool bFinishing_ = false;  // in csv_fini: the last field ends at the end of the raw bytes
    bool bRecordDone_ = false;
};

}  // namespace nidmask

#endif
