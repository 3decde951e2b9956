// Wide strings to character columns.
//
// Single-byte columns take ISO-8859-1: a character above U+00FF cannot be
// written (0xFFFFFFFF). NUL-terminated columns cannot hold a NUL character
// either. Everything is checked before the first byte is written, so a
// refused value leaves the destination untouched. *piDstLen gets the bytes
// used, length prefix and terminator included, and 0 on failure.
#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

constexpr int64_t MAX_PREFIX = INT16_MAX;   // largest byte count a 16-bit prefix holds

// Writes iLen characters of pIn in a column layout: 32-bit characters
// (bWide) or single bytes, after a 16-bit byte-count prefix (bPrefix), with a
// NUL after the characters (bTerminator); the whole conversion. A template,
// so that each column type gets loops without layout tests (every row goes
// through one of them).
template <bool bWide, bool bPrefix, bool bTerminator>
uint32_t WriteText(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen) {
    SetLen(piDstLen, 0);
    if (pDst == nullptr || pIn == nullptr) return QRNP_CNV_UNDEFINED;
    const int32_t n = InputLength(pIn, iInLen);
    const int64_t iUnit = bWide ? 4 : 1;
    const int64_t iDataBytes = n * iUnit;
    const int64_t iTotal = (bPrefix ? 2 : 0) + iDataBytes + (bTerminator ? iUnit : 0);
    // Collected over all characters rather than tested one by one, so that the
    // loop vectorises: non-zero when a character is above U+00FF for a
    // single-byte column, or a NUL for a terminated one.
    uint32_t iUnwritable = 0;
    for (int32_t i = 0; i < n; ++i) {
        const uint32_t c = static_cast<uint32_t>(pIn[i]);
        if (!bWide) iUnwritable |= c >> 8;
        if (bTerminator) iUnwritable |= static_cast<uint32_t>(c == 0);
    }
    if (iUnwritable != 0) return QRNP_CNV_UNDEFINED;
    if (bPrefix && iDataBytes > MAX_PREFIX) return QRNP_CNV_UNDEFINED;
    if (iTotal > iDstCap) return QRNP_CNV_BUFFER_TOO_SMALL;

    auto* p = static_cast<unsigned char*>(pDst);
    if (bPrefix) {
        WriteRaw(p, static_cast<int16_t>(iDataBytes));
        p += 2;
    }
    if (bWide) {
        std::memcpy(p, pIn, static_cast<size_t>(iDataBytes));
        if (bTerminator) WriteRaw(p + iDataBytes, uint32_t{0});
    } else {
        for (int32_t i = 0; i < n; ++i) p[i] = static_cast<unsigned char>(pIn[i]);
        if (bTerminator) p[n] = 0;
    }
    SetLen(piDstLen, static_cast<int32_t>(iTotal));
    return QRNP_CNV_OK;
}

}  // namespace

uint32_t QRNPCnvWVarcharSzToChar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                                 const ColumnDef*) {
    return WriteText<false, false, false>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToVarchar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                    int32_t* piDstLen, const ColumnDef*) {
    return WriteText<false, true, false>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToVarcharSz(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                      int32_t* piDstLen, const ColumnDef*) {
    return WriteText<false, false, true>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToWChar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                                  const ColumnDef*) {
    return WriteText<true, false, false>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToWVarchar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                     int32_t* piDstLen, const ColumnDef*) {
    return WriteText<true, true, false>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToWVarcharSzOut(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                          int32_t* piDstLen, const ColumnDef*) {
    return WriteText<true, false, true>(pIn, iInLen, pDst, iDstCap, piDstLen);
}
