// Lines of an input file: LF or CRLF ends, the last line counted even
// without a newline.
#ifndef NIDMASK_LINE_READER_H
#define NIDMASK_LINE_READER_H

#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"

namespace nidmask {

class LineReader {
public:
    explicit LineReader(InputFile& input);

    // The next line without its line end, valid until the next call. False at
    // the end of input, or on a read error with *pError set.
    bool Next(std::string_view* pLine, std::string* pError);

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
