// Key files.
#include "key_file.h"

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include <openssl/crypto.h>

#include "masking_settings.h"

namespace nidmask {

namespace {

// What the permission bits `bits` (read 4, write 2, execute 1) allow, e.g.
// "read and written".
std::string Access(mode_t bits) {
    std::vector<const char*> verbs;
    if (bits & 4) verbs.push_back("read");
    if (bits & 2) verbs.push_back("written");
    if (bits & 1) verbs.push_back("executed");
    std::string text;
    for (size_t i = 0; i < verbs.size(); ++i)
        text += std::string(i == 0 ? "" : i + 1 == verbs.size() ? " and " : ", ") + verbs[i];
    return text;
}

// Who besides the owner may do what with a file of this mode, e.g. "read by
// its group and read and written by others" (some bit of 077 is set).
std::string OthersAccess(mode_t mode) {
    const mode_t group = (mode >> 3) & 7, others = mode & 7;
    if (group == others) return Access(group) + " by its group and by others";
    std::string text;
    if (group != 0) text = Access(group) + " by its group";
    if (others != 0) text += (text.empty() ? "" : " and ") + Access(others) + " by others";
    return text;
}

}  // namespace

bool ReadKeyFile(const std::string& path, std::vector<uint8_t>* pKey, std::string* pError) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        *pError = "cannot read " + path;
        return false;
    }
    if ((info.st_mode & 077) != 0) {
        *pError = path + " can be " + OthersAccess(info.st_mode) + ": chmod 600 " + path;
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    std::string content = text.str();
    std::string error;
    const bool bOk = hostkit::ParseKey(content, pKey, &error);
    OPENSSL_cleanse(content.data(), content.size());
    if (!bOk) *pError = path + ": " + error;
    return bOk;
}

int GenerateKey() {
    uint8_t key[32];
    if (getrandom(key, sizeof key, 0) != static_cast<ssize_t>(sizeof key)) {
        std::fputs("nidmask: the system's random source failed\n", stderr);
        return 4;
    }
    // A file the shell has just made for the key (`nidmask keygen > FILE`)
    // is closed to group and others before the key goes in, as a key file
    // must be; anything else (a terminal, a pipe, a file with data) is left.
    struct stat info {};
    if (fstat(STDOUT_FILENO, &info) == 0 && S_ISREG(info.st_mode) && info.st_size == 0 && info.st_uid == geteuid())
        (void)fchmod(STDOUT_FILENO, info.st_mode & 0700);
    for (const uint8_t b : key) std::printf("%02x", b);
    std::printf("\n");
    OPENSSL_cleanse(key, sizeof key);
    return std::fflush(stdout) == 0 ? 0 : 4;
}

}  // namespace nidmask
