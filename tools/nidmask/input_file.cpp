// Reading input with read(2), retried on interruption.
#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace nidmask {

InputFile::~InputFile() {
    if (bOwned_ && fd_ >= 0) close(fd_);
}

bool InputFile::Open(const std::string& path, std::string* pError) {
    if (path.empty() || path == "-") {
        fd_ = STDIN_FILENO;
        name_ = "standard input";
    } else {
        fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        name_ = path;
        if (fd_ < 0) {
            *pError = "cannot open " + path + ": " + std::strerror(errno);
            return false;
        }
        bOwned_ = true;
    }
    struct stat info {};
    if (fstat(fd_, &info) == 0 && S_ISREG(info.st_mode)) {
        iTotalBytes_ = static_cast<uint64_t>(info.st_size);
        const off_t at = lseek(fd_, 0, SEEK_CUR);
        if (at >= 0) iStartOffset_ = at;
    }
    posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
    return true;
}

void InputFile::Attach(int fd, const std::string& name, int64_t offset, uint64_t size) {
    fd_ = fd;
    name_ = name;
    bStarted_ = true;
    bLimited_ = true;
    iAt_ = offset;
    iLeft_ = size;
}

long InputFile::Read(char* pBuffer, size_t size, std::string* pError) {
    if (bStarted_ || size < 3) return ReadSome(pBuffer, size, pError);
    bStarted_ = true;
    // The first three bytes (or all there is) tell whether a mark is there.
    size_t got = 0;
    while (got < 3) {
        const long n = ReadSome(pBuffer + got, size - got, pError);
        if (n < 0) return -1;
        if (n == 0) break;
        got += static_cast<size_t>(n);
    }
    if (got >= 3 && std::memcmp(pBuffer, "\xEF\xBB\xBF", 3) == 0) {
        bByteOrderMark_ = true;
        got -= 3;
        std::memmove(pBuffer, pBuffer + 3, got);
        if (got == 0) return ReadSome(pBuffer, size, pError);
    }
    return static_cast<long>(got);
}

long InputFile::ReadSome(char* pBuffer, size_t size, std::string* pError) {
    if (bLimited_ && size > iLeft_) size = static_cast<size_t>(iLeft_);
    if (size == 0) return 0;
    for (;;) {
        const ssize_t n = iAt_ >= 0 ? pread(fd_, pBuffer, size, iAt_) : read(fd_, pBuffer, size);
        if (n >= 0) {
            iBytesRead_ += static_cast<uint64_t>(n);
            if (bLimited_) {
                iLeft_ -= static_cast<uint64_t>(n);
                if (iAt_ >= 0) iAt_ += n;
            }
            return static_cast<long>(n);
        }
        if (errno == EINTR) continue;
        *pError = "cannot read " + name_ + ": " + std::strerror(errno);
        return -1;
    }
}

}  // namespace nidmask
