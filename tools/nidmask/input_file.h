// An input file or standard input, read in large blocks.
#ifndef NIDMASK_INPUT_FILE_H
#define NIDMASK_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace nidmask {

class InputFile {
public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    // Opens `path`; "" or "-" is standard input. False with a message.
    bool Open(const std::string& path, std::string* pError);

    // A worker's share of an input (parallel_run.h): the next `size` bytes
    // of `fd`, read at `offset` (pread) when it is not negative, else as
    // they come; no byte-order mark is looked for. `name` is the input's,
    // for messages. The descriptor stays open.
    void Attach(int fd, const std::string& name, int64_t offset, uint64_t size);

    // The descriptor, and the offset in it of the next byte Read returns
    // (-1 unless the input is a regular file that can be read again there).
    int Descriptor() const { return fd_; }
    int64_t NextOffset() const { return iStartOffset_ < 0 ? -1 : iStartOffset_ + static_cast<int64_t>(iBytesRead_); }

    // Reads up to `size` bytes: the count, 0 at the end, -1 on an error
    // (*pError set). A UTF-8 byte-order mark at the start of the input is
    // not returned: HadByteOrderMark() tells, after the first Read.
    long Read(char* pBuffer, size_t size, std::string* pError);
    bool HadByteOrderMark() const { return bByteOrderMark_; }

    // "standard input" or the path, for messages.
    const std::string& Name() const { return name_; }
    uint64_t BytesRead() const { return iBytesRead_; }
    // The size of a regular file, 0 when unknown (pipes, terminals).
    uint64_t TotalBytes() const { return iTotalBytes_; }

private:
    long ReadSome(char* pBuffer, size_t size, std::string* pError);

    int fd_ = -1;
    bool bStarted_ = false;
    bool bByteOrderMark_ = false;
    bool bOwned_ = false;
    std::string name_;
    uint64_t iBytesRead_ = 0;
    uint64_t iTotalBytes_ = 0;
    int64_t iStartOffset_ = -1;  // a regular file: the offset of its first byte read
    int64_t iAt_ = -1;           // Attach with an offset: where the next byte is
    uint64_t iLeft_ = 0;         // Attach: the bytes left
    bool bLimited_ = false;      // Attach
};

}  // namespace nidmask

#endif
