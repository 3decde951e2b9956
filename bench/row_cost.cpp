// Serves a fixed number of rowsets, for counting instructions per row under
// callgrind, which, unlike a timer, gives the same count on a busy machine:
//
//   valgrind --tool=callgrind --toggle-collect=MeasuredRowsets
//            nidmask_rowcost CC mask|validate|random [VARCHAR|INTEGER] [ROWSETS]
//
// Instructions per row = the collected total / (ROWSETS x 1000). The rowsets
// are the benchmarks' (valid identifiers for masking, NULL cells for random),
// and the count covers what a benchmark iteration does: marking the rows
// untaken and Service.
#include <cstdio>
#include <cstdlib>
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

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s CC mask|validate|random [VARCHAR|INTEGER] [ROWSETS]\n", argv[0]);
        return 2;
    }
    const std::string method = argv[2];
    bench::Setup setup;
    setup.country = argv[1];
    setup.sMethod = method == "random" ? QRNP_METHOD_RANDOM : QRNP_METHOD_MASK;
    setup.sProcFlags = method == "validate" ? QRNP_PROC_VALIDATE_FULLY : 0;
    setup.sDataType = argc > 3 && std::string(argv[3]) == "INTEGER" ? INTEGER : VARCHAR;
    const int iRowsets = argc > 4 ? std::atoi(argv[4]) : 100;

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
    const int iFailedRowsets = MeasuredRowsets(instance.get(), &batch, setup.sMethod, iRowsets);
    hostkit::TerminateInstance(*instance);
    std::printf("%d rowsets of %d rows served, %d with failures\n", iRowsets, bench::kRowsPerRowset, iFailedRowsets);
    return iFailedRowsets == 0 ? 0 : 1;
}
