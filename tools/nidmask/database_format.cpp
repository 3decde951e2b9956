// SQLite tables, a batch of rows at a time.
#include "database_format.h"

#include <cerrno>
#include <cstdlib>

#include "host_messages.h"
#include "text_codec.h"

namespace nidmask {

bool DbSource::Read(RecordBatch* pBatch, size_t iMax, std::string* pError) {
    const long n = table_.ReadBatch(iMax, &nulls_, &texts_, pError);
    if (n < 0) return false;
    for (size_t c = 0; c < pBatch->cells.size(); ++c) {
        for (size_t i = 0; i < static_cast<size_t>(n); ++i) {
            hostkit::CellValue& value = pBatch->cells[c][i];
            value.bNull = nulls_[c][i] != 0;
            value.text.clear();
            if (!value.bNull && !DecodeText(texts_[c][i], Encoding::Utf8, &value.text)) {
                value.text.clear();
                pBatch->refused[c][i] = hostkit::RefusedValue(hostkit::kHostMsgInvalidUtf8);
            }
        }
    }
    pBatch->n = static_cast<size_t>(n);
    iRead_ += static_cast<uint64_t>(n);
    return true;
}

bool DbSink::Write(const RecordBatch& batch, const std::vector<ServedColumn>& columns, std::string* pError) {
    for (size_t i = 0; i < batch.n; ++i) {
        for (size_t c = 0; c < columns.size(); ++c) {
            bool bOk = true;
            switch (columns[c].Action(i)) {
                case CellAction::StopUnserved: return true;
                case CellAction::WriteResult: {
                    result_.clear();
                    AppendText(columns[c].Output(i), Encoding::Utf8, &result_);
                    // Numbers of numeric types go back as integers when they fit.
                    if (bNumeric_[c] && !result_.empty() && result_.size() <= 19) {
                        errno = 0;
                        char* pEnd = nullptr;
                        const long long value = std::strtoll(result_.c_str(), &pEnd, 10);
                        if (errno == 0 && *pEnd == '\0') {
                            bOk = table_.StageInteger(i, c, value, pError);
                            break;
                        }
                    }
                    bOk = table_.StageText(i, c, result_, pError);
                    break;
                }
                case CellAction::WriteNull:
                    bOk = batch.cells[c][i].bNull || table_.StageNull(i, c, pError);
                    break;
                case CellAction::WriteEmpty: bOk = table_.StageText(i, c, "", pError); break;
                default: break;  // the source stays; a table row cannot be left out
            }
            if (!bOk) return false;
        }
        ++iWritten_;
    }
    return true;
}

}  // namespace nidmask
