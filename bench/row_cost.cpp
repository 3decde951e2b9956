// Serves a fixed number of rowsets, for counting instructions per row under
// callgrind, which, unlike a timer, gives the same count on a busy machine:
//
//   valgrind --tool=callgrind --toggle-collect=MeasuredRowsets
//            nidmask_rowcost CC METHOD [VARCHAR|INTEGER] [ROWSETS] [KEY=VALUE ...]
//
// METHOD is mask, validate, random, encrypt or decrypt (the keyed methods
// under the benchmarks' fixed key); KEY=VALUE are further operands, e.g.
// 0x180E=2 (US: the 2006 area table) or 0x1920=1 (the official rules), which
// the identifiers served are generated and checked under too.
//
// Instructions per row = the collected total / (ROWSETS x 1000). The rowsets
// are the benchmarks' (valid identifiers for masking, NULL cells for random),
// and the count covers what a benchmark iteration does: marking the rows
// untaken and Service. Run without valgrind, it also prints the rows served
// per second of CPU time: from a fresh instance, so ROWSETS = 100 measures an
// instance's first 100,000 rows.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "bench_support.h"

// The measured part, named for callgrind's --toggle-collect. Returns the
// number of rowsets that had failures.
extern "C" __attribute__((noinline)) int MeasuredRowsets(hostkit::Instance* pInstance, hostkit::Batch* pBatch,
                                                         uint16_t sMethod, int iRowsets) {
    int iFailedRowsets = 0;
    for (int i = 0; i < iRowsets; ++i) {
        bench::ResetTaken(*pBatch);
        if (hostkit::ServiceBatch(*pInstance, *pBatch, sMethod) != 0) ++iFailedRowsets;
    }
    return iFailedRowsets;
}

namespace {

double CpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

uint16_t MethodOf(const std::string& method) {
    if (method == "random") return QRNP_METHOD_RANDOM;
    if (method == "encrypt") return QRNP_METHOD_ENCRYPT;
    if (method == "decrypt") return QRNP_METHOD_DECRYPT;
    return QRNP_METHOD_MASK;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s CC mask|validate|random|encrypt|decrypt [VARCHAR|INTEGER] [ROWSETS] [KEY=VALUE ...]\n",
                     argv[0]);
        return 2;
    }
    const std::string method = argv[2];
    bench::Setup setup;
    setup.country = argv[1];
    setup.sMethod = MethodOf(method);
    setup.sProcFlags = method == "validate" ? QRNP_PROC_VALIDATE_FULLY : 0;
    setup.sDataType = argc > 3 && std::string(argv[3]) == "INTEGER" ? INTEGER : VARCHAR;
    const int iRowsets = argc > 4 ? std::atoi(argv[4]) : 100;
    for (int i = 5; i < argc; ++i) {
        const std::string operand = argv[i];
        const size_t iEquals = operand.find('=');
        if (iEquals == std::string::npos) {
            std::fprintf(stderr, "%s: KEY=VALUE expected\n", argv[i]);
            return 2;
        }
        setup.sourceOperands.emplace_back(static_cast<uint16_t>(std::strtoul(operand.substr(0, iEquals).c_str(), nullptr, 0)),
                                          static_cast<uint32_t>(std::strtoul(operand.substr(iEquals + 1).c_str(), nullptr, 0)));
    }
    setup.operands = setup.sourceOperands;
    if (setup.sMethod == QRNP_METHOD_ENCRYPT || setup.sMethod == QRNP_METHOD_DECRYPT) {
        const bench::Operands key = bench::KeyOperands();
        setup.operands.insert(setup.operands.end(), key.begin(), key.end());
    }

    auto instance = bench::ReadyInstance(setup);
    if (instance == nullptr) {
        std::fprintf(stderr, "%s: Init failed\n", argv[1]);
        return 1;
    }
    std::vector<hostkit::CellValue> cells;
    if (setup.sMethod == QRNP_METHOD_RANDOM) {
        cells = bench::NullCells(bench::kRowsPerRowset);
    } else {
        cells = bench::Cells(bench::GenerateIdentifiers(setup, bench::kRowsPerRowset));
        if (cells.empty()) {
            std::fprintf(stderr, "%s: could not generate identifiers\n", argv[1]);
            return 1;
        }
    }
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, cells, &batch);
    const double start = CpuSeconds();
    const int iFailedRowsets = MeasuredRowsets(instance.get(), &batch, setup.sMethod, iRowsets);
    const double seconds = CpuSeconds() - start;
    hostkit::TerminateInstance(*instance);
    std::printf("%d rowsets of %d rows served, %d with failures; %.3f s of CPU, %.2f million rows/s\n", iRowsets,
                bench::kRowsPerRowset, iFailedRowsets, seconds,
                iRowsets * static_cast<double>(bench::kRowsPerRowset) / seconds / 1e6);
    return iFailedRowsets == 0 ? 0 : 1;
}
