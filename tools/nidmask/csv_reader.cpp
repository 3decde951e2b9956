// libcsv driven a field at a time: the parser is fed up to each comma, CR or
// LF, so when it reports the end of a field, that field ends at the last
// byte fed and its raw span is known.
#include "csv_reader.h"

#include <csv.h>

#include <algorithm>
#include <cstring>

namespace nidmask {

namespace {

constexpr size_t kBlock = 1 << 20;

// Blanks are data: nothing is trimmed from unquoted fields.
int NoSpace(unsigned char) { return 0; }

bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

}  // namespace

void CsvRecord::Clear() {
    raw.clear();
    spans.clear();
    values.clear();
    valueEnds.clear();
    iLine = 0;
}

CsvReader::CsvReader(InputFile& input, bool bHeader, char cDelimiter)
    : input_(input), pParser_(new csv_parser), buffer_(kBlock), bHeader_(bHeader), cDelimiter_(cDelimiter) {
    byteKinds_.fill(ByteKind::Plain);
    byteKinds_['\n'] = byteKinds_['\r'] = byteKinds_['"'] = ByteKind::Stop;
    byteKinds_[static_cast<unsigned char>(cDelimiter)] = ByteKind::Delimiter;
    InitParser();
}

void CsvReader::InitParser() {
    csv_init(pParser_, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_space_func(pParser_, NoSpace);
    csv_set_delim(pParser_, static_cast<unsigned char>(cDelimiter_));
}

void CsvReader::Restart(uint64_t iLines, uint64_t iRecords) {
    csv_free(pParser_);
    InitParser();
    iBegin_ = iEnd_ = 0;
    bEof_ = false;
    iLines_ = iLines;
    iRecords_ = iRecords;
}

CsvReader::~CsvReader() {
    csv_free(pParser_);
    delete pParser_;
}

void CsvReader::OnField(void* pData, size_t iLen, void* pSelf) {
    auto& self = *static_cast<CsvReader*>(pSelf);
    CsvRecord& record = *self.pRecord_;
    size_t begin = 0;
    if (record.spans.empty()) {
        while (begin < record.raw.size() && IsLineEnd(record.raw[begin])) ++begin;
    } else {
        begin = record.spans.back().second + 1;
    }
    // During parsing the field ends at the separator or line end just fed.
    const size_t end = self.bFinishing_ ? record.raw.size() : record.raw.size() - 1;
    record.spans.emplace_back(begin, std::max(begin, end));
    if (iLen > 0) record.values.append(static_cast<const char*>(pData), iLen);
    record.valueEnds.push_back(record.values.size());
}

void CsvReader::OnRecordEnd(int, void* pSelf) { static_cast<CsvReader*>(pSelf)->bRecordDone_ = true; }

bool CsvReader::Fill(std::string* pError) {
    if (bEof_) return false;
    iBegin_ = iEnd_ = 0;
    const long n = input_.Read(buffer_.data(), buffer_.size(), pError);
    if (n <= 0) {
        bEof_ = true;
        return false;
    }
    iEnd_ = static_cast<size_t>(n);
    return true;
}

// After a record: the rest of its line end and any blank lines belong to it
// (the parser skips them anyway), so that a record left out takes them along.
bool CsvReader::AbsorbLineEnds(std::string* pError) {
    for (;;) {
        if (iBegin_ == iEnd_ && !Fill(pError)) return pError->empty();
        size_t i = iBegin_;
        while (i < iEnd_ && IsLineEnd(buffer_[i])) ++i;
        iLines_ += static_cast<uint64_t>(std::count(buffer_.data() + iBegin_, buffer_.data() + i, '\n'));
        pRecord_->raw.append(buffer_.data() + iBegin_, i - iBegin_);
        iBegin_ = i;
        if (i < iEnd_) return true;
    }
}

// A record that starts at iBegin_ on a field, has no quote and ends with a
// line end already in the buffer is split here, as the parser would split
// it: its fields are its bytes between delimiters (nothing unquoted is
// trimmed), it ends at the first CR or LF, and the parser, which stands
// between records, is left as it is. Anything else goes to the parser.
bool CsvReader::SplitPlainRecord(CsvRecord* pRecord) {
    const char* pBegin = buffer_.data() + iBegin_;
    const char* pEnd = buffer_.data() + iEnd_;
    const char* pField = pBegin;
    const char* p = pBegin;
    for (; p < pEnd; ++p) {
        const ByteKind kind = byteKinds_[static_cast<unsigned char>(*p)];
        if (kind == ByteKind::Plain) continue;
        if (kind != ByteKind::Delimiter) break;
        pRecord->spans.emplace_back(pField - pBegin, p - pBegin);
        pRecord->values.append(pField, static_cast<size_t>(p - pField));
        pRecord->valueEnds.push_back(pRecord->values.size());
        pField = p + 1;
    }
    if (p == pEnd || *p == '"' || p == pBegin) {
        pRecord->spans.clear();  // the parser reads it
        pRecord->values.clear();
        pRecord->valueEnds.clear();
        return false;
    }
    pRecord->spans.emplace_back(pField - pBegin, p - pBegin);
    pRecord->values.append(pField, static_cast<size_t>(p - pField));
    pRecord->valueEnds.push_back(pRecord->values.size());
    const size_t iLen = static_cast<size_t>(p - pBegin) + 1;  // the line end too
    pRecord->raw.assign(pBegin, iLen);
    iBegin_ += iLen;
    if (*p == '\n') ++iLines_;
    return true;
}

bool CsvReader::Next(CsvRecord* pRecord, std::string* pError) {
    pRecord->Clear();
    pRecord->iLine = iLines_ + 1;
    pRecord_ = pRecord;
    if (bPlainSplitting_ && SplitPlainRecord(pRecord)) {
        if (!AbsorbLineEnds(pError)) return false;
        ++iRecords_;
        return true;
    }
    bRecordDone_ = false;
    bFinishing_ = false;
    const auto syntaxError = [&](const char* pWhat) {
        const std::string record = bHeader_ && iRecords_ == 0 ? "the header"
                                   : "record " + std::to_string(iRecords_ + (bHeader_ ? 0 : 1));
        *pError = input_.Name() + ": " + record + " (line " + std::to_string(iLines_ + 1) + "): " + pWhat;
        return false;
    };
    for (;;) {
        if (iBegin_ == iEnd_ && !Fill(pError)) {
            if (!pError->empty()) return false;
            // End of input: finish a record that has no line end.
            bFinishing_ = true;
            if (csv_fini(pParser_, OnField, OnRecordEnd, this) != 0 || csv_error(pParser_) == CSV_EPARSE)
                return syntaxError("a quoted field has no closing quote");
            if (!bRecordDone_) return false;
            break;
        }
        // Feed up to and including the next delimiter, CR or LF.
        size_t i = iBegin_;
        while (i < iEnd_ && buffer_[i] != cDelimiter_ && !IsLineEnd(buffer_[i])) ++i;
        const size_t iLen = (i < iEnd_ ? i + 1 : i) - iBegin_;
        const char* pChunk = buffer_.data() + iBegin_;
        pRecord->raw.append(pChunk, iLen);
        iBegin_ += iLen;
        if (csv_parse(pParser_, pChunk, iLen, OnField, OnRecordEnd, this) != iLen) {
            if (csv_error(pParser_) == CSV_EPARSE)
                return syntaxError("malformed CSV: a quote inside an unquoted field, or text after a closing quote");
            return syntaxError("out of memory");
        }
        if (pChunk[iLen - 1] == '\n') ++iLines_;
        if (bRecordDone_) {
            if (!AbsorbLineEnds(pError)) return false;
            break;
        }
    }
    ++iRecords_;
    return true;
}

}  // namespace nidmask
