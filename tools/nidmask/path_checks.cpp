// Comparing paths and standard streams by the file they name.
#include "path_checks.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>

namespace nidmask {

namespace {

struct Identity {
    bool bKnown = false;      // nothing to compare: no path and no stream
    bool bExists = false;
    bool bShareable = false;  // not a regular file: a device, FIFO or socket
    dev_t device = 0;
    ino_t inode = 0;
    std::string resolved;     // for a path that does not exist yet
};

Identity IdentityOf(const FileUse& use) {
    Identity identity;
    struct stat info {};
    const bool bStream = use.fd >= 0;
    if (!bStream && (use.path.empty() || use.path == "-")) return identity;
    identity.bKnown = true;
    if (bStream ? fstat(use.fd, &info) == 0 : stat(use.path.c_str(), &info) == 0) {
        identity.bExists = true;
        identity.bShareable = !S_ISREG(info.st_mode);
        identity.device = info.st_dev;
        identity.inode = info.st_ino;
        return identity;
    }
    if (bStream) {
        identity.bKnown = false;  // a closed stream names nothing
        return identity;
    }
    const size_t slash = use.path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : use.path.substr(0, slash);
    char resolved[PATH_MAX];
    identity.resolved = (realpath(dir.c_str(), resolved) != nullptr ? std::string(resolved) : dir) + "/" +
                        (slash == std::string::npos ? use.path : use.path.substr(slash + 1));
    return identity;
}

bool SameFile(const Identity& a, const Identity& b) {
    if (!a.bKnown || !b.bKnown || a.bExists != b.bExists) return false;
    if (a.bExists) return !a.bShareable && a.device == b.device && a.inode == b.inode;
    return a.resolved == b.resolved;
}

bool IsInput(const FileUse& use) { return use.option == "INPUT" || use.option == "standard input"; }

}  // namespace

std::string SameFileProblem(const std::vector<FileUse>& uses) {
    std::vector<Identity> identities;
    for (const FileUse& use : uses) identities.push_back(IdentityOf(use));
    for (size_t i = 0; i < uses.size(); ++i) {
        for (size_t j = i + 1; j < uses.size(); ++j) {
            const FileUse& a = uses[i];
            const FileUse& b = uses[j];
            if (!a.bWritten && !b.bWritten) continue;
            if ((IsInput(a) && b.option == "-o") || (a.option == "-o" && IsInput(b))) continue;
            if (!SameFile(identities[i], identities[j])) continue;
            const std::string& shown = b.fd < 0 ? b.path : a.path;
            return a.option + " and " + b.option + " name the same file" + (shown.empty() ? "" : " (" + shown + ")") +
                   "; give them different files";
        }
    }
    return "";
}

}  // namespace nidmask
