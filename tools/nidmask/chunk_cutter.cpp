// Scanning for record ends with SSE2 where the compiler has it: the parent
// process looks at every byte of the input, so this is its main cost.
#include "chunk_cutter.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace nidmask {

namespace {

bool IsCsvSpecial(char c) { return c == '"' || c == '\n' || c == '\r'; }

// The number of LFs in data[0, size).
uint64_t CountLineFeeds(const char* pData, size_t size) {
    uint64_t iCount = 0;
    size_t i = 0;
#ifdef __SSE2__
    constexpr size_t kLanes = 16;
    constexpr size_t kMaxRounds = 255;  // byte counters hold up to 255
    const __m128i lineFeed = _mm_set1_epi8('\n');
    while (i + kLanes <= size) {
        __m128i counts = _mm_setzero_si128();
        for (size_t r = 0; r < kMaxRounds && i + kLanes <= size; ++r, i += kLanes) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pData + i));
            counts = _mm_sub_epi8(counts, _mm_cmpeq_epi8(bytes, lineFeed));
        }
        const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
        iCount += static_cast<uint64_t>(_mm_cvtsi128_si32(sums)) + static_cast<uint64_t>(_mm_extract_epi16(sums, 4));
    }
#endif
    for (; i < size; ++i) iCount += pData[i] == '\n' ? 1 : 0;
    return iCount;
}

// The offset of the first quote, CR or LF in data[0, size), or size.
size_t FindCsvSpecial(const char* pData, size_t size) {
    size_t i = 0;
#ifdef __SSE2__
    constexpr size_t kLanes = 16;
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i carriageReturn = _mm_set1_epi8('\r');
    const __m128i lineFeed = _mm_set1_epi8('\n');
    for (; i + kLanes <= size; i += kLanes) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pData + i));
        const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, lineFeed)),
                                          _mm_cmpeq_epi8(bytes, carriageReturn));
        const int iMask = _mm_movemask_epi8(hits);
        if (iMask != 0) return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(iMask)));
    }
#endif
    for (; i < size; ++i)
        if (IsCsvSpecial(pData[i])) return i;
    return size;
}

}  // namespace

ChunkCutter::ChunkCutter(RecordSyntax syntax, size_t iBatch, size_t iMinBytes)
    : syntax_(syntax), iBatch_(iBatch), iMinBytes_(iMinBytes) {}

size_t ChunkCutter::Scan(const char* pData, size_t size) {
    return syntax_ == RecordSyntax::Lines ? ScanLines(pData, size) : ScanCsv(pData, size);
}

void ChunkCutter::StartNext() {
    iRecordsBefore_ += iRecords_;
    iLinesBefore_ += iLines_;
    iScanned_ = 0;
    iRecords_ = 0;
    iLines_ = 0;
}

// A line is a record: counted in bulk up to the minimum size, then one at
// a time up to the end of a batch.
size_t ChunkCutter::ScanLines(const char* pData, size_t size) {
    if (iScanned_ < iMinBytes_) {
        const size_t iEnd = size < iMinBytes_ ? size : iMinBytes_;
        iLines_ += CountLineFeeds(pData + iScanned_, iEnd - iScanned_);
        iScanned_ = iEnd;
    }
    while (iScanned_ < size) {
        const auto* pLineFeed = static_cast<const char*>(std::memchr(pData + iScanned_, '\n', size - iScanned_));
        if (pLineFeed == nullptr) {
            iScanned_ = size;
            break;
        }
        iScanned_ = static_cast<size_t>(pLineFeed - pData) + 1;
        if (++iLines_ % iBatch_ == 0) {
            iRecords_ = iLines_;
            return iScanned_;
        }
    }
    iRecords_ = iLines_;
    return 0;
}

size_t ChunkCutter::ScanCsv(const char* pData, size_t size) {
    size_t i = iScanned_;
    while (i < size) {
        if (bBetween_) {
            const char c = pData[i];
            if (c == '\n' || c == '\r') {
                iLines_ += c == '\n' ? 1 : 0;
                ++i;
                continue;
            }
            // A record starts here: a batch may end before it.
            bBetween_ = false;
            if (iRecords_ > 0 && iRecords_ % iBatch_ == 0 && i >= iMinBytes_) {
                iScanned_ = i;
                bBetween_ = true;  // as at the start of the next chunk
                return i;
            }
        }
        i += FindCsvSpecial(pData + i, size - i);
        if (i == size) break;
        const char c = pData[i++];
        if (c == '"') {
            bInQuotes_ = !bInQuotes_;
        } else {
            iLines_ += c == '\n' ? 1 : 0;
            if (!bInQuotes_) {
                ++iRecords_;
                bBetween_ = true;
            }
        }
    }
    iScanned_ = size;
    return 0;
}

}  // namespace nidmask
