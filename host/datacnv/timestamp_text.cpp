// Date, time and timestamp records to wide text, for message values:
// "YYYY-MM-DD", "HH:MM:SS" and "YYYY-MM-DD HH:MM:SS.ffffff".
#include <cstdio>

#include "cnv_common.h"

using namespace qrnp_cnv;

namespace {

// Formats the record at pSrc of the given type code into text; its length, or -1 for another code.
int FormatRecord(const void* pSrc, int32_t iSrcLen, int16_t sType, char* pText, size_t iTextCap) {
    auto fits = [&](size_t iSize) { return iSrcLen <= 0 || static_cast<size_t>(iSrcLen) >= iSize; };
    switch (sType) {
        case ODBC_DATE: {
            if (!fits(sizeof(QRNPDate))) return -1;
            const auto d = ReadRaw<QRNPDate>(pSrc);
            return std::snprintf(pText, iTextCap, "%04d-%02u-%02u", d.sYear, unsigned{d.sMonth}, unsigned{d.sDay});
        }
        case ODBC_TIME: {
            if (!fits(sizeof(QRNPTime))) return -1;
            const auto t = ReadRaw<QRNPTime>(pSrc);
            return std::snprintf(pText, iTextCap, "%02u:%02u:%02u", unsigned{t.sHour}, unsigned{t.sMinute},
                                 unsigned{t.sSecond});
        }
        case ODBC_TIMESTAMP: {
            if (!fits(sizeof(QRNPTimestamp))) return -1;
            const auto ts = ReadRaw<QRNPTimestamp>(pSrc);
            return std::snprintf(pText, iTextCap, "%04d-%02u-%02u %02u:%02u:%02u.%06u", ts.sYear,
                                 unsigned{ts.sMonth}, unsigned{ts.sDay}, unsigned{ts.sHour}, unsigned{ts.sMinute},
                                 unsigned{ts.sSecond}, unsigned{ts.iFraction});
        }
        default:
            return -1;
    }
}

}  // namespace

uint32_t QRNPGetStringFromTS(const void* pSrc, int32_t iSrcLen, wchar_t* pOut, int32_t iOutCap, int32_t* piOutLen,
                             const ColumnDef* pCtx) {
    if (pSrc == nullptr) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_NULL_SOURCE);
    char text[80];
    const int n = FormatRecord(pSrc, iSrcLen, pCtx != nullptr ? pCtx->sDataType : int16_t{ODBC_TIMESTAMP}, text,
                               sizeof text);
    if (n < 0) return EmptyResult(pOut, iOutCap, piOutLen, QRNP_CNV_UNDEFINED);
    wchar_t wide[80];
    for (int i = 0; i < n; ++i) wide[i] = static_cast<unsigned char>(text[i]);
    return PutWide(wide, n, pOut, iOutCap, piOutLen);
}
