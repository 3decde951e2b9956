// Splitting blocks of input into lines without copying them.
#include "line_reader.h"

#include <cstring>

namespace nidmask {

namespace {
constexpr size_t kBlock = 1 << 20;
}

LineReader::LineReader(InputFile& input) : input_(input), buffer_(kBlock) {}

void LineReader::Restart() {
    iBegin_ = iEnd_ = 0;
    bEof_ = false;
}

bool LineReader::Fill(std::string* pError) {
    if (bEof_) return false;
    // Keep the unread part, at the start of the buffer, and grow the buffer
    // when a single line fills it.
    if (iBegin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + iBegin_, iEnd_ - iBegin_);
        iEnd_ -= iBegin_;
        iBegin_ = 0;
    }
    if (iEnd_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    const long n = input_.Read(buffer_.data() + iEnd_, buffer_.size() - iEnd_, pError);
    if (n < 0) return false;
    if (n == 0) {
        bEof_ = true;
        return false;
    }
    iEnd_ += static_cast<size_t>(n);
    return true;
}

bool LineReader::Next(std::string_view* pLine, LineEnd* pEnd, std::string* pError) {
    size_t iScanned = iBegin_;
    for (;;) {
        const char* pStart = buffer_.data() + iScanned;
        const auto* pNewline = static_cast<const char*>(std::memchr(pStart, '\n', iEnd_ - iScanned));
        if (pNewline != nullptr) {
            const size_t iNewline = static_cast<size_t>(pNewline - buffer_.data());
            size_t iLineEnd = iNewline;
            *pEnd = LineEnd::Lf;
            if (iLineEnd > iBegin_ && buffer_[iLineEnd - 1] == '\r') --iLineEnd, *pEnd = LineEnd::CrLf;
            *pLine = std::string_view(buffer_.data() + iBegin_, iLineEnd - iBegin_);
            iBegin_ = iNewline + 1;
            return true;
        }
        const size_t iUnscanned = iEnd_ - iBegin_;
        if (!Fill(pError)) {
            if (!pError->empty()) return false;
            if (iEnd_ == iBegin_) return false;
            // The last line, without a newline (a CR there is not part of the value).
            size_t iLineEnd = iEnd_;
            *pEnd = LineEnd::None;
            if (buffer_[iLineEnd - 1] == '\r') --iLineEnd;
            *pLine = std::string_view(buffer_.data() + iBegin_, iLineEnd - iBegin_);
            iBegin_ = iEnd_;
            return true;
        }
        iScanned = iBegin_ + iUnscanned;
    }
}

}  // namespace nidmask
