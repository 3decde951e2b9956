// Text helpers for working strings and fixed-width columns: trimming blanks
// and blank-filling a single-byte buffer.
#include "cnv_common.h"

using namespace qrnp_cnv;

uint32_t TrimSpacesW(wchar_t* pStr, int32_t* piLen, int32_t bLeading, int32_t bTrailing) {
    if (pStr == nullptr || piLen == nullptr) return QRNP_CNV_OK;
    int32_t iEnd = InputLength(pStr, *piLen);
    int32_t iBegin = 0;
    if (bTrailing) {
        while (iEnd > 0 && pStr[iEnd - 1] == L' ') --iEnd;
    }
    if (bLeading) {
        while (iBegin < iEnd && pStr[iBegin] == L' ') ++iBegin;
    }
    const int32_t n = iEnd - iBegin;
    if (iBegin > 0) std::memmove(pStr, pStr + iBegin, static_cast<size_t>(n) * sizeof(wchar_t));
    pStr[n] = 0;
    *piLen = n;
    return QRNP_CNV_OK;
}

uint32_t InitializeCharBufferWithSpaces(void* pBuf, int32_t iLen, const ColumnDef*) {
    if (pBuf != nullptr && iLen > 0) std::memset(pBuf, ' ', static_cast<size_t>(iLen));
    return QRNP_CNV_OK;
}

