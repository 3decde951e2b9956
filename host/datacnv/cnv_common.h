// Small helpers shared by the converters: output capacity checks, empty
// results, unaligned reads and writes of column bytes, and decimal digits.
// All inline and allocation-free: converters run once per row.
#ifndef QRNP_HOST_DATACNV_CNV_COMMON_H
#define QRNP_HOST_DATACNV_CNV_COMMON_H

#include <cstdint>
#include <cstring>

#include <qrnp/qrnp_datacnv.h>

namespace qrnp_cnv {

// True when a wide output of iOutCap bytes holds iChars characters and the terminator.
inline bool FitsWide(int64_t iChars, int32_t iOutCap) {
    return (iChars + 1) * 4 <= static_cast<int64_t>(iOutCap);
}

// Stores a character count when the caller asked for one.
inline void SetLen(int32_t* piLen, int32_t iLen) {
    if (piLen != nullptr) *piLen = iLen;
}

// Writes an empty wide string when there is room for its terminator, sets the
// length to 0 and returns iCode (the result of a null, empty or failed source).
inline uint32_t EmptyResult(wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen, uint32_t iCode) {
    if (pOut != nullptr && iOutCap >= 4) pOut[0] = 0;
    SetLen(piOutLen, 0);
    return iCode;
}

// Copies iChars wide characters stored at pChars (aligned or not) to pOut and
// terminates them, or returns 64 (with an empty string when that fits) when
// the capacity is too small.
inline uint32_t PutWide(const void* pChars, int32_t iChars, wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen) {
    if (pOut == nullptr || !FitsWide(iChars, iOutCap)) {
        return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_BUFFER_TOO_SMALL);
    }
    std::memcpy(pOut, pChars, static_cast<size_t>(iChars) * 4);
    pOut[iChars] = 0;
    SetLen(piOutLen, iChars);
    return QRNP_CNV_OK;
}

// Reads a value of type T from bytes that may be unaligned.
template <typename T>
inline T ReadRaw(const void* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

// Writes a value of type T to bytes that may be unaligned.
template <typename T>
inline void WriteRaw(void* p, T value) {
    std::memcpy(p, &value, sizeof value);
}

// Writes the decimal digits of v right-aligned so that they end just before
// pEnd; returns the first digit. Zero gives "0". pEnd needs 20 places before it.
inline wchar_t* FormatDecimal(uint64_t v, wchar_t* pEnd) {
    wchar_t* p = pEnd;
    do {
        *--p = static_cast<wchar_t>(L'0' + v % 10);
        v /= 10;
    } while (v != 0);
    return p;
}

// Reads iLen wide characters as an unsigned decimal number no greater than
// iMax. False when there is no character, a character is not '0'-'9', or the value exceeds iMax.
inline bool ParseDecimal(const wchar_t* pIn, int32_t iLen, uint64_t iMax, uint64_t* pValue) {
    if (pIn == nullptr || iLen <= 0) return false;
    uint64_t v = 0;
    // Up to 19 digits cannot pass 2^64: the limit is then checked once, at the end.
    if (iLen <= 19) {
        for (int32_t i = 0; i < iLen; ++i) {
            const uint64_t d = static_cast<uint64_t>(static_cast<uint32_t>(pIn[i]) - static_cast<uint32_t>(L'0'));
            if (d > 9) return false;
            v = v * 10 + d;
        }
        if (v > iMax) return false;
        *pValue = v;
        return true;
    }
    for (int32_t i = 0; i < iLen; ++i) {
        const wchar_t c = pIn[i];
        if (c < L'0' || c > L'9') return false;
        const uint64_t d = static_cast<uint64_t>(c - L'0');
        if (v > (iMax - d) / 10) return false;
        v = v * 10 + d;
    }
    *pValue = v;
    return true;
}

// The character count of a destination converter's input: iInLen, or the
// length up to the terminator when iInLen is negative.
inline int32_t InputLength(const wchar_t* pIn, int32_t iInLen) {
    if (iInLen >= 0) return iInLen;
    int32_t n = 0;
    while (pIn[n] != 0) ++n;
    return n;
}

// The digit count of a packed decimal: the column's precision, 31 when it is 0
// or there is no column; -1 when it lies outside 0-31.
inline int32_t PackedPrecision(const ColumnDef* pCtx) {
    const int32_t p = pCtx != nullptr ? pCtx->sPrecision : 0;
    if (p == 0) return 31;
    return p >= 1 && p <= 31 ? p : -1;
}

}  // namespace qrnp_cnv

#endif
