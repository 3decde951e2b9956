#include "version.h"

#include <cstring>
#include <iostream>

#include "exit_codes.h"
#include "hostkit.h"
#include "serve_loop.h"

namespace nidmask {

bool AsksForVersion(int argc, char** argv, std::string* pProviderPath) {
    bool bVersion = false;
    pProviderPath->clear();
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        const std::string arg = argv[i];
        if (arg == "--version") bVersion = true;
        else if (arg == "--provider" && i + 1 < argc) *pProviderPath = argv[++i];
        else if (arg.rfind("--provider=", 0) == 0) *pProviderPath = arg.substr(std::strlen("--provider="));
    }
    return bVersion;
}

int PrintVersion(const std::string& providerPath) {
    std::cout << "nidmask " NIDMASK_VERSION "\n" << std::flush;
    hostkit::EntryPoints entryPoints;
    std::string error;
    if (!hostkit::LoadProvider(providerPath.empty() ? hostkit::DefaultProviderPath() : providerPath, &entryPoints,
                               &error)) {
        PrintError(error);
        return kExitProvider;
    }
    std::cout << "provider " << hostkit::LoadedFile(entryPoints) << "\n";
    return kExitOk;
}

}  // namespace nidmask
