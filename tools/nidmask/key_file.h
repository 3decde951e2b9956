// Key files: reading one (a file its group or others may read, write or
// execute is refused, as ssh refuses such private keys), and making one (nidmask keygen).
#ifndef NIDMASK_KEY_FILE_H
#define NIDMASK_KEY_FILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace nidmask {

// Reads the 256-bit key of `path`. False with a message that names the file
// and never shows the key.
bool ReadKeyFile(const std::string& path, std::vector<uint8_t>* pKey, std::string* pError);

// Writes a new key from the system's random source to standard output, as
// 64 hexadecimal characters and a line end. The exit status.
int GenerateKey();

}  // namespace nidmask

#endif
