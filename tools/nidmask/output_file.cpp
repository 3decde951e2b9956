// Output with write(2); atomic files through mkstemp and rename, removed
// again if the process is interrupted by SIGINT, SIGTERM or SIGHUP.
#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
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

// The mode a new file gets (0666 less the umask), or the mode of the file it replaces.
mode_t ModeFor(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) return info.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

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
    if (!bAtomic) {
        fd_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    } else {
        const size_t slash = path.rfind('/');
        const std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
        const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
        std::string temp = dir + "." + base + ".nidmask-XXXXXX";
        std::vector<char> name(temp.begin(), temp.end());
        name.push_back('\0');
        fd_ = mkstemp(name.data());
        if (fd_ >= 0) {
            tempPath_ = name.data();
            WatchTemp(tempPath_);
            fchmod(fd_, ModeFor(path));
        }
    }
    if (fd_ < 0) {
        *pError = "cannot write " + path + ": " + std::strerror(errno);
        bOpen_ = false;
        return false;
    }
    return true;
}

bool OutputFile::Flush() {
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
    bool bOk = Flush();
    if (bOk && bOwned_ && close(fd_) != 0) {
        error_ = "cannot write " + path_ + ": " + std::strerror(errno);
        bOk = false;
    }
    if (bOwned_) bOwned_ = false, fd_ = -1;
    if (bOk && !tempPath_.empty()) {
        if (rename(tempPath_.c_str(), path_.c_str()) != 0) {
            error_ = "cannot rename " + tempPath_ + " to " + path_ + ": " + std::strerror(errno);
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

void OutputFile::Abandon() {
    buffer_.clear();
    if (bOwned_ && fd_ >= 0) close(fd_);
    bOwned_ = false;
    fd_ = -1;
    if (!tempPath_.empty()) {
        unlink(tempPath_.c_str());
        tempPath_.clear();
        UnwatchTemp();
    }
    bOpen_ = false;
}

}  // namespace nidmask
