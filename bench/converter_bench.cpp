// The stand-in conversion library alone: the column converters every row
// goes through (source to wide string, wide string to destination) and the
// blank trimming, each over kRowsPerRowset values per iteration.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_support.h"

namespace {

using bench::kRowsPerRowset;

constexpr int kWideCap = 64;   // characters of the wide output buffer

// Text values of 15 digits, different in every row, like INSEE numbers.
std::vector<std::wstring> DigitTexts() {
    std::vector<std::wstring> texts;
    for (int i = 0; i < kRowsPerRowset; ++i) texts.push_back(L"1850578" + std::to_wstring(10000000 + i * 7919));
    return texts;
}

// Nine-digit values, like SINs and SSNs in an INTEGER column.
std::vector<std::wstring> NumberTexts() {
    std::vector<std::wstring> texts;
    for (int i = 0; i < kRowsPerRowset; ++i) texts.push_back(std::to_wstring(123456789 + i * 7919));
    return texts;
}

// The column's encoding of each text, as the host kit would put it in a cell.
std::vector<std::vector<unsigned char>> Encode(int16_t sDataType, int32_t iLength,
                                               const std::vector<std::wstring>& texts) {
    bench::Setup setup;
    setup.sDataType = sDataType;
    hostkit::InstanceOptions options = bench::OptionsFor(setup);
    options.iLength = iLength;
    auto instance = hostkit::MakeInstance(bench::Provider(), options);
    std::vector<std::vector<unsigned char>> cells(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) hostkit::EncodeCell(*instance, texts[i], &cells[i]);
    return cells;
}

void Finish(benchmark::State& state) {
    const auto values = static_cast<int64_t>(state.iterations()) * kRowsPerRowset;
    state.SetItemsProcessed(values);
    state.counters["values_per_s"] = benchmark::Counter(static_cast<double>(values), benchmark::Counter::kIsRate);
}

// Source converter over the encoded cells.
void ToWide(benchmark::State& state, QRNPToWideFn pfn, int16_t sDataType, int32_t iLength,
            const std::vector<std::wstring>& texts) {
    const auto cells = Encode(sDataType, iLength, texts);
    ColumnDef column{};
    column.sDataType = sDataType;
    column.iLength = iLength;
    wchar_t out[kWideCap];
    for (auto _ : state) {
        for (const auto& cell : cells) {
            int32_t iLen = 0;
            benchmark::DoNotOptimize(
                pfn(cell.data(), static_cast<int32_t>(cell.size()), out, sizeof out, &iLen, &column));
            benchmark::DoNotOptimize(out);
        }
    }
    Finish(state);
}

// Destination converter into a buffer of the column's width.
void FromWide(benchmark::State& state, QRNPFromWideFn pfn, int16_t sDataType, int32_t iCap,
              const std::vector<std::wstring>& texts) {
    ColumnDef column{};
    column.sDataType = sDataType;
    std::vector<unsigned char> dst(static_cast<size_t>(iCap));
    for (auto _ : state) {
        for (const std::wstring& text : texts) {
            int32_t iLen = 0;
            benchmark::DoNotOptimize(
                pfn(text.c_str(), static_cast<int32_t>(text.size()), dst.data(), iCap, &iLen, &column));
            benchmark::DoNotOptimize(dst.data());
        }
    }
    Finish(state);
}

void BM_VarcharToWide(benchmark::State& state) { ToWide(state, QRNPCnvVarcharToWVarcharSz, VARCHAR, 32, DigitTexts()); }
void BM_WideToVarchar(benchmark::State& state) { FromWide(state, QRNPCnvWVarcharSzToVarchar, VARCHAR, 34, DigitTexts()); }
void BM_CharToWide(benchmark::State& state) { ToWide(state, QRNPCnvCharToWVarcharSz, CHAR, 20, DigitTexts()); }
void BM_WideToChar(benchmark::State& state) { FromWide(state, QRNPCnvWVarcharSzToChar, CHAR, 20, DigitTexts()); }
void BM_UIntToWide(benchmark::State& state) { ToWide(state, QRNPCnvUIntToWVarcharSz, INTEGER, 0, NumberTexts()); }
void BM_WideToUInt(benchmark::State& state) { FromWide(state, QRNPCnvWVarcharSzToUInt, INTEGER, 4, NumberTexts()); }

// Trimming a value without blanks: the row driver trims every value.
void BM_TrimSpaces(benchmark::State& state) {
    const std::vector<std::wstring> texts = DigitTexts();
    std::vector<wchar_t> work(kWideCap);
    for (auto _ : state) {
        for (const std::wstring& text : texts) {
            int32_t iLen = static_cast<int32_t>(text.size());
            std::wmemcpy(work.data(), text.c_str(), text.size() + 1);
            TrimSpacesW(work.data(), &iLen, 1, 1);
            benchmark::DoNotOptimize(iLen);
        }
    }
    Finish(state);
}

BENCHMARK(BM_VarcharToWide)->Name("Converter/VarcharToWide")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_WideToVarchar)->Name("Converter/WideToVarchar")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CharToWide)->Name("Converter/CharToWide")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_WideToChar)->Name("Converter/WideToChar")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_UIntToWide)->Name("Converter/UIntToWide")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_WideToUInt)->Name("Converter/WideToUInt")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TrimSpaces)->Name("Converter/TrimSpaces")->Unit(benchmark::kMicrosecond);

}  // namespace
