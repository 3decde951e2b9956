// One value per line: the source reads lines (LF or CRLF; the last one
// counted without a newline) or makes rows without a source for --count; the
// sink writes one result per line, each ended as its source line was.
#ifndef NIDMASK_LINES_FORMAT_H
#define NIDMASK_LINES_FORMAT_H

#include <optional>
#include <string>
#include <vector>

#include "input_file.h"
#include "line_reader.h"
#include "output_file.h"
#include "record_stream.h"
#include "text_codec.h"

namespace nidmask {

class LineSource : public RecordSource {
public:
    // Reads `input`; with `count`, makes that many NULL rows instead (no input is read).
    LineSource(InputFile& input, std::optional<uint64_t> count, Encoding encoding, std::string nullText);

    bool Read(RecordBatch* pBatch, size_t iMax, std::string* pError) override;
    bool MoreLeft() override;
    uint64_t BytesRead() const override { return input_.BytesRead(); }
    uint64_t TotalBytes() const override { return input_.TotalBytes(); }
    uint64_t TotalRecords() override { return count_.value_or(0); }

    // How each line of the last batch ended (rows made without input end in LF).
    const std::vector<LineEnd>& Ends() const { return ends_; }

    // Reads the input afresh (LineReader::Restart).
    void Restart();

private:
    InputFile& input_;
    LineReader reader_;
    std::optional<uint64_t> count_;
    Encoding encoding_;
    std::string nullText_;
    uint64_t iMade_ = 0;           // rows made or lines read
    std::string_view pending_;     // a line read ahead by MoreLeft
    LineEnd pendingEnd_ = LineEnd::Lf;
    std::vector<LineEnd> ends_;    // of the last batch's lines
    bool bPending_ = false;
};

class LineSink : public RecordSink {
public:
    // A byte-order mark the input started with is written first, and each
    // line ends as the source's line did.
    LineSink(OutputFile& output, Encoding encoding, std::string nullText, const InputFile& input,
             const LineSource& source);

    bool Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) override;
    bool Commit(std::string* pError) override;
    void Abandon() override { output_.Abandon(); }
    bool WritesThrough() const override { return output_.WritesThrough(); }
    uint64_t RecordsWritten() const override { return iWritten_; }
    std::string AbandonedNote() const override;

private:
    void Start();  // the byte-order mark, before the first line

    OutputFile& output_;
    Encoding encoding_;
    std::string nullText_;
    const InputFile& input_;
    const LineSource& source_;
    bool bStarted_ = false;
    uint64_t iWritten_ = 0;
};

}  // namespace nidmask

#endif
