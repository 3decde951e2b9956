// Buffered output to standard output or a file. A file can be written
// atomically: to a temporary name beside it, renamed over the final name
// only by Commit, so that an interrupted or failed run never leaves a
// half-written file under that name.
#ifndef NIDMASK_OUTPUT_FILE_H
#define NIDMASK_OUTPUT_FILE_H

#include <string>
#include <string_view>

namespace nidmask {

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();  // abandons what was not committed

    // "" or "-": standard output. False with a message.
    bool Open(const std::string& path, bool bAtomic, std::string* pError);

    // Append to Buffer() and call MaybeFlush(), or use Write.
    std::string& Buffer() { return buffer_; }
    void MaybeFlush() {
        if (buffer_.size() >= kFlushAt) Flush();
    }
    void Write(std::string_view text) {
        buffer_.append(text);
        MaybeFlush();
    }

    // Writes the buffer out. False once any write has failed (see Error()).
    bool Flush();
    // Flushes and closes; an atomic file is renamed to its final name. False with a message.
    bool Commit(std::string* pError);
    // Drops the buffer and removes an atomic file's temporary file.
    void Abandon();

    const std::string& Error() const { return error_; }

private:
    static constexpr size_t kFlushAt = 1 << 20;

    int fd_ = -1;
    bool bOwned_ = false;
    bool bOpen_ = false;
    std::string path_;      // the final name
    std::string tempPath_;  // atomic: the name written to
    std::string buffer_;
    std::string error_;
};

}  // namespace nidmask

#endif
