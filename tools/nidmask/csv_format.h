// Delimited files (CSV, TSV, any one-byte delimiter): the source reads
// records with CsvReader and hands over the masked columns' fields; the sink
// writes each record's raw bytes back with only those fields replaced, so
// every byte that no column touches is copied as it was.
#ifndef NIDMASK_CSV_FORMAT_H
#define NIDMASK_CSV_FORMAT_H

#include <string>
#include <vector>

#include "csv_reader.h"
#include "input_file.h"
#include "output_file.h"
#include "record_stream.h"
#include "text_codec.h"

namespace nidmask {

// The raw bytes of a batch's records, shared by the source that reads them
// and the sink that writes them back.
struct CsvBatchBytes {
    struct Field {
        size_t iBegin = 0;   // in `raw`, quotes included
        size_t iEnd = 0;
        bool bQuoted = false;
        bool bPresent = false;  // false: the record is too short to have it
    };
    std::string raw;
    std::vector<std::pair<size_t, size_t>> records;  // [begin, end) of each record in `raw`
    std::vector<std::vector<Field>> fields;          // [column][record]
};

class CsvSource : public RecordSource {
public:
    CsvSource(InputFile& input, char cDelimiter, std::string nullText);

    // Reads the first record as the header. False on a read or syntax error
    // (*pError set); an empty input has no header (Header() stays null).
    bool ReadHeader(std::string* pError);
    const CsvRecord* Header() const { return bHeader_ ? &header_ : nullptr; }

    // The 0-based index of a column given by header name (exact, else
    // ignoring ASCII case) or 1-based number. -1 with a message naming the
    // header's columns and the nearest name.
    long ResolveColumn(const std::string& given, std::string* pError) const;

    // Usage problems the header shows: a single column whose name holds
    // another delimiter. "" when none.
    std::string HeaderProblem() const;

    // The columns to hand over, with their encodings.
    void SetColumns(std::vector<size_t> columns, std::vector<Encoding> encodings);

    bool Read(RecordBatch* pBatch, size_t iMax, std::string* pError) override;
    bool MoreLeft() override;
    uint64_t BytesRead() const override { return input_.BytesRead(); }
    uint64_t TotalBytes() const override { return input_.TotalBytes(); }

    const CsvBatchBytes& Bytes() const { return bytes_; }
    bool HadByteOrderMark() const { return input_.HadByteOrderMark(); }

private:
    InputFile& input_;
    CsvReader reader_;
    char cDelimiter_;
    std::string nullText_;
    CsvRecord header_;
    bool bHeader_ = false;
    CsvRecord record_;
    bool bPending_ = false;   // record_ was read ahead by MoreLeft
    std::vector<size_t> columns_;
    std::vector<Encoding> encodings_;
    CsvBatchBytes bytes_;
};

class CsvSink : public RecordSink {
public:
    // Writes the header's raw bytes (if any) first, after a byte-order mark
    // when the input had one.
    CsvSink(OutputFile& output, const CsvSource& source, char cDelimiter, std::string nullText,
            std::vector<Encoding> encodings);

    bool Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) override;
    bool Commit(std::string* pError) override;
    void Abandon() override { output_.Abandon(); }
    bool WritesThrough() const override { return output_.WritesThrough(); }
    uint64_t RecordsWritten() const override { return iWritten_; }
    std::string AbandonedNote() const override;

private:
    void Start();

    OutputFile& output_;
    const CsvSource& source_;
    char cDelimiter_;
    std::string nullText_;
    std::vector<Encoding> encodings_;
    bool bStarted_ = false;
    uint64_t iWritten_ = 0;
    std::string value_;  // one result, encoded
};

}  // namespace nidmask

#endif
