// Lines in, lines out.
#include "lines_format.h"

#include "host_messages.h"

namespace nidmask {

LineSource::LineSource(InputFile& input, std::optional<uint64_t> count, Encoding encoding, std::string nullText)
    : input_(input), reader_(input), count_(count), encoding_(encoding), nullText_(std::move(nullText)) {}

void LineSource::Restart() {
    reader_.Restart();
    bPending_ = false;
}

bool LineSource::MoreLeft() {
    if (count_) return iMade_ < *count_;
    if (bPending_) return true;
    std::string error;
    bPending_ = reader_.Next(&pending_, &pendingEnd_, &error);
    return bPending_;
}

bool LineSource::Read(RecordBatch* pBatch, size_t iMax, std::string* pError) {
    std::vector<hostkit::CellValue>& values = pBatch->cells[0];
    std::vector<uint32_t>& refused = pBatch->refused[0];
    size_t n = 0;
    std::string_view line;
    LineEnd end = LineEnd::Lf;
    ends_.resize(iMax);
    while (n < iMax) {
        hostkit::CellValue& value = values[n];
        if (count_) {
            if (iMade_ >= *count_) break;
            value.bNull = true;
            value.bLatin1 = false;
            value.text.clear();
        } else {
            if (bPending_) {
                line = pending_;
                end = pendingEnd_;
                bPending_ = false;
            } else if (!reader_.Next(&line, &end, pError)) {
                if (!pError->empty()) return false;
                break;
            }
            value.bNull = line == nullText_;
            if (value.bNull) {
                value.bLatin1 = false;
                value.text.clear();
            } else if (!SetValueText(line, encoding_, &value)) {
                refused[n] = hostkit::RefusedValue(hostkit::kHostMsgInvalidUtf8);
            }
        }
        ends_[n] = end;
        ++iMade_;
        ++n;
    }
    pBatch->n = n;
    return true;
}

LineSink::LineSink(OutputFile& output, Encoding encoding, std::string nullText, const InputFile& input,
                   const LineSource& source)
    : output_(output), encoding_(encoding), nullText_(std::move(nullText)), input_(input), source_(source) {}

void LineSink::Start() {
    if (bStarted_) return;
    bStarted_ = true;
    if (input_.HadByteOrderMark()) output_.Buffer() += "\xEF\xBB\xBF";
}

bool LineSink::Commit(std::string* pError) {
    Start();  // an input of a byte-order mark alone is copied too
    return output_.Commit(pError);
}

bool LineSink::Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) {
    Start();
    std::string& out = output_.Buffer();
    const std::vector<LineEnd>& ends = source_.Ends();
    const ServedColumn& column = columns[0];
    for (size_t i = 0; i < batch.n; ++i) {
        const CellAction action = column.Action(i);
        if (action == CellAction::StopUnserved) break;
        std::string_view bytes;
        switch (action) {
            case CellAction::WriteResult:
                if (encoding_ == Encoding::Latin1 && column.OutputBytes(i, &bytes))
                    out.append(bytes);
                else
                    AppendText(column.Output(i), encoding_, &out);
                break;
            case CellAction::WriteSource: AppendValueText(batch.cells[0][i], encoding_, &out); break;
            case CellAction::WriteNull: out += nullText_; break;
            case CellAction::Drop: continue;
            default: break;
        }
        out += LineEndText(ends[i]);
        ++iWritten_;
    }
    output_.MaybeFlush();
    if (!output_.Error().empty()) {
        *pError = output_.Error();
        return false;
    }
    return true;
}

std::string LineSink::AbandonedNote() const { return AbandonedOutputNote(output_, iWritten_); }

}  // namespace nidmask
