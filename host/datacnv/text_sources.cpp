// Character column values to NUL-terminated wide strings.
//
// Single-byte text is ISO-8859-1, so each byte is its own code point. Values
// are carried as they are: no trimming, and a NUL inside a fixed or
// length-prefixed value is kept (the caller gets the length). A null source
// gives 30 and a value of no characters 75, both with an empty string.
#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

// Widens iBytes ISO-8859-1 bytes into pOut, terminated, or returns 64.
uint32_t PutBytes(const unsigned char* pBytes, int32_t iBytes, wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen) {
    if (iBytes == 0) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    if (pOut == nullptr || !FitsWide(iBytes, iOutCap)) {
        return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_BUFFER_TOO_SMALL);
    }
    for (int32_t i = 0; i < iBytes; ++i) pOut[i] = static_cast<wchar_t>(pBytes[i]);
    pOut[iBytes] = 0;
    SetLen(piOutLen, iBytes);
    return QRNP_CNV_OK;
}

// Copies iChars wide characters stored at pChars (possibly unaligned), terminated, or returns 64.
uint32_t PutChars(const unsigned char* pChars, int32_t iChars, wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen) {
    if (iChars == 0) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    return PutWide(pChars, iChars, pOut, iOutCap, piOutLen);
}

// Reads a 16-bit length prefix; -1 when the source is too short to hold it.
int32_t ReadPrefix(const unsigned char* pSrc, int32_t iSrcLen) {
    if (iSrcLen > 0 && iSrcLen < 2) return -1;
    return ReadRaw<int16_t>(pSrc);
}

}  // namespace

uint32_t QRNPCnvCharToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                 int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    return PutBytes(static_cast<const unsigned char*>(pSrc), iSrcLen > 0 ? iSrcLen : 0, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvVarcharToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                    int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    const int32_t n = ReadPrefix(pBytes, iSrcLen);
    if (n < 0 || (iSrcLen > 0 && n + 2 > iSrcLen)) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    return PutBytes(pBytes + 2, n, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvVarcharSzToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                      int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    int32_t n = 0;
    while ((iSrcLen <= 0 || n < iSrcLen) && pBytes[n] != 0) ++n;
    return PutBytes(pBytes, n, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvWCharToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                  int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    // A trailing partial character is ignored, as the row driver's length does.
    return PutChars(static_cast<const unsigned char*>(pSrc), iSrcLen > 0 ? iSrcLen / 4 : 0, pOut, iOutCap,
                    piOutLen);
}

uint32_t QRNPCnvWVarcharToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                     int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    const int32_t n = ReadPrefix(pBytes, iSrcLen);
    if (n < 0 || n % 4 != 0 || (iSrcLen > 0 && n + 2 > iSrcLen)) {
        return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    }
    return PutChars(pBytes + 2, n / 4, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvWVarcharSzToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                       int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    const int32_t iMax = iSrcLen > 0 ? iSrcLen / 4 : INT32_MAX;
    int32_t n = 0;
    while (n < iMax && ReadRaw<uint32_t>(pBytes + 4 * static_cast<size_t>(n)) != 0) ++n;
    return PutChars(pBytes, n, pOut, iOutCap, piOutLen);
}
