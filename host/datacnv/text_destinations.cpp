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

// How a wide string is laid out in a character column.
struct TextLayout {
    bool bWide;        // 32-bit characters, else single bytes
    bool bPrefix;      // a 16-bit byte-count prefix comes first
    bool bTerminator;  // a NUL follows the characters
};

// Writes iLen characters of pIn in the given layout; the whole conversion.
uint32_t WriteText(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                   TextLayout layout) {
    SetLen(piDstLen, 0);
    if (pDst == nullptr || pIn == nullptr) return QRNP_CNV_UNDEFINED;
    const int32_t n = InputLength(pIn, iInLen);
    const int64_t iUnit = layout.bWide ? 4 : 1;
    const int64_t iDataBytes = n * iUnit;
    const int64_t iTotal = (layout.bPrefix ? 2 : 0) + iDataBytes + (layout.bTerminator ? iUnit : 0);
    for (int32_t i = 0; i < n; ++i) {
        const uint32_t c = static_cast<uint32_t>(pIn[i]);
        if ((!layout.bWide && c > 0xFF) || (layout.bTerminator && c == 0)) return QRNP_CNV_UNDEFINED;
    }
    if (layout.bPrefix && iDataBytes > MAX_PREFIX) return QRNP_CNV_UNDEFINED;
    if (iTotal > iDstCap) return QRNP_CNV_BUFFER_TOO_SMALL;

    auto* p = static_cast<unsigned char*>(pDst);
    if (layout.bPrefix) {
        WriteRaw(p, static_cast<int16_t>(iDataBytes));
        p += 2;
    }
    if (layout.bWide) {
        std::memcpy(p, pIn, static_cast<size_t>(iDataBytes));
        if (layout.bTerminator) WriteRaw(p + iDataBytes, uint32_t{0});
    } else {
        for (int32_t i = 0; i < n; ++i) p[i] = static_cast<unsigned char>(pIn[i]);
        if (layout.bTerminator) p[n] = 0;
    }
    SetLen(piDstLen, static_cast<int32_t>(iTotal));
    return QRNP_CNV_OK;
}

}  // namespace

uint32_t QRNPCnvWVarcharSzToChar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                                 const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {false, false, false});
}

uint32_t QRNPCnvWVarcharSzToVarchar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                    int32_t* piDstLen, const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {false, true, false});
}

uint32_t QRNPCnvWVarcharSzToVarcharSz(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                      int32_t* piDstLen, const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {false, false, true});
}

uint32_t QRNPCnvWVarcharSzToWChar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                                  const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {true, false, false});
}

uint32_t QRNPCnvWVarcharSzToWVarchar(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                     int32_t* piDstLen, const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {true, true, false});
}

uint32_t QRNPCnvWVarcharSzToWVarcharSzOut(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                          int32_t* piDstLen, const ColumnDef*) {
    return WriteText(pIn, iInLen, pDst, iDstCap, piDstLen, {true, false, true});
}
