// Output with write(2); atomic files through a temporary file and rename.
// The temporary file has no name until the run ends (O_TMPFILE), so that a
// process killed by any signal leaves nothing behind; where the file system
// cannot do that, it is named from the start (mkstemp) and removed again if
// the process is interrupted by SIGINT, SIGTERM or SIGHUP.
#include "output_file.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

namespace nidmask {

namespace {

// The temporary file to remove when a signal ends the process (one at a time).
char g_interruptedTemp[4096];

void RemoveTempAndDie(int signal) {
    if (g_interruptedTemp[0] != '\0') unlink(g_interruptedTemp);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void WatchTemp(const std::string& path) {
    if (path.size() >= sizeof(g_interruptedTemp)) return;
    std::memcpy(g_interruptedTemp, path.c_str(), path.size() + 1);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, RemoveTempAndDie);
}

void UnwatchTemp() {
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);
    g_interruptedTemp[0] = '\0';
}

// The umask the process started with, once NarrowUmask has run.
mode_t g_startUmask = 0;
bool g_bUmaskNarrowed = false;

// An unnamed file in `dir`, or -1 where the file system cannot make one
// (or /proc, through which it is named at the end, is not there).
int OpenUnnamed(const std::string& dir) {
    if (access("/proc/self/fd", X_OK) != 0) return -1;
    return open(dir.empty() ? "." : dir.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
}

// Six random letters and digits: a temporary file's name ends with them.
std::string RandomEnd() {
    static const char kCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static std::mt19937 generator{std::random_device{}()};
    std::uniform_int_distribution<size_t> pick(0, sizeof kCharacters - 2);
    std::string end;
    for (int i = 0; i < 6; ++i) end += kCharacters[pick(generator)];
    return end;
}

// The mode a new output file gets: 0666 less the umask the process started with.
mode_t NewFileMode() {
    mode_t mask = g_startUmask;
    if (!g_bUmaskNarrowed) {
        mask = umask(0);
        umask(mask);
    }
    return 0666 & ~mask;
}

// The file a symlink finally names (relative links are relative to the
// link's directory), or the path itself.
std::string FollowLinks(const std::string& path) {
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat info {};
        if (lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return current;
        std::vector<char> target(static_cast<size_t>(info.st_size > 0 ? info.st_size : 4096) + 1);
        const ssize_t n = readlink(current.c_str(), target.data(), target.size() - 1);
        if (n < 0) return current;
        const std::string link(target.data(), static_cast<size_t>(n));
        const size_t slash = current.rfind('/');
        current = link.front() == '/' || slash == std::string::npos ? link : current.substr(0, slash + 1) + link;
    }
    return current;
}

// A stream connection to the UNIX socket at `path` (a datagram one when the
// socket takes datagrams), or -1 with errno set.
int ConnectSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
        const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
        if (fd < 0) return -1;
        if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
        const int iError = errno;
        close(fd);
        errno = iError;
        if (iError != EPROTOTYPE) return -1;
    }
    return -1;
}

}  // namespace

void NarrowUmask() {
    g_startUmask = umask(077);
    g_bUmaskNarrowed = true;
}

OutputFile::~OutputFile() { Abandon(); }

bool OutputFile::Open(const std::string& path, bool bAtomic, std::string* pError) {
    bOpen_ = true;
    if (path.empty() || path == "-") {
        fd_ = STDOUT_FILENO;
        path_ = "standard output";
        return true;
    }
    path_ = path;
    bOwned_ = true;
    // What the path finally names (links followed): a device, FIFO or socket
    // is opened through the path as given (/dev/stdout onto a pipe works so),
    // a regular file or a new path through the file a symlink names.
    struct stat info {};
    const bool bExists = stat(path.c_str(), &info) == 0;
    if (bExists && S_ISSOCK(info.st_mode)) {
        fd_ = ConnectSocket(path);
    } else if (bExists && !S_ISREG(info.st_mode)) {
        fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);  // a FIFO blocks here until its reader comes
    } else if (!bAtomic) {
        fd_ = open(FollowLinks(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd_ >= 0) fchmod(fd_, 0600);  // it may hold identifiers
    } else {
        const std::string target = FollowLinks(path);
        const size_t slash = target.rfind('/');
        const std::string dir = slash == std::string::npos ? "" : target.substr(0, slash + 1);
        const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
        tempPrefix_ = dir + "." + base + ".nidmask-";
        fd_ = OpenUnnamed(dir);  // mode 0600
        bUnnamed_ = fd_ >= 0;
        if (!bUnnamed_) {
            std::string temp = tempPrefix_ + "XXXXXX";
            std::vector<char> name(temp.begin(), temp.end());
            name.push_back('\0');
            fd_ = mkstemp(name.data());  // mode 0600
            if (fd_ >= 0) {
                tempPath_ = name.data();
                WatchTemp(tempPath_);
            }
        }
        if (fd_ >= 0) {
            bAtomic_ = true;
            finalPath_ = target;
            finalMode_ = bExists ? info.st_mode & 07777 : NewFileMode();
            if (bExists) finalOwner_ = {info.st_uid, info.st_gid};
        }
    }
    if (fd_ < 0) {
        *pError = "cannot write " + path + ": " + std::strerror(errno);
        bOpen_ = false;
        return false;
    }
    return true;
}

void OutputFile::OpenInMemory() {
    bOpen_ = true;
    bMemory_ = true;
    path_ = "memory";
}

bool OutputFile::CopyFrom(int fd, uint64_t size, bool* pbEnded) {
    *pbEnded = false;
    if (!Flush()) return false;
    while (size > 0) {
        if (!bNoSplice_) {
            const ssize_t n = splice(fd, nullptr, fd_, nullptr, size, SPLICE_F_MOVE);
            if (n > 0) {
                size -= static_cast<uint64_t>(n);
                continue;
            }
            if (n == 0) {
                *pbEnded = true;
                return false;
            }
            if (errno == EINTR) continue;
            if (errno != EINVAL) {
                error_ = "cannot write " + path_ + ": " + std::strerror(errno);
                return false;
            }
            bNoSplice_ = true;  // a terminal, or a file opened to append: read and write instead
        }
        constexpr uint64_t kPiece = 1 << 16;
        buffer_.resize(static_cast<size_t>(size < kPiece ? size : kPiece));
        const ssize_t n = read(fd, buffer_.data(), buffer_.size());
        if (n <= 0) {
            buffer_.clear();
            if (n < 0 && errno == EINTR) continue;
            *pbEnded = true;
            return false;
        }
        buffer_.resize(static_cast<size_t>(n));
        if (!Flush()) return false;
        size -= static_cast<uint64_t>(n);
    }
    return true;
}

bool OutputFile::Flush() {
    if (bMemory_) return true;
    if (!error_.empty()) return false;
    size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t n = write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            error_ = "cannot write " + path_ + ": " + std::strerror(errno);
            buffer_.clear();
            return false;
        }
        done += static_cast<size_t>(n);
    }
    buffer_.clear();
    return true;
}

bool OutputFile::Commit(std::string* pError) {
    if (!bOpen_) return true;
    const bool bReplaces = bUnnamed_ || !tempPath_.empty();
    bool bOk = Flush();
    if (bOk && bReplaces && fchmod(fd_, finalMode_) != 0) {
        error_ = "cannot set the mode of " + path_ + ": " + std::strerror(errno);
        bOk = false;
    }
    // The replaced file's owner and group, where the process may give them
    // (root may; others keep their own, as any program replacing a file).
    if (bOk && bReplaces && finalOwner_) {
        if (fchown(fd_, finalOwner_->first, finalOwner_->second) != 0) (void)fchown(fd_, -1, finalOwner_->second);
    }
    if (bOk && bUnnamed_) bOk = NameUnnamed();
    if (bOk && bOwned_ && close(fd_) != 0) {
        error_ = "cannot write " + path_ + ": " + std::strerror(errno);
        bOk = false;
    }
    if (bOwned_) bOwned_ = false, fd_ = -1;
    if (bOk && !tempPath_.empty()) {
        if (rename(tempPath_.c_str(), finalPath_.c_str()) != 0) {
            error_ = "cannot rename " + tempPath_ + " to " + finalPath_ + ": " + std::strerror(errno);
            bOk = false;
        } else {
            tempPath_.clear();
            UnwatchTemp();
        }
    }
    if (!bOk) {
        *pError = error_;
        Abandon();
        return false;
    }
    bOpen_ = false;
    return true;
}

// Gives the unnamed file a temporary name beside the target (a link cannot
// replace a file; the rename that follows does).
bool OutputFile::NameUnnamed() {
    const std::string self = "/proc/self/fd/" + std::to_string(fd_);
    for (int iTry = 0; iTry < 100; ++iTry) {
        const std::string name = tempPrefix_ + RandomEnd();
        if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            bUnnamed_ = false;
            tempPath_ = name;
            WatchTemp(tempPath_);
            return true;
        }
        if (errno != EEXIST) break;
    }
    error_ = "cannot name the output beside " + finalPath_ + ": " + std::strerror(errno);
    return false;
}

void OutputFile::Abandon() {
    // What goes straight to its reader was written already as far as the
    // run is concerned: it leaves; a temporary file is removed.
    if (bOpen_ && !bAtomic_ && fd_ >= 0) Flush();
    buffer_.clear();
    if (bOwned_ && fd_ >= 0) close(fd_);
    bOwned_ = false;
    fd_ = -1;
    bUnnamed_ = false;  // closed: gone
    if (!tempPath_.empty()) {
        unlink(tempPath_.c_str());
        tempPath_.clear();
        UnwatchTemp();
    }
    bOpen_ = false;
}

std::string AbandonedOutputNote(const OutputFile& output, uint64_t iWritten) {
    if (!output.WritesThrough()) return output.Name() + " is left as it was";
    return std::to_string(iWritten) + (iWritten == 1 ? " record was" : " records were") + " written to " +
           output.Name();
}

}  // namespace nidmask
