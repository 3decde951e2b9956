// nidmask: parse the command line, load the provider, run, report.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <qrnp/qrnp_os.h>

#include "exit_codes.h"
#include "hostkit.h"
#include "options.h"
#include "runs.h"
#include "version.h"

using namespace nidmask;

namespace {

// Starts the provider's trace in a fresh file.
bool StartTrace(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        PrintError("cannot write " + path + ": " + std::strerror(errno));
        return false;
    }
    close(fd);
    if (KNL_Trace_SetFile(path.c_str()) != 0) {
        PrintError("cannot write " + path);
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (std::string provider; AsksForVersion(argc, argv, &provider)) return PrintVersion(provider);
    const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
    if (!parsed.options) return parsed.iExitCode;
    const Options& options = *parsed.options;

    hostkit::EntryPoints entryPoints;
    std::string error;
    const std::string providerPath = options.providerPath.empty() ? hostkit::DefaultProviderPath() : options.providerPath;
    if (!hostkit::LoadProvider(providerPath, &entryPoints, &error)) {
        PrintError(error);
        return kExitProvider;
    }
    if (!options.tracePath.empty() && !StartTrace(options.tracePath)) return kExitIo;

    ReportWriter report;
    if (!options.reportPath.empty() && !report.Open(options.reportPath, &error)) {
        PrintError(error);
        return kExitIo;
    }

    const RunContext context{options, entryPoints, &report};
    int iExit = !options.dbPath.empty()                ? RunDatabase(context)
                : options.format == InputFormat::Csv ? RunCsv(context)
                                                      : RunLines(context);
    if (!report.Close(&error)) {
        PrintError(error);
        if (iExit == kExitOk || iExit == kExitRowsFailed) iExit = kExitIo;
    }
    if (!options.tracePath.empty()) KNL_Trace_SetFile(nullptr);
    return iExit;
}
