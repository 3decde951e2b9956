// Decimal wide strings to binary integers: the unsigned column destinations
// and the fixed-width digit reader used on working strings.
#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

// The converter to an unsigned integer type T: digits only, the value within T.
template <typename T>
uint32_t WideToUnsigned(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen) {
    SetLen(piDstLen, 0);
    if (pDst == nullptr || pIn == nullptr) return QRNP_CNV_UNDEFINED;
    uint64_t value = 0;
    if (!ParseDecimal(pIn, InputLength(pIn, iInLen), static_cast<T>(~T{0}), &value)) return QRNP_CNV_NOT_A_NUMBER;
    if (iDstCap < static_cast<int32_t>(sizeof(T))) return QRNP_CNV_BUFFER_TOO_SMALL;
    WriteRaw(pDst, static_cast<T>(value));
    SetLen(piDstLen, sizeof(T));
    return QRNP_CNV_OK;
}

}  // namespace

uint32_t QRNPCnvWVarcharSzToULONGLONG(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap,
                                      int32_t* piDstLen, const ColumnDef*) {
    return WideToUnsigned<uint64_t>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToUInt(const wchar_t* pIn, int32_t iInLen, void* pDst, int32_t iDstCap, int32_t* piDstLen,
                                 const ColumnDef*) {
    return WideToUnsigned<uint32_t>(pIn, iInLen, pDst, iDstCap, piDstLen);
}

uint32_t QRNPCnvWVarcharSzToInt(const wchar_t* pStr, int32_t* piValue, int32_t iStart, int32_t iDigits) {
    if (pStr == nullptr || piValue == nullptr || iStart < 0 || iDigits < 1 || iDigits > 9) {
        return QRNP_CNV_NOT_A_NUMBER;
    }
    // A start past the terminator is refused without reading beyond it: the
    // characters before the start are read in order (four to a step, each
    // only once the one before it is known not to end the string).
    int32_t i = 0;
    for (; i + 4 <= iStart; i += 4) {
        if (pStr[i] == 0 || pStr[i + 1] == 0 || pStr[i + 2] == 0 || pStr[i + 3] == 0) return QRNP_CNV_NOT_A_NUMBER;
    }
    for (; i < iStart; ++i) {
        if (pStr[i] == 0) return QRNP_CNV_NOT_A_NUMBER;
    }
    int32_t v = 0;
    // Character by character, so that a terminator before the end stops the read.
    const wchar_t* p = pStr + iStart;
    for (int32_t k = 0; k < iDigits; ++k) {
        const uint32_t d = static_cast<uint32_t>(p[k]) - static_cast<uint32_t>(L'0');
        if (d > 9) return QRNP_CNV_NOT_A_NUMBER;
        v = v * 10 + static_cast<int32_t>(d);
    }
    *piValue = v;
    return QRNP_CNV_OK;
}
