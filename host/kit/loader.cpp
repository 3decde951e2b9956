// Loading the provider the way an engine does: dlopen and dlsym.
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "hostkit.h"

namespace hostkit {

namespace {

template <typename Fn>
bool Resolve(void* pLibrary, const char* pName, Fn* pFn, std::string* pError) {
    void* pSymbol = dlsym(pLibrary, pName);
    if (pSymbol == nullptr) {
        *pError = std::string("the provider does not export ") + pName;
        return false;
    }
    *pFn = reinterpret_cast<Fn>(pSymbol);
    return true;
}

}  // namespace

bool LoadProvider(const std::string& path, EntryPoints* pEntryPoints, std::string* pError) {
    void* pLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (pLibrary == nullptr) {
        const char* pWhy = dlerror();
        *pError = "cannot load the provider " + path + ": " + (pWhy != nullptr ? pWhy : "unknown error");
        return false;
    }
    EntryPoints ep;
    ep.pLibrary = pLibrary;
    if (!Resolve(pLibrary, "Init", &ep.Init, pError) || !Resolve(pLibrary, "Service", &ep.Service, pError) ||
        !Resolve(pLibrary, "Terminate", &ep.Terminate, pError) ||
        !Resolve(pLibrary, "GetDetails", &ep.GetDetails, pError) ||
        !Resolve(pLibrary, "GetInfo", &ep.GetInfo, pError) ||
        !Resolve(pLibrary, "GetErrorMsg", &ep.GetErrorMsg, pError) ||
        !Resolve(pLibrary, "TermErrors", &ep.TermErrors, pError)) {
        dlclose(pLibrary);
        return false;
    }
    *pEntryPoints = ep;
    return true;
}

std::string DefaultProviderPath() {
    if (const char* pEnv = std::getenv("NIDMASK_PROVIDER"); pEnv != nullptr && *pEnv != '\0') return pEnv;
    char self[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
    if (n > 0) {
        self[n] = '\0';
        std::string dir(self);
        dir.resize(dir.rfind('/'));
        // Installed (bin/ and lib/nidmask/ of one prefix, wherever it was moved), then the build tree.
        for (const char* pRelative : {"/../lib/nidmask/", "/../lib/", "/"}) {
            const std::string candidate = dir + pRelative + kProviderFileName;
            if (access(candidate.c_str(), R_OK) == 0) return candidate;
        }
    }
    return kProviderFileName;
}

std::string LoadedFile(const EntryPoints& entryPoints) {
    Dl_info info{};
    if (entryPoints.Init == nullptr || dladdr(reinterpret_cast<void*>(entryPoints.Init), &info) == 0 ||
        info.dli_fname == nullptr)
        return "";
    char resolved[PATH_MAX];
    return realpath(info.dli_fname, resolved) != nullptr ? resolved : info.dli_fname;
}

}  // namespace hostkit
