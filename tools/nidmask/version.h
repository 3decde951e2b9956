// --version: nidmask's version and the provider file it loads. Answered before
// the rest of the command line is parsed, so that it works with any options.
#ifndef NIDMASK_VERSION_H
#define NIDMASK_VERSION_H

#include <string>

namespace nidmask {

// True when an argument before any "--" is --version; *pProviderPath then
// holds the value of --provider (either form), or "" for the default.
bool AsksForVersion(int argc, char** argv, std::string* pProviderPath);

// Loads the provider (providerPath, or the default when empty) and prints
// "nidmask VERSION" and "provider FILE" on standard output. Returns the exit
// status: 0, or kExitProvider with the loader's message on standard error.
int PrintVersion(const std::string& providerPath);

}  // namespace nidmask

#endif
