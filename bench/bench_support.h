// Shared by the benchmarks and the output capture: the countries to measure,
// ready provider instances, and rowsets of valid identifiers made by the
// provider's own random method.
//
// The list names every country the provider may serve; a country whose Init
// fails (not in this build of the provider) is skipped, so new countries are
// measured as soon as they are in the provider's country table.
#ifndef QRNP_BENCH_SUPPORT_H
#define QRNP_BENCH_SUPPORT_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit.h"

namespace bench {

using Operands = std::vector<std::pair<uint16_t, uint32_t>>;

struct BenchCountry {
    const char* pCode;             // "FR": country switch and benchmark name
    bool bNumericColumn;           // also measured on an INTEGER column
    Operands allParts;             // options that mask every part the country can
    uint16_t sSeparatorKey;        // the country's separator operand
};

inline const std::vector<BenchCountry>& Countries() {
    static const std::vector<BenchCountry> countries = {
        {"FR", false, {{QRNP_OPR_FR_PARTS, 31}}, QRNP_OPR_FR_SEPARATOR},
        {"IT", false, {{QRNP_OPR_IT_FLAGS, 7}}, QRNP_OPR_IT_SEPARATOR},
        {"UK", false, {{QRNP_OPR_UK_DATA, 1}}, QRNP_OPR_UK_SEPARATOR},
        {"ES", false, {}, QRNP_OPR_ES_SEPARATOR},
        {"US", true, {{QRNP_OPR_US_FLAGS, 1}}, QRNP_OPR_US_SEPARATOR},
        {"CA", true, {{QRNP_OPR_CA_PARTS, 1}}, QRNP_OPR_CA_SEPARATOR},
    };
    return countries;
}

// Rows per rowset, as a host hands them over.
inline constexpr int kRowsPerRowset = 1000;

// The provider linked into this program (its exported entry points).
const hostkit::EntryPoints& Provider();

// How one measured instance is set up.
struct Setup {
    std::string country;
    int16_t sDataType = VARCHAR;
    uint16_t sMethod = QRNP_METHOD_MASK;
    uint16_t sProcFlags = 0;
    Operands operands;
    // Operands the identifiers it is served are generated and checked under
    // (e.g. the official rules, a US area table); none by default.
    Operands sourceOperands = {};
};

// The benchmarks' fixed key (operands 0x1901-0x1910) and tweak digest
// (0x1911-0x1918).
Operands KeyOperands();

// The instance options for a set-up: separate destination, a column wide
// enough for every country's separated form.
hostkit::InstanceOptions OptionsFor(const Setup& setup);

// An initialised instance, or null (with the Init result in *piInit) when
// Init fails, e.g. for a country this provider does not serve.
std::unique_ptr<hostkit::Instance> ReadyInstance(const Setup& setup, int32_t* piInit = nullptr);

// True when the provider serves the country (Init succeeds on a VARCHAR column).
bool Serves(const std::string& country);

// `count` valid identifiers for the set-up's country and column type
// (decimal digits for a numeric column): made by the random method in
// rowsets of kRowsPerRowset, kept when masking with full validation accepts
// them, both under the set-up's source operands. Empty when generation
// fails. (A US area table is chosen by the process's first random and first
// masking call: a set-up with another table needs a process of its own.)
std::vector<std::wstring> GenerateIdentifiers(const Setup& setup, int count);

// NULL cells: what the random method is served with (it reads no source).
std::vector<hostkit::CellValue> NullCells(int count);

// Cells of the given texts.
std::vector<hostkit::CellValue> Cells(const std::vector<std::wstring>& texts);

// Makes every row of the batch servable again (Service marks rows taken).
void ResetTaken(hostkit::Batch& batch);

// Rows of the last Service call that failed (status or row flag), and the
// first failing status.
int CountFailedRows(const hostkit::Batch& batch, int32_t* piFirstStatus = nullptr);

}  // namespace bench

#endif
