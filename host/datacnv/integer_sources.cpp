// Binary integer column values to decimal wide strings.
//
// Digits only, no leading zeros, "-" before a negative value. Zero is an empty
// value for the column converters (75, empty string); the converters used for
// message values (QRNPCnvIntToWVarcharSz1, SmallInt, SmallUInt) write "0".
// A positive source length shorter than the integer is malformed.
#include <type_traits>

#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

// Writes an integer of magnitude v (with "-" when bNegative) as decimal text.
// A zero gives 75 and an empty string unless bZeroAsDigit.
uint32_t PutInteger(uint64_t v, bool bNegative, bool bZeroAsDigit, wchar_t* pOut, int32_t iOutCap,
                    int32_t* piOutLen) {
    if (v == 0 && !bZeroAsDigit) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    wchar_t digits[24];
    wchar_t* pEnd = digits + 24;
    wchar_t* p = FormatDecimal(v, pEnd);
    if (bNegative) *--p = L'-';
    return PutWide(p, static_cast<int32_t>(pEnd - p), pOut, iOutCap, piOutLen);
}

// Reads a T from the source; false when a positive source length is too short for it.
template <typename T>
bool ReadInteger(const void* pSrc, int32_t iSrcLen, T* pValue) {
    if (iSrcLen > 0 && static_cast<size_t>(iSrcLen) < sizeof(T)) return false;
    *pValue = ReadRaw<T>(pSrc);
    return true;
}

// The converter for an integer type T; bZeroAsDigit writes "0" for zero.
template <typename T, bool bZeroAsDigit>
uint32_t IntegerToWide(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    T value;
    if (!ReadInteger(pSrc, iSrcLen, &value)) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    if constexpr (std::is_signed_v<T>) {
        const int64_t wide = value;
        // The magnitude, computed unsigned so that the most negative value does not overflow.
        const uint64_t v = wide < 0 ? 0 - static_cast<uint64_t>(wide) : static_cast<uint64_t>(wide);
        return PutInteger(v, wide < 0, bZeroAsDigit, pOut, iOutCap, piOutLen);
    } else {
        return PutInteger(value, false, bZeroAsDigit, pOut, iOutCap, piOutLen);
    }
}

}  // namespace

uint32_t QRNPCnvULONGLONGToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                      int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<uint64_t, false>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvUIntToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                 int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<uint32_t, false>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvIntToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<int32_t, false>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvIntToWVarcharSz1(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                 int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<int32_t, true>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvSmallIntToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                     int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<int16_t, true>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvSmallUIntToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                      int32_t* piOutLen, const ColumnDef*) {
    return IntegerToWide<uint16_t, true>(pSrc, iSrcLen, pOut, iOutCap, piOutLen);
}
