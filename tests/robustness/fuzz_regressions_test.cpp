// Inputs that fuzzing found to do what they should not, reduced to the host's
// view, where the fault shows in what the host gets back. (Those that show
// only as a stray read or write, such as a pass-through copying past a short
// cell or a misaligned store of WCHAR padding, are regress-* inputs of
// fuzz/corpus/fuzz_provider, replayed under the sanitizers by make test.)
#include <cstdio>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/run_rows.h"

namespace {

using hostkit::Batch;
using hostkit::CellValue;
using hostkit::InstanceOptions;
using testsupport::Linked;

// Init, FillBatch with `cells`, `prepare` on the batch, Service, Terminate.
template <typename Prepare>
void Serve(const InstanceOptions& options, const std::vector<CellValue>& cells, uint16_t sMethod, Prepare prepare,
           Batch* pBatch, hostkit::BatchOptions batchOptions = {}) {
    auto instance = hostkit::MakeInstance(Linked(), options);
    ASSERT_EQ(hostkit::InitInstance(*instance), 0);
    hostkit::FillBatch(*instance, cells, pBatch, batchOptions);
    prepare(*pBatch);
    hostkit::ProtectGuards(*pBatch, true);
    hostkit::ServiceBatch(*instance, *pBatch, sMethod);
    EXPECT_TRUE(hostkit::GuardsIntact(*pBatch));
    hostkit::TerminateInstance(*instance);
}

FieldDef& Cell(Batch& batch, size_t r) { return batch.fields[r * static_cast<size_t>(batch.cellsPerRow) + batch.sourceCell]; }

size_t CountDigits(const std::wstring& text) {
    size_t n = 0;
    for (wchar_t c : text) n += (c >= L'0' && c <= L'9') ? 1 : 0;
    return n;
}

// A NULL cell whose source pointer still points at data: generating a Spanish
// number read that data to decide on eight digits (and, for a _SZ column,
// searched past the end of the buffer for a terminator).
TEST(FuzzRegressions, RandomRowsNeverReadTheSourceOfANullCell) {
    for (int16_t sType : {VARCHAR, VARCHAR_SZ, WVARCHAR_SZ}) {
        SCOPED_TRACE("type " + std::to_string(sType));
        InstanceOptions options;
        options.countrySwitch = L"ES";
        options.sDataType = sType;
        options.sMethod = QRNP_METHOD_RANDOM;
        Batch batch;
        const std::vector<CellValue> cells(20, CellValue{false, L"12345678Z"});
        Serve(options, cells, QRNP_METHOD_RANDOM, [](Batch& b) {
            for (size_t r = 0; r < b.rows.size(); ++r) Cell(b, r).bNullInd = 1;
        }, &batch);
        auto instance = hostkit::MakeInstance(Linked(), options);
        for (size_t r = 0; r < cells.size(); ++r) {
            const hostkit::RowResult row = hostkit::ReadRow(*instance, batch, static_cast<int>(r));
            ASSERT_EQ(row.iStatus, 0);
            ASSERT_TRUE(row.output.has_value());
            // A row without a value draws seven digits; eight come only from an eight-digit source.
            EXPECT_EQ(CountDigits(*row.output), 7u) << hostkit::ToUtf8(*row.output);
        }
    }
}

// With tracing on, a NULL source traced its flag as a 32-bit value read from a one-byte bool.
TEST(FuzzRegressions, TracedNullSourceFlagIsWhole) {
    const std::string path = ::testing::TempDir() + "null_flag_trace" + std::to_string(getpid());
    std::remove(path.c_str());
    ASSERT_EQ(KNL_Trace_SetFile(path.c_str()), 0);
    const auto result = testsupport::RunRows(InstanceOptions{}, {std::nullopt});
    KNL_Trace_SetFile(nullptr);
    EXPECT_EQ(result.rows[0].iStatus, QRNP_MSG_NULL_SOURCE);
    std::ifstream in(path);
    int iFound = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.find(" bSrcNull=") == std::string::npos) continue;
        ++iFound;
        EXPECT_EQ(line, "VAR   QRNPNidS bSrcNull=1");
    }
    EXPECT_EQ(iFound, 1);
    std::remove(path.c_str());
}

}  // namespace
