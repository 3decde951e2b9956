// Rows per second through Service, per country: masking rowsets of valid
// identifiers and generating into rowsets, with tracing off and with tracing
// to a file. Each iteration serves one rowset of kRowsPerRowset rows (and
// marks its rows untaken again, as a host hands over fresh rows).
//
// Names: <Mask|MaskValidate|MaskAllParts|Random>[Traced]/<country>/<column type>, and
// <Encrypt|Decrypt>[AllParts]/<country>/<column type> under a key.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

#include "bench_support.h"

namespace {

using bench::kRowsPerRowset;

// Rowsets served per traced benchmark: a traced row writes a few kilobytes.
constexpr int kTracedRowsets = 20;

struct ServiceCase {
    bench::Setup setup;
    bool bTraced = false;
};

const char* TypeName(int16_t sDataType) { return sDataType == INTEGER ? "INTEGER" : "VARCHAR"; }

std::string TracePath() {
    const char* pDir = std::getenv("TMPDIR");
    return std::string(pDir != nullptr && *pDir != 0 ? pDir : "/tmp") + "/nidmask-bench-trace-" +
           std::to_string(getpid()) + ".log";
}

long FileSize(const std::string& path) {
    FILE* pFile = std::fopen(path.c_str(), "rb");
    if (pFile == nullptr) return 0;
    std::fseek(pFile, 0, SEEK_END);
    const long iSize = std::ftell(pFile);
    std::fclose(pFile);
    return iSize;
}

void ServeRowsets(benchmark::State& state, const ServiceCase& c) {
    auto instance = bench::ReadyInstance(c.setup);
    if (instance == nullptr) {
        state.SkipWithError("Init failed");
        return;
    }
    std::vector<hostkit::CellValue> cells;
    if (c.setup.sMethod == QRNP_METHOD_RANDOM) {
        cells = bench::NullCells(kRowsPerRowset);
    } else {
        const std::vector<std::wstring> ids = bench::GenerateIdentifiers(c.setup, kRowsPerRowset);
        if (ids.empty()) {
            state.SkipWithError("could not generate identifiers");
            return;
        }
        cells = bench::Cells(ids);
    }
    hostkit::Batch batch;
    hostkit::FillBatch(*instance, cells, &batch);

    // One rowset first: every row must be served, or the numbers mean nothing.
    int32_t iFirstStatus = 0;
    if (hostkit::ServiceBatch(*instance, batch, c.setup.sMethod) != 0 ||
        bench::CountFailedRows(batch, &iFirstStatus) != 0) {
        state.SkipWithError(("rows failed, first status " + std::to_string(iFirstStatus)).c_str());
        return;
    }

    const std::string tracePath = TracePath();
    if (c.bTraced) {
        std::remove(tracePath.c_str());
        KNL_Trace_SetFile(tracePath.c_str());
    }
    int32_t iResult = 0;
    for (auto _ : state) {
        bench::ResetTaken(batch);
        iResult |= hostkit::ServiceBatch(*instance, batch, c.setup.sMethod);
    }
    if (c.bTraced) {
        KNL_Trace_SetFile(nullptr);
        const double rows = static_cast<double>(state.iterations()) * kRowsPerRowset;
        state.counters["trace_bytes_per_row"] = static_cast<double>(FileSize(tracePath)) / rows;
        std::remove(tracePath.c_str());
    }
    if (iResult != 0) state.SkipWithError("a rowset failed");
    hostkit::TerminateInstance(*instance);

    const auto rows = static_cast<int64_t>(state.iterations()) * kRowsPerRowset;
    state.SetItemsProcessed(rows);
    state.counters["rows_per_s"] = benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsRate);
}

void Register(const std::string& name, const ServiceCase& c) {
    auto* pBenchmark = benchmark::RegisterBenchmark(
        name.c_str(), [c](benchmark::State& state) { ServeRowsets(state, c); });
    pBenchmark->Unit(benchmark::kMicrosecond);
    if (c.bTraced) pBenchmark->Iterations(kTracedRowsets);
}

void RegisterCountry(const bench::BenchCountry& country) {
    std::vector<int16_t> types = {VARCHAR};
    if (country.bNumericColumn) types.push_back(INTEGER);
    for (const int16_t sDataType : types) {
        const std::string suffix = std::string("/") + country.pCode + "/" + TypeName(sDataType);
        for (const bool bTraced : {false, true}) {
            const std::string traced = bTraced ? "Traced" : "";
            ServiceCase mask{{country.pCode, sDataType, QRNP_METHOD_MASK, 0, {}}, bTraced};
            ServiceCase random{{country.pCode, sDataType, QRNP_METHOD_RANDOM, 0, {}}, bTraced};
            Register("Mask" + traced + suffix, mask);
            Register("Random" + traced + suffix, random);
            if (!bTraced) {
                ServiceCase validate{{country.pCode, sDataType, QRNP_METHOD_MASK, QRNP_PROC_VALIDATE_FULLY, {}}, false};
                Register("MaskValidate" + suffix, validate);
                ServiceCase allParts{{country.pCode, sDataType, QRNP_METHOD_MASK, 0, country.allParts}, false};
                Register("MaskAllParts" + suffix, allParts);
                // Keyed methods: the default parts and every part, under a 256-bit key and a tweak.
                for (const uint16_t sMethod : {QRNP_METHOD_ENCRYPT, QRNP_METHOD_DECRYPT}) {
                    const std::string name = sMethod == QRNP_METHOD_ENCRYPT ? "Encrypt" : "Decrypt";
                    bench::Operands keyed = bench::KeyOperands();
                    Register(name + suffix, {{country.pCode, sDataType, sMethod, 0, keyed}, false});
                    keyed.insert(keyed.end(), country.allParts.begin(), country.allParts.end());
                    Register(name + "AllParts" + suffix, {{country.pCode, sDataType, sMethod, 0, keyed}, false});
                }
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const bench::BenchCountry& country : bench::Countries()) {
        if (bench::Serves(country.pCode))
            RegisterCountry(country);
        else
            std::fprintf(stderr, "%s: not served by this provider, skipped\n", country.pCode);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
