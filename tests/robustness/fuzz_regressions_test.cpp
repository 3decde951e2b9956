// Inputs that fuzzing found to read or write where they should not, each
// reduced to the host's view. Under the sanitizer build the guard bytes after
// every buffer are unaddressable, so a stray read or write stops the test.
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

// An INTEGER cell the host gave two bytes: the conversion refuses it (4404),
// and passing it through copied the type's four bytes, two past its end.
TEST(FuzzRegressions, PassThroughCopiesNoMoreThanTheHostGave) {
    InstanceOptions options;
    options.countrySwitch = L"US";
    options.sDataType = INTEGER;
    options.sProcFlags = QRNP_PROC_PASS_INVALID;
    CellValue shortCell;
    shortCell.bRaw = true;
    shortCell.raw = {0x31, 0x32};
    Batch batch;
    Serve(options, {shortCell}, QRNP_METHOD_MASK, [](Batch&) {}, &batch);
    const FieldDef& cell = Cell(batch, 0);
    EXPECT_EQ(cell.iStatus, QRNP_MSG_SOURCE_CONVERSION);
    EXPECT_EQ(batch.rows[0].bError, 0);
    ASSERT_EQ(cell.iDstLen, 2);
    EXPECT_EQ(static_cast<const unsigned char*>(cell.pDst)[0], 0x31);
    EXPECT_EQ(static_cast<const unsigned char*>(cell.pDst)[1], 0x32);
}

// A WCHAR destination at an address that is not a multiple of four: the
// blank padding after the identifier was stored as whole wide characters
// (misaligned stores, which the undefined-behaviour sanitizer refuses).
TEST(FuzzRegressions, WideFixedPaddingInAnUnalignedDestination) {
    InstanceOptions options;
    options.countrySwitch = L"US";
    options.sDataType = WCHAR;
    options.iLength = 16;
    CellValue odd;  // one byte: every buffer after it starts at an odd offset
    odd.bRaw = true;
    odd.raw = {0x20};
    Batch batch;
    Serve(options, {odd, CellValue{false, L"123-45-6789"}}, QRNP_METHOD_MASK, [](Batch&) {}, &batch);
    const FieldDef& cell = Cell(batch, 1);
    ASSERT_NE(reinterpret_cast<uintptr_t>(cell.pDst) % 4, 0u);
    ASSERT_EQ(cell.iStatus, 0);
    EXPECT_EQ(cell.iDstLen, 64);
    auto instance = hostkit::MakeInstance(Linked(), options);
    const hostkit::RowResult row = hostkit::ReadRow(*instance, batch, 1);
    ASSERT_TRUE(row.output.has_value());
    EXPECT_EQ(row.output->substr(11), std::wstring(5, L' '));
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
