// nidmask: parse the command line, load the provider, run, report.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <qrnp/qrnp_os.h>

#include "exit_codes.h"
#include "hostkit.h"
#include "key_file.h"
#include "options.h"
#include "output_file.h"
#include "path_checks.h"
#include "runs.h"
#include "serve_loop.h"
#include "version.h"

using namespace nidmask;

namespace {

// Starts the provider's trace in a fresh file, mode 0600 (it may hold values).
bool StartTrace(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        PrintError("cannot write " + path + ": " + std::strerror(errno));
        return false;
    }
    struct stat info {};
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) fchmod(fd, 0600);
    close(fd);
    if (KNL_Trace_SetFile(path.c_str()) != 0) {
        PrintError("cannot write " + path);
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    // Files nidmask makes for itself (report, trace, temporary files, SQLite's
    // temporary tables) may hold identifiers: they are private.
    NarrowUmask();
    if (std::string provider; AsksForVersion(argc, argv, &provider)) return PrintVersion(provider);
    if (argc == 2 && std::string(argv[1]) == "keygen") return GenerateKey();
    const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
    if (!parsed.options) return parsed.iExitCode;
    const Options& options = *parsed.options;
    if (options.bExplain) {
        ExplainRules(options);
        return kExitOk;
    }

    // Every file the run reads or writes, the standard streams included when
    // the run uses them: nothing written may land on another of them.
    const bool bDatabase = !options.dbPath.empty();
    std::vector<FileUse> uses = {{"INPUT", options.input, -1, false},
                                 {"-o", options.output, -1, true},
                                 {"--report", options.reportPath, -1, true},
                                 {"--trace", options.tracePath, -1, true},
                                 {"--db", options.dbPath, -1, true},
                                 {"--rules", options.rulesPath, -1, false}};
    for (const ColumnRule& rule : options.rules)
        if (!rule.keyFile.empty()) uses.push_back({"the key file", rule.keyFile, -1, false});
    if (!bDatabase && !options.count && (options.input.empty() || options.input == "-"))
        uses.push_back({"standard input", "", STDIN_FILENO, false});
    if (!bDatabase && (options.output.empty() || options.output == "-"))
        uses.push_back({"standard output", "", STDOUT_FILENO, true});
    const std::string clash = SameFileProblem(uses);
    if (!clash.empty()) {
        PrintError(clash);
        return kExitUsage;
    }

    // Traced values (of --trace, or of a file QRNP_TRACE named) are redacted as messages are.
    KNL_Trace_SetRedaction(options.bShowValues ? 0 : 1);

    hostkit::EntryPoints entryPoints;
    std::string error;
    const std::string providerPath = options.providerPath.empty() ? hostkit::DefaultProviderPath() : options.providerPath;
    if (!hostkit::LoadProvider(providerPath, &entryPoints, &error)) {
        PrintError(error);
        return kExitProvider;
    }
    if (!options.tracePath.empty() && !StartTrace(options.tracePath)) return kExitIo;

    ReportWriter report;
    if (!options.reportPath.empty() && !report.Open(options.reportPath, options.bShowValues, &error)) {
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
