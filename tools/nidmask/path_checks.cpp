// Comparing paths by the file they name.
#include "path_checks.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>

namespace nidmask {

namespace {

struct Identity {
    bool bExists = false;
    bool bShareable = false;  // a character device
    dev_t device = 0;
    ino_t inode = 0;
    std::string resolved;     // for a path that does not exist yet
};

Identity IdentityOf(const std::string& path) {
    Identity identity;
    struct stat info {};
    if (stat(path.c_str(), &info) == 0) {
        identity.bExists = true;
        identity.bShareable = S_ISCHR(info.st_mode);
        identity.device = info.st_dev;
        identity.inode = info.st_ino;
        return identity;
    }
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    char resolved[PATH_MAX];
    identity.resolved = (realpath(dir.c_str(), resolved) != nullptr ? std::string(resolved) : dir) + "/" +
                        (slash == std::string::npos ? path : path.substr(slash + 1));
    return identity;
}

bool SameFile(const Identity& a, const Identity& b) {
    if (a.bExists != b.bExists) return false;
    if (a.bExists) return !a.bShareable && a.device == b.device && a.inode == b.inode;
    return a.resolved == b.resolved;
}

}  // namespace

std::string SameFileProblem(const std::vector<std::pair<std::string, std::string>>& paths) {
    std::vector<Identity> identities;
    for (const auto& [option, path] : paths) identities.push_back(IdentityOf(path));
    for (size_t i = 0; i < paths.size(); ++i) {
        for (size_t j = i + 1; j < paths.size(); ++j) {
            const auto& [a, pathA] = paths[i];
            const auto& [b, pathB] = paths[j];
            if (pathA.empty() || pathA == "-" || pathB.empty() || pathB == "-") continue;
            if ((a == "INPUT" && b == "-o") || (a == "-o" && b == "INPUT")) continue;
            if (SameFile(identities[i], identities[j]))
                return a + " and " + b + " name the same file (" + pathB + "); give them different files";
        }
    }
    return "";
}

}  // namespace nidmask
