// Digit helpers of the country algorithms: a seeded permutation, a keyed
// transposition of digit groups, and fixed-width number text.
#include <cstring>
#include <type_traits>

#include <qrnp/qrnp_common.h>

#include "common/cmn_trace.h"

namespace {

constexpr int16_t kMaxPermutation = 16;
constexpr int16_t kMaxTransposeDigits = 12;
constexpr int64_t kTransposeRows = 23;
// Ten passes add a multiple of ten to every digit, so they bring back where they started.
constexpr int kMaxOffsetPasses = 10;

// The 23 permutations of four places other than the identity (1-based); each
// row reorders every group of four digits alike, so positions 5-12 follow from 1-4.
constexpr int16_t kTransposeGroup[kTransposeRows][4] = {
    {1, 2, 4, 3}, {4, 3, 1, 2}, {3, 4, 1, 2}, {2, 1, 4, 3}, {4, 2, 1, 3}, {1, 4, 3, 2},
    {2, 4, 1, 3}, {3, 1, 4, 2}, {2, 3, 1, 4}, {1, 4, 2, 3}, {4, 1, 3, 2}, {3, 4, 2, 1},
    {3, 2, 1, 4}, {1, 3, 2, 4}, {4, 2, 3, 1}, {2, 4, 3, 1}, {1, 3, 4, 2}, {2, 1, 3, 4},
    {3, 1, 2, 4}, {4, 3, 2, 1}, {4, 1, 2, 3}, {3, 2, 4, 1}, {2, 3, 4, 1},
};

// Shifts each digit by offset + its position; repeats while every digit comes out 0.
template <typename Ch>
void ShiftDigits(Ch* pWork, int16_t n, int32_t iOffset) {
    for (int iPass = 0; iPass < kMaxOffsetPasses; iPass++) {
        int64_t lSum = 0;
        for (int16_t j = 0; j < n; j++) {
            const int64_t lDigit = (static_cast<int64_t>(pWork[j] - Ch('0')) + iOffset + j) % 10;
            pWork[j] = static_cast<Ch>(Ch('0') + lDigit);
            lSum += lDigit;
        }
        if (lSum != 0) return;
    }
}

template <typename Ch>
int32_t TransposeNum(const Ch* pSrc, Ch* pDst, int16_t n, int64_t lKey, int32_t iOffset) {
    if (n > kMaxTransposeDigits || pSrc == nullptr || pDst == nullptr) return -1;
    if (n < 0) n = 0;
    Ch work[kMaxTransposeDigits + 1] = {};  // digits, then zeros: a position past n reads 0
    for (int16_t i = 0; i < n; i++) work[i] = pSrc[i];
    if (iOffset != 0) ShiftDigits(work, n, iOffset);

    int64_t lRow = lKey % kTransposeRows;
    if (lRow < 0) lRow += kTransposeRows;  // negative keys still pick a row
    const int16_t* pGroup = kTransposeGroup[lRow];
    for (int i = 0; i < kMaxTransposeDigits && work[i] != 0; i++) {
        pDst[i] = work[(i / 4) * 4 + pGroup[i % 4] - 1];
    }
    return 0;
}

// Writes sWidth digits of lValue, zero-padded, ending at pDst[sWidth - 1]; -1 when digits remain.
// Int is the value's own type: 32-bit values take 32-bit divisions.
template <typename Ch, typename Int>
int32_t ValueToDigits(Int lValue, int16_t sWidth, Ch* pDst, bool bTerminate) {
    if (pDst == nullptr) return -1;
    const int iWidth = sWidth > 0 ? sWidth : 0;
    if (lValue >= 0) {
        // The same digits from unsigned divisions, two digits to a step.
        static constexpr char kPairs[] =
            "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
            "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
            "8081828384858687888990919293949596979899";
        using Unsigned = std::make_unsigned_t<Int>;
        auto uValue = static_cast<Unsigned>(lValue);
        int i = iWidth - 1;
        for (; i >= 1; i -= 2) {
            const Unsigned uPair = uValue % 100;
            uValue /= 100;
            pDst[i] = static_cast<Ch>(kPairs[2 * uPair + 1]);
            pDst[i - 1] = static_cast<Ch>(kPairs[2 * uPair]);
        }
        if (i == 0) {
            pDst[0] = static_cast<Ch>(Ch('0') + uValue % 10);
            uValue /= 10;
        }
        if (bTerminate) pDst[iWidth] = 0;
        return uValue != 0 ? -1 : 0;
    }
    for (int i = iWidth - 1; i >= 0; i--) {
        pDst[i] = static_cast<Ch>(Ch('0') + lValue % 10);
        lValue /= 10;
    }
    if (bTerminate) pDst[iWidth] = 0;
    return lValue != 0 ? -1 : 0;
}

template <typename Ch>
int32_t DigitsToValue(const Ch* pSrc, int16_t n, int16_t sWidth, int64_t* plValue) {
    if (pSrc == nullptr || plValue == nullptr) return -1;
    uint64_t lValue = 0;  // unsigned: an over-long digit string wraps instead of overflowing
    int i = 0;
    for (; i < n && pSrc[i] >= Ch('0') && pSrc[i] <= Ch('9'); i++) lValue = lValue * 10 + static_cast<uint64_t>(pSrc[i] - Ch('0'));
    if (i < n) return -1;
    for (; i < sWidth; i++) {
        if (pSrc[i] != Ch(' ')) return -1;
    }
    *plValue = static_cast<int64_t>(lValue);
    return 0;
}

// The permutation of 1..n (1 to 16) the seed picks, into pOut[0..n-1].
constexpr void PermutationInto(int32_t iSeed, int16_t n, int16_t* pOut) {
    int16_t pool[kMaxPermutation] = {};
    for (int16_t i = 0; i < n; i++) pool[i] = static_cast<int16_t>(i + 1);
    // The same seed picks at every step: k = seed mod (values left).
    for (int16_t i = 0; i < n - 1; i++) {
        const int32_t iLeft = n - i;
        int32_t k = iSeed % iLeft;
        if (k < 0) k += iLeft;  // a negative seed stays inside the pool
        pOut[i] = pool[k];
        for (int32_t j = k; j < iLeft - 1; j++) pool[j] = pool[j + 1];
    }
    pOut[n - 1] = pool[0];
}

// The same for any n (more than 16 is cut to 16, none is nothing) and output.
void PermutationByRule(int32_t iSeed, int16_t n, int16_t* pOut) {
    if (n > kMaxPermutation) n = kMaxPermutation;
    if (n > 0 && pOut != nullptr) PermutationInto(iSeed, n, pOut);
}

// A seed enters only as its remainders by 2..n, so for a small n the
// permutation repeats with the least common multiple of 2..n, and the table
// of one cycle (made by the rule itself) gives every seed's.
constexpr int16_t kMaxTabledPermutation = 8;

constexpr int32_t PermutationCycle(int16_t n) {
    int32_t iCycle = 1;
    for (int32_t i = 2; i <= n; ++i) {
        int32_t a = iCycle, b = i;
        while (b != 0) {
            const int32_t t = a % b;
            a = b;
            b = t;
        }
        iCycle = iCycle / a * i;
    }
    return iCycle;
}

template <int16_t N>
struct PermutationTable {
    static constexpr int32_t kCycle = PermutationCycle(N);
    int16_t rows[kCycle][N] = {};
    constexpr PermutationTable() {
        for (int32_t iSeed = 0; iSeed < kCycle; ++iSeed) PermutationInto(iSeed, N, rows[iSeed]);
    }
};

template <int16_t N>
constexpr PermutationTable<N> kPermutations{};

template <int16_t N>
void CopyTabled(int32_t iSeed, int16_t* pOut) {
    constexpr int32_t kCycle = PermutationTable<N>::kCycle;
    int32_t iRow = iSeed % kCycle;
    if (iRow < 0) iRow += kCycle;  // a negative seed's remainders are taken the same way
    std::memcpy(pOut, kPermutations<N>.rows[iRow], sizeof(int16_t) * N);
}

// PXGetPermutation's work: a permutation of 1..n (at most 16) picked by the seed.
void Permutation(int32_t iSeed, int16_t n, int16_t* pOut) {
    if (pOut == nullptr || n < 2 || n > kMaxTabledPermutation) return PermutationByRule(iSeed, n, pOut);
    switch (n) {
        case 2: return CopyTabled<2>(iSeed, pOut);
        case 3: return CopyTabled<3>(iSeed, pOut);
        case 4: return CopyTabled<4>(iSeed, pOut);
        case 5: return CopyTabled<5>(iSeed, pOut);
        case 6: return CopyTabled<6>(iSeed, pOut);
        case 7: return CopyTabled<7>(iSeed, pOut);
        default: return CopyTabled<8>(iSeed, pOut);
    }
}

// PXGetPermutation and the wide helpers below run once or more a row. While
// tracing is off each is one trace check and code without calls; while it
// is on, these twins do the same work between the helper's traces. Kept out
// of line, so that the untraced path stays a leaf.

[[gnu::cold, gnu::noinline]] void GetPermutationTraced(int32_t iSeed, int16_t n, int16_t* pOut) {
    TRC_ENTRY(kCmnComp, "PXGetPermutation");
    TRC_VAR(kCmnComp, "iSeed", KNL_TRC_I32, &iSeed);
    TRC_VAR(kCmnComp, "n", KNL_TRC_I16, &n);
    Permutation(iSeed, n, pOut);
    TRC_EXIT(kCmnComp, "PXGetPermutation", 0);
}

[[gnu::cold, gnu::noinline]] int32_t TransposeNumWTraced(const wchar_t* pSrc, wchar_t* pDst, int16_t n, int64_t lKey,
                                                         int32_t iOffset) {
    TRC_ENTRY(kCmnComp, "PXTransposeNumW");
    TRC_VAR(kCmnComp, "lKey", KNL_TRC_I64, &lKey);
    TRC_VAR(kCmnComp, "iOffset", KNL_TRC_I32, &iOffset);
    const int32_t iRc = TransposeNum(pSrc, pDst, n, lKey, iOffset);
    TRC_EXIT(kCmnComp, "PXTransposeNumW", iRc);
    return iRc;
}

[[gnu::cold, gnu::noinline]] int32_t IntToNumWTraced(int32_t iValue, int16_t sWidth, wchar_t* pDst) {
    TRC_ENTRY(kCmnComp, "PXIntToNumW");
    TRC_VAR(kCmnComp, "iValue", KNL_TRC_I32, &iValue);
    const int32_t iRc = ValueToDigits(iValue, sWidth, pDst, true);
    TRC_EXIT(kCmnComp, "PXIntToNumW", iRc);
    return iRc;
}

[[gnu::cold, gnu::noinline]] int32_t NumToLongWTraced(const wchar_t* pSrc, int16_t n, int16_t sWidth,
                                                      int64_t* plValue) {
    TRC_ENTRY(kCmnComp, "PXNumToLongW");
    const int32_t iRc = DigitsToValue(pSrc, n, sWidth, plValue);
    if (iRc == 0) TRC_VAR(kCmnComp, "plValue", KNL_TRC_I64, plValue);
    TRC_EXIT(kCmnComp, "PXNumToLongW", iRc);
    return iRc;
}

}  // namespace

extern "C" void PXGetPermutation(int32_t iSeed, int16_t n, int16_t* pOut) {
    if (QRNP_TRACE_ON()) return GetPermutationTraced(iSeed, n, pOut);
    Permutation(iSeed, n, pOut);
}

extern "C" int32_t PXTransposeNumW(const wchar_t* pSrc, wchar_t* pDst, int16_t n, int64_t lKey, int32_t iOffset) {
    if (QRNP_TRACE_ON()) return TransposeNumWTraced(pSrc, pDst, n, lKey, iOffset);
    return TransposeNum(pSrc, pDst, n, lKey, iOffset);
}

extern "C" int32_t PXTransposeNum(const char* pSrc, char* pDst, int16_t n, int64_t lKey, int32_t iOffset) {
    TRC_ENTRY(kCmnComp, "PXTransposeNum");
    TRC_VAR(kCmnComp, "lKey", KNL_TRC_I64, &lKey);
    TRC_VAR(kCmnComp, "iOffset", KNL_TRC_I32, &iOffset);
    const int32_t iRc = TransposeNum(pSrc, pDst, n, lKey, iOffset);
    TRC_EXIT(kCmnComp, "PXTransposeNum", iRc);
    return iRc;
}

extern "C" int32_t PXIntToNumW(int32_t iValue, int16_t sWidth, wchar_t* pDst) {
    if (QRNP_TRACE_ON()) return IntToNumWTraced(iValue, sWidth, pDst);
    return ValueToDigits(iValue, sWidth, pDst, true);
}

extern "C" int32_t PXIntToNum(int32_t iValue, int16_t sWidth, char* pDst) {
    TRC_ENTRY(kCmnComp, "PXIntToNum");
    TRC_VAR(kCmnComp, "iValue", KNL_TRC_I32, &iValue);
    const int32_t iRc = ValueToDigits(iValue, sWidth, pDst, true);
    TRC_EXIT(kCmnComp, "PXIntToNum", iRc);
    return iRc;
}

extern "C" int32_t PXLongToNumW(int64_t lValue, int16_t sWidth, wchar_t* pDst) {
    TRC_ENTRY(kCmnComp, "PXLongToNumW");
    TRC_VAR(kCmnComp, "lValue", KNL_TRC_I64, &lValue);
    const int32_t iRc = ValueToDigits(lValue, sWidth, pDst, true);
    TRC_EXIT(kCmnComp, "PXLongToNumW", iRc);
    return iRc;
}

extern "C" int32_t PXLongToNum(int64_t lValue, int16_t sWidth, char* pDst) {
    TRC_ENTRY(kCmnComp, "PXLongToNum");
    TRC_VAR(kCmnComp, "lValue", KNL_TRC_I64, &lValue);
    const int32_t iRc = ValueToDigits(lValue, sWidth, pDst, false);  // the single-byte long form is not terminated
    TRC_EXIT(kCmnComp, "PXLongToNum", iRc);
    return iRc;
}

extern "C" int32_t PXNumToLongW(const wchar_t* pSrc, int16_t n, int16_t sWidth, int64_t* plValue) {
    if (QRNP_TRACE_ON()) return NumToLongWTraced(pSrc, n, sWidth, plValue);
    return DigitsToValue(pSrc, n, sWidth, plValue);
}

extern "C" int32_t PXNumToLong(const char* pSrc, int16_t n, int16_t sWidth, int64_t* plValue) {
    TRC_ENTRY(kCmnComp, "PXNumToLong");
    const int32_t iRc = DigitsToValue(pSrc, n, sWidth, plValue);
    if (iRc == 0) TRC_VAR(kCmnComp, "plValue", KNL_TRC_I64, plValue);
    TRC_EXIT(kCmnComp, "PXNumToLong", iRc);
    return iRc;
}
