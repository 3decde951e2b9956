// Unsigned variable-length database numbers to and from decimal wide strings.
//
// Layout: byte 0 is the count L (1-21) of the bytes that follow; the first of
// them is the exponent byte 0xC1 + e, e being the base-100 exponent of the
// first base-100 digit; each following byte is a base-100 digit plus 1, most
// significant first, trailing zero digits left out. Zero is L = 1 with the
// single byte 0x80. Whole non-negative numbers only: negative values (an
// exponent byte below 0x80) and fractions are refused as malformed.
#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

constexpr int32_t MAX_NUMBER_BYTES = 21;   // exponent byte and up to 20 base-100 digits
constexpr int32_t MAX_EXPONENT = 0xFF - 0xC1;
constexpr unsigned char ZERO_BYTE = 0x80;

}  // namespace

uint32_t QRNPCnvOraVarnumToWVarcharSz_Unsigned(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap,
                                               int32_t* piOutLen, const ColumnDef*) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    const auto* pBytes = static_cast<const unsigned char*>(pSrc);
    if (iSrcLen > 0 && iSrcLen < 2) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    const int32_t L = pBytes[0];
    if (L < 1 || L > MAX_NUMBER_BYTES || (iSrcLen > 0 && L + 1 > iSrcLen)) {
        return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    }
    const unsigned exponentByte = pBytes[1];
    if (L == 1 && exponentByte == ZERO_BYTE) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    // Below 0xC1: negative (below 0x80) or less than 1; a digit must follow.
    if (exponentByte < 0xC1 || L == 1) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);

    const int32_t iPairs = static_cast<int32_t>(exponentByte - 0xC1) + 1;  // base-100 digits before the point
    const int32_t iMantissa = L - 1;
    for (int32_t i = 0; i < iMantissa; ++i) {
        const unsigned b = pBytes[2 + i];
        if (b < 1 || b > 100) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
        if (i >= iPairs && b != 1) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);  // a fraction
    }

    // Two decimal digits a pair; pairs past the stored digits are 00.
    wchar_t digits[2 * (MAX_EXPONENT + 1)];
    int32_t n = 0;
    for (int32_t i = 0; i < iPairs; ++i) {
        const unsigned pair = i < iMantissa ? pBytes[2 + i] - 1u : 0u;
        if (n > 0 || pair >= 10) digits[n++] = static_cast<wchar_t>(L'0' + pair / 10);
        if (n > 0 || pair != 0) digits[n++] = static_cast<wchar_t>(L'0' + pair % 10);
    }
    if (n == 0) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_EMPTY);
    return PutWide(digits, n, pOut, iOutCap, piOutLen);
}

uint32_t QRNPCnvWVarcharSz_UnsignedToOraVarnum(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                               int32_t* piDstLen, const ColumnDef*) {
    SetLen(piDstLen, 0);
    if (pDst == nullptr || pIn == nullptr) return QRNP_CNV_UNDEFINED;
    const int32_t iLen = InputLength(pIn, iInLen);
    if (iLen == 0) return QRNP_CNV_NOT_A_NUMBER;
    int32_t iFirst = -1;  // first significant digit
    for (int32_t i = 0; i < iLen; ++i) {
        if (pIn[i] < L'0' || pIn[i] > L'9') return QRNP_CNV_NOT_A_NUMBER;
        if (iFirst < 0 && pIn[i] != L'0') iFirst = i;
    }
    auto* pBytes = static_cast<unsigned char*>(pDst);
    if (iFirst < 0) {
        if (iDstCap < 2) return QRNP_CNV_BUFFER_TOO_SMALL;
        pBytes[0] = 1;
        pBytes[1] = ZERO_BYTE;
        SetLen(piDstLen, 2);
        return QRNP_CNV_OK;
    }
    const int32_t iDigits = iLen - iFirst;
    const int32_t iPairs = (iDigits + 1) / 2;
    if (iPairs - 1 > MAX_EXPONENT) return QRNP_CNV_NOT_A_NUMBER;
    // Pair i covers digits [start, start + 2); an odd count leaves the first pair one digit short.
    auto pairAt = [&](int32_t i) -> unsigned {
        const int32_t iEnd = iFirst + iDigits - 2 * (iPairs - 1 - i);  // one past the pair's last digit
        const unsigned lo = static_cast<unsigned>(pIn[iEnd - 1] - L'0');
        const unsigned hi = iEnd - 2 >= iFirst ? static_cast<unsigned>(pIn[iEnd - 2] - L'0') : 0u;
        return hi * 10 + lo;
    };
    int32_t iMantissa = iPairs;
    while (pairAt(iMantissa - 1) == 0) --iMantissa;  // trailing zero pairs are not stored
    if (iMantissa > MAX_NUMBER_BYTES - 1) return QRNP_CNV_NOT_A_NUMBER;
    if (iDstCap < iMantissa + 2) return QRNP_CNV_BUFFER_TOO_SMALL;
    pBytes[0] = static_cast<unsigned char>(iMantissa + 1);
    pBytes[1] = static_cast<unsigned char>(0xC1 + iPairs - 1);
    for (int32_t i = 0; i < iMantissa; ++i) pBytes[2 + i] = static_cast<unsigned char>(pairAt(i) + 1);
    SetLen(piDstLen, iMantissa + 2);
    return QRNP_CNV_OK;
}
