// Lines of an input file: LF or CRLF ends (each line's own is reported),
// the last line counted even without a newline.
#ifndef NIDMASK_LINE_READER_H
#define NIDMASK_LINE_READER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"

namespace nidmask {

// How a line ends, so that it can be written back ending the same way.
enum class LineEnd : uint8_t { Lf, CrLf, None };

// The bytes of a line end.
inline std::string_view LineEndText(LineEnd end) {
    return end == LineEnd::Lf ? std::string_view("\n") : end == LineEnd::CrLf ? std::string_view("\r\n") : std::string_view();
}

class LineReader {
public:
    explicit LineReader(InputFile& input);

    // The next line without its line end, valid until the next call, and
    // its end in *pEnd: LF, CRLF, or none for a last line without one. False
    // at the end of input, or on a read error with *pError set.
    bool Next(std::string_view* pLine, LineEnd* pEnd, std::string* pError);

    // Reads the input afresh from its next byte, as from its start (a
    // worker's next chunk): the buffer is kept.
    void Restart();

private:
    bool Fill(std::string* pError);  // more bytes after the unread ones; false at the end or on error

    InputFile& input_;
    std::vector<char> buffer_;
    size_t iBegin_ = 0;  // first unread byte
    size_t iEnd_ = 0;    // end of the bytes read
    bool bEof_ = false;
};

}  // namespace nidmask

#endif
