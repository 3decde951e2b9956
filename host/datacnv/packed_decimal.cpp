// Packed decimal columns to and from decimal wide strings.
//
// A packed decimal of p digits (the column's precision; 0 or no column means
// 31) takes p / 2 + 1 bytes: two digits a byte, most significant first, with
// the sign in the last nibble. When p is even the first nibble is padding and
// must be 0. Only non-negative values are supported: sign C or F on input,
// C on output.
#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

// Nibble i (0 = high half of byte 0) of a packed value.
inline unsigned Nibble(const unsigned char* pBytes, int32_t i) {
    const unsigned b = pBytes[i / 2];
    return (i % 2 == 0) ? (b >> 4) : (b & 0x0F);
}

}  // namespace

uint32_t QRNPCnvDecPKDToWVarcharSz(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                   int32_t* piOutLen, const ColumnDef* pCtx) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const int32_t iPrecision = PackedPrecision(pCtx);
    const int32_t iBytes = iPrecision / 2 + 1;
    if (iPrecision < 0 || (iSrcLen > 0 && iSrcLen < iBytes)) {
        return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    }
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    const int32_t iSignNibble = 2 * iBytes - 1;
    const unsigned sign = Nibble(pBytes, iSignNibble);
    if (sign != 0xC && sign != 0xF) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);

    wchar_t digits[32];
    int32_t n = 0;
    for (int32_t i = 0; i < iSignNibble; ++i) {
        const unsigned d = Nibble(pBytes, i);
        const bool bPadding = i < iSignNibble - iPrecision;
        if (d > 9 || (bPadding && d != 0)) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
        if (n == 0 && d == 0) continue;  // leading zero
        digits[n++] = static_cast<wchar_t>(L'0' + d);
    }
    if (n == 0) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    return PutWide(digits, n, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvWVarcharSzToDecPKD(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                   int32_t* piDstLen, const ColumnDef* pCtx) {
    SetLen(piDstLen, 0);
    const int32_t iPrecision = PackedPrecision(pCtx);
    if (pDst == nullptr || pIn == nullptr || iPrecision < 0) return QRNP_CNV_UNDEFINED;
    const int32_t iLen = InputLength(pIn, iInLen);
    if (iLen == 0) return QRNP_CNV_NOT_A_NUMBER;
    int32_t iFirst = -1;  // first significant digit
    for (int32_t i = 0; i < iLen; ++i) {
        if (pIn[i] < L'0' || pIn[i] > L'9') return QRNP_CNV_NOT_A_NUMBER;
        if (iFirst < 0 && pIn[i] != L'0') iFirst = i;
    }
    if (iFirst >= 0 && iLen - iFirst > iPrecision) return QRNP_CNV_NOT_A_NUMBER;
    const int32_t iBytes = iPrecision / 2 + 1;
    if (iDstCap < iBytes) return QRNP_CNV_BUFFER_TOO_SMALL;

    auto* pBytes = static_cast<unsigned char*>(pDst);
    std::memset(pBytes, 0, static_cast<size_t>(iBytes));
    const int32_t iSignNibble = 2 * iBytes - 1;
    pBytes[iBytes - 1] = 0x0C;
    // Digits right-aligned against the sign nibble; leading zeros stay 0.
    int32_t iNibble = iSignNibble - 1;
    for (int32_t i = iLen - 1; i >= 0 && iNibble >= 0; --i, --iNibble) {
        const auto d = static_cast<unsigned char>(pIn[i] - L'0');
        pBytes[iNibble / 2] |= (iNibble % 2 == 0) ? static_cast<unsigned char>(d << 4) : d;
    }
    SetLen(piDstLen, iBytes);
    return QRNP_CNV_OK;
}
