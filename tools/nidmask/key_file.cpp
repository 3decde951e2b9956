// Key files.
#include "key_file.h"

#include <sys/random.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include <openssl/crypto.h>

#include "masking_settings.h"

namespace nidmask {

bool ReadKeyFile(const std::string& path, std::vector<uint8_t>* pKey, std::string* pError) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        *pError = "cannot read " + path;
        return false;
    }
    if ((info.st_mode & 077) != 0) {
        *pError = path + " can be read by others than its owner: chmod 600 " + path;
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
    for (const uint8_t b : key) std::printf("%02x", b);
    std::printf("\n");
    OPENSSL_cleanse(key, sizeof key);
    return std::fflush(stdout) == 0 ? 0 : 4;
}

}  // namespace nidmask
