// Delimited files, a batch of records at a time.
#include "csv_format.h"

#include <algorithm>
#include <cctype>

#include "csv_field.h"
#include "host_messages.h"

namespace nidmask {

namespace {

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// Levenshtein distance, ignoring ASCII case: how near a name is to another.
size_t Distance(std::string_view a, std::string_view b) {
    const std::string x = Lower(a), y = Lower(b);
    std::vector<size_t> row(y.size() + 1);
    for (size_t j = 0; j <= y.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= x.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= y.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[y.size()];
}

std::string DelimiterName(char c) { return c == '\t' ? "tab" : std::string(1, c); }

}  // namespace

CsvSource::CsvSource(InputFile& input, char cDelimiter, std::string nullText)
    : input_(input), reader_(input, true, cDelimiter), cDelimiter_(cDelimiter), nullText_(std::move(nullText)) {}

bool CsvSource::ReadHeader(std::string* pError) {
    bHeader_ = reader_.Next(&header_, pError);
    return pError->empty();
}

long CsvSource::ResolveColumn(const std::string& given, std::string* pError) const {
    const size_t nFields = bHeader_ ? header_.FieldCount() : 0;
    if (given.empty()) return 0;
    if (given.find_first_not_of("0123456789") == std::string::npos) {
        const long iNumber = given.size() > 9 ? 0 : std::stol(given);
        if (iNumber < 1) {
            *pError = "--column " + given + ": column numbers start at 1";
            return -1;
        }
        if (bHeader_ && static_cast<size_t>(iNumber) > nFields) {
            *pError = "--column " + given + ": the header has " + std::to_string(nFields) + " columns";
            return -1;
        }
        return iNumber - 1;
    }
    if (!bHeader_) {
        *pError = "--column " + given + ": the input has no header to find the name in";
        return -1;
    }
    for (size_t i = 0; i < nFields; ++i)
        if (header_.Value(i) == given) return static_cast<long>(i);
    long iFound = -1;
    for (size_t i = 0; i < nFields; ++i) {
        if (Lower(header_.Value(i)) != Lower(given)) continue;
        if (iFound >= 0) {
            *pError = "--column " + given + ": the header has several columns of that name in other cases";
            return -1;
        }
        iFound = static_cast<long>(i);
    }
    if (iFound >= 0) return iFound;
    std::string names;
    size_t iNearest = 0;
    for (size_t i = 0; i < nFields; ++i) {
        names += (i == 0 ? "" : ", ") + std::string(header_.Value(i));
        if (Distance(header_.Value(i), given) < Distance(header_.Value(iNearest), given)) iNearest = i;
    }
    *pError = "--column " + given + ": the header has no such column (it has " + names + ")";
    if (nFields > 0) *pError += "; did you mean " + std::string(header_.Value(iNearest)) + "?";
    return -1;
}

std::string CsvSource::HeaderProblem() const {
    if (!bHeader_ || header_.FieldCount() != 1) return "";
    const std::string_view name = header_.Value(0);
    for (const char c : {',', ';', '\t', '|'}) {
        if (c == cDelimiter_ || name.find(c) == std::string_view::npos) continue;
        return "the header has a single column, '" + std::string(name.substr(0, 60)) + "': is the delimiter '" +
               DelimiterName(c) + "'? (--delimiter " + (c == '\t' ? "tab" : "'" + std::string(1, c) + "'") + ")";
    }
    return "";
}

void CsvSource::SetColumns(std::vector<size_t> columns, std::vector<Encoding> encodings) {
    columns_ = std::move(columns);
    encodings_ = std::move(encodings);
    bytes_.fields.assign(columns_.size(), {});
    reader_.SetHeader(bHeader_);
}

bool CsvSource::MoreLeft() {
    if (bPending_) return true;
    std::string error;
    bPending_ = reader_.Next(&record_, &error);
    return bPending_;
}

bool CsvSource::Read(RecordBatch* pBatch, size_t iMax, std::string* pError) {
    bytes_.raw.clear();
    bytes_.records.clear();
    for (auto& fields : bytes_.fields) fields.clear();
    size_t n = 0;
    while (n < iMax) {
        if (bPending_) {
            bPending_ = false;
        } else if (!reader_.Next(&record_, pError)) {
            if (!pError->empty()) return false;
            break;
        }
        const size_t base = bytes_.raw.size();
        bytes_.raw += record_.raw;
        bytes_.records.emplace_back(base, bytes_.raw.size());
        for (size_t c = 0; c < columns_.size(); ++c) {
            const size_t column = columns_[c];
            hostkit::CellValue& value = pBatch->cells[c][n];
            value.bNull = false;
            value.text.clear();
            CsvBatchBytes::Field field;
            if (column >= record_.FieldCount()) {
                pBatch->refused[c][n] = RefusedValue(kHostMsgMissingField, static_cast<uint32_t>(record_.FieldCount()));
            } else {
                field = {base + record_.spans[column].first, base + record_.spans[column].second,
                         record_.Quoted(column), true};
                const std::string_view text = record_.Value(column);
                value.bNull = !field.bQuoted && text == nullText_;
                if (!value.bNull && !DecodeText(text, encodings_[c], &value.text)) {
                    value.text.clear();
                    pBatch->refused[c][n] = RefusedValue(kHostMsgInvalidUtf8);
                }
            }
            bytes_.fields[c].push_back(field);
        }
        ++n;
    }
    pBatch->n = n;
    return true;
}

CsvSink::CsvSink(OutputFile& output, const CsvSource& source, char cDelimiter, std::string nullText,
                 std::vector<Encoding> encodings)
    : output_(output),
      source_(source),
      cDelimiter_(cDelimiter),
      nullText_(std::move(nullText)),
      encodings_(std::move(encodings)) {}

void CsvSink::Start() {
    if (bStarted_) return;
    bStarted_ = true;
    std::string& out = output_.Buffer();
    if (source_.HadByteOrderMark()) out += "\xEF\xBB\xBF";
    if (source_.Header() != nullptr) out += source_.Header()->raw;
}

bool CsvSink::Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) {
    Start();
    const CsvBatchBytes& bytes = source_.Bytes();
    const std::string_view raw(bytes.raw);
    std::string& out = output_.Buffer();
    // The columns in the order their fields come in a record.
    std::vector<size_t> order(columns.size());
    for (size_t c = 0; c < order.size(); ++c) order[c] = c;
    for (size_t i = 0; i < batch.n; ++i) {
        bool bStop = false, bDrop = false;
        for (const ServedColumn& column : columns) {
            const CellAction action = column.Action(i);
            bStop = bStop || action == CellAction::StopUnserved;
            bDrop = bDrop || action == CellAction::Drop;
        }
        if (bStop) break;
        if (bDrop) continue;
        std::sort(order.begin(), order.end(),
                  [&](size_t a, size_t b) { return bytes.fields[a][i].iBegin < bytes.fields[b][i].iBegin; });
        size_t at = bytes.records[i].first;
        for (const size_t c : order) {
            const CsvBatchBytes::Field& field = bytes.fields[c][i];
            if (!field.bPresent) continue;
            out.append(raw.substr(at, field.iBegin - at));
            at = field.iEnd;
            const CellAction action = columns[c].Action(i);
            if (action == CellAction::WriteSource) {
                out.append(raw.substr(field.iBegin, field.iEnd - field.iBegin));
            } else if (action == CellAction::WriteNull) {
                out += nullText_;
            } else {
                value_.clear();
                if (action == CellAction::WriteResult) AppendText(columns[c].Output(i), encodings_[c], &value_);
                // A value that reads like the NULL text is quoted, so that it reads back as a value.
                AppendCsvField(value_, field.bQuoted || value_ == nullText_, &out, cDelimiter_);
            }
        }
        out.append(raw.substr(at, bytes.records[i].second - at));
        ++iWritten_;
    }
    output_.MaybeFlush();
    if (!output_.Error().empty()) {
        *pError = output_.Error();
        return false;
    }
    return true;
}

bool CsvSink::Commit(std::string* pError) {
    Start();
    return output_.Commit(pError);
}

std::string CsvSink::AbandonedNote() const { return AbandonedOutputNote(output_, iWritten_); }

}  // namespace nidmask
