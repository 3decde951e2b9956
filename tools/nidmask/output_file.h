// Buffered output to standard output or a file, written as what the path
// is. A regular file (or a new path) can be written atomically: to a
// temporary file beside it (mode 0600 while it is written), renamed over the
// final name only by Commit with the old file's mode (or 0666 less the
// umask) and owner, so that an interrupted or failed run never leaves a
// half-written file under that name. A symlink is followed: its target is replaced, the
// link stays. A character device, FIFO or socket is written directly.
#ifndef NIDMASK_OUTPUT_FILE_H
#define NIDMASK_OUTPUT_FILE_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace nidmask {

// Sets the process umask to 077, so that every file nidmask or SQLite
// creates for itself (report, trace, temporary files) is private; output
// files still get 0666 less the umask the process started with.
void NarrowUmask();

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();  // abandons what was not committed

    // "" or "-": standard output. Without bAtomic a regular file is written
    // in place with mode 0600 (reports). False with a message.
    bool Open(const std::string& path, bool bAtomic, std::string* pError);

    // True when bytes written reach their reader at once and cannot be
    // taken back (standard output, a device, a FIFO or socket).
    bool WritesThrough() const { return !bAtomic_; }
    // "standard output" or the path given.
    const std::string& Name() const { return path_; }

    // Append to Buffer() and call MaybeFlush(), or use Write.
    std::string& Buffer() { return buffer_; }
    void MaybeFlush() {
        if (buffer_.size() >= kFlushAt) Flush();
    }
    void Write(std::string_view text) {
        buffer_.append(text);
        MaybeFlush();
    }

    // Output kept in Buffer() only, never written (a worker's share of the
    // output, which its parent writes).
    void OpenInMemory();

    // Writes what the buffer holds, then `size` bytes read from the pipe
    // `fd` (spliced where the kernel can). False when the pipe ended first
    // (*pbEnded set) or a write failed (see Error()).
    bool CopyFrom(int fd, uint64_t size, bool* pbEnded);

    // Writes the buffer out. False once any write has failed (see Error()).
    bool Flush();
    // Flushes and closes; an atomic file is renamed to its final name. False with a message.
    bool Commit(std::string* pError);
    // Drops the buffer and removes an atomic file's temporary file.
    void Abandon();

    const std::string& Error() const { return error_; }

private:
    static constexpr size_t kFlushAt = 1 << 20;

    bool NameUnnamed();

    int fd_ = -1;
    bool bOwned_ = false;
    bool bOpen_ = false;
    bool bAtomic_ = false;  // written to a temporary file, renamed at Commit
    bool bMemory_ = false;  // OpenInMemory
    bool bNoSplice_ = false;  // splice(2) refused once: read and write instead
    std::string path_;      // the path given, for messages
    std::string finalPath_; // atomic: the file renamed over (a symlink's target)
    std::string tempPath_;  // atomic: the temporary file's name, while it has one
    std::string tempPrefix_;  // atomic: the temporary file's name less its random end
    bool bUnnamed_ = false;   // atomic: an unnamed file (O_TMPFILE), named only at Commit
    mode_t finalMode_ = 0;  // atomic: the mode the file gets at Commit
    std::optional<std::pair<uid_t, gid_t>> finalOwner_;  // atomic: the replaced file's owner and group
    std::string buffer_;
    std::string error_;
};

// For messages: what an abandoned output leaves ("out.csv is left as it
// was", "12 records were written to standard output").
std::string AbandonedOutputNote(const OutputFile& output, uint64_t iWritten);

}  // namespace nidmask

#endif
