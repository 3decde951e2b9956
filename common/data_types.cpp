// The data-type table and the helpers that size values and buffers from it.
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <qrnp/qrnp_common.h>
#include <qrnp/qrnp_messages.h>

#include "common/cmn_trace.h"

namespace {

// Sentinels of the byte column: the size comes from the column definition.
constexpr int32_t kColumnBytes = -1;      // the column length
constexpr int32_t kWideColumnBytes = -2;  // the column length times four
constexpr int32_t kUnknownBytes = -3;     // a code without a size (11, 12)

// Results of GetDataTypeBytes / GetDataTypeLengths.
constexpr int32_t kRcNoColumnDef = 48;
constexpr int32_t kRcUnknownType = 49;
constexpr int32_t kRcCharType = 50;
constexpr int32_t kRcDateTimeString = 65;

struct DataTypeInfo {
    const char* pName;     // null: the code is not a type
    int32_t iBytes;        // bytes of a value, or one of the sentinels above
    int32_t iLength;       // display length (written only when iLengthRc is 0 or 65)
    int32_t iLengthRc;     // result of GetDataTypeLengths
};

// Indexed by code 0..28; code 101 is handled on its own.
constexpr DataTypeInfo kTypes[] = {
    {nullptr, kUnknownBytes, 0, kRcUnknownType},                 // 0
    {"CHAR", kColumnBytes, 0, kRcCharType},                      // 1
    {"VARCHAR", kColumnBytes, 0, kRcCharType},                   // 2
    {"VARCHAR_SZ", kColumnBytes, 0, kRcCharType},                // 3
    {"WCHAR", kWideColumnBytes, 0, kRcCharType},                 // 4
    {"WVARCHAR", kWideColumnBytes, 0, kRcCharType},              // 5
    {"WVARCHAR_SZ", kWideColumnBytes, 0, kRcCharType},           // 6
    {"LONG_LONG", 8, 21, 0},                                     // 7
    {"U_LONG_LONG", 8, 21, 0},                                   // 8
    {"INTEGER", 4, 11, 0},                                       // 9
    {"U_INTEGER", 4, 11, 0},                                     // 10
    {"11", kUnknownBytes, 0, kRcUnknownType},                    // 11
    {"12", kUnknownBytes, 0, kRcUnknownType},                    // 12
    {"DECIMAL_PKD", 16, 42, 0},                                  // 13
    {"ODBC_DATE", 16, 50, 0},                                    // 14
    {"ODBC_TIME", 16, 50, 0},                                    // 15
    {"ODBC_TIMESTAMP", 24, 50, 0},                               // 16
    {"DATETIME_SZ", 50, 50, kRcDateTimeString},                  // 17
    {"DATETIME_WSZ", 200, 50, kRcDateTimeString},                // 18
    {"DOUBLE", 8, 32, 0},                                        // 19
    {"FLOAT", 4, 32, 0},                                         // 20
    {"SMALLINT", 2, 6, 0},                                       // 21
    {"USMALLINT", 2, 6, 0},                                      // 22
    {"TINYINT", 1, 4, 0},                                        // 23
    {"UTINYINT", 1, 4, 0},                                       // 24
    {"DATETIME_CHAR", 50, 50, kRcDateTimeString},                // 25
    {"DATETIME_VARCHAR", 50, 50, kRcDateTimeString},             // 26
    {"DATETIME_WCHAR", 200, 50, kRcDateTimeString},              // 27
    {"DATETIME_WVARCHAR", 200, 50, kRcDateTimeString},           // 28
};
constexpr int32_t kTypeCount = static_cast<int32_t>(sizeof(kTypes) / sizeof(kTypes[0]));
constexpr DataTypeInfo kOraVarnum = {nullptr, 50, 51, 0};

// The table row of a code, or null for a code that is not a type.
const DataTypeInfo* FindType(int32_t iCode) {
    if (iCode >= 1 && iCode < kTypeCount) return &kTypes[iCode];
    if (iCode == ORA_VARNUM) return &kOraVarnum;
    return nullptr;
}

// The 16-bit length prefix of a varying value (possibly unaligned).
int16_t ReadPrefix(const void* pSrc) {
    int16_t sPrefix;
    std::memcpy(&sPrefix, pSrc, sizeof sPrefix);
    return sPrefix;
}

// Characters of `iUnit` bytes (1 or 4, possibly unaligned) before the first
// zero one; at most iMax of them when iMax is above 0, else up to the zero.
int32_t CountBeforeTerminator(const void* pSrc, size_t iUnit, int32_t iMax) {
    const auto* p = static_cast<const unsigned char*>(pSrc);
    int32_t n = 0;
    for (; iMax <= 0 || n < iMax; ++n) {
        uint32_t c = 0;
        std::memcpy(&c, p + static_cast<size_t>(n) * iUnit, iUnit);
        if (c == 0) break;
    }
    return n;
}

// Status codes of QRNP_IsZeroOrZeroLength.
constexpr int32_t kZeroLengthChar = QRNP_MSG_EMPTY_CHARACTER_VALUE;   // 'J'
constexpr int32_t kZeroLengthNumeric = QRNP_MSG_EMPTY_NUMERIC_VALUE;  // 'K'

int32_t ZeroLengthStatus(int32_t iCode) {
    switch (iCode) {
        case 1: case 2: case 3: case 4: case 5: case 6:
        case 17: case 18: case 25: case 26: case 27: case 28:
            return kZeroLengthChar;
        case 7: case 8: case 9: case 10: case 13:
        case 19: case 20: case 21: case 22: case 23: case 24:
        case ORA_VARNUM:
            return kZeroLengthNumeric;
        default:
            return -1;
    }
}

}  // namespace

extern "C" int32_t GetDataTypeBytes(const ColumnDef* pColumnDef, int32_t* piBytes) {
    TRC_ENTRY(kCmnComp, "GetDataTypeBytes");
    if (pColumnDef == nullptr) {
        TRC_TEXT(kCmnComp, "No column definition");
        TRC_EXIT(kCmnComp, "GetDataTypeBytes", kRcNoColumnDef);
        return kRcNoColumnDef;
    }
    const int32_t iCode = pColumnDef->sDataType;
    const DataTypeInfo* pInfo = FindType(iCode);
    if (pInfo == nullptr || pInfo->iBytes == kUnknownBytes) {
        TRC_VAR(kCmnComp, "sDataType", KNL_TRC_I16, &pColumnDef->sDataType);
        TRC_EXIT(kCmnComp, "GetDataTypeBytes", kRcUnknownType);
        return kRcUnknownType;
    }
    int32_t iBytes = pInfo->iBytes;
    if (iBytes == kColumnBytes) iBytes = pColumnDef->iLength;
    else if (iBytes == kWideColumnBytes) iBytes = pColumnDef->iLength * 4;
    if (piBytes != nullptr) *piBytes = iBytes;
    TRC_VAR(kCmnComp, "piBytes", KNL_TRC_I32, &iBytes);
    TRC_EXIT(kCmnComp, "GetDataTypeBytes", 0);
    return 0;
}

extern "C" int32_t GetDataTypeLengths(const ColumnDef* pColumnDef, int32_t* piLength) {
    TRC_ENTRY(kCmnComp, "GetDataTypeLengths");
    if (pColumnDef == nullptr) {
        TRC_TEXT(kCmnComp, "No column definition");
        TRC_EXIT(kCmnComp, "GetDataTypeLengths", kRcNoColumnDef);
        return kRcNoColumnDef;
    }
    const DataTypeInfo* pInfo = FindType(pColumnDef->sDataType);
    const int32_t iRc = pInfo != nullptr ? pInfo->iLengthRc : kRcUnknownType;
    if ((iRc == 0 || iRc == kRcDateTimeString) && piLength != nullptr) *piLength = pInfo->iLength;
    TRC_VAR(kCmnComp, "sDataType", KNL_TRC_I16, &pColumnDef->sDataType);
    TRC_EXIT(kCmnComp, "GetDataTypeLengths", iRc);
    return iRc;
}

extern "C" const char* QRNPGetDataTypeName(int32_t iCode) {
    TRC_ENTRY(kCmnComp, "QRNPGetDataTypeName");
    const char* pName = (iCode >= 1 && iCode < kTypeCount) ? kTypes[iCode].pName : nullptr;
    TRC_VAR(kCmnComp, "iCode", KNL_TRC_I32, &iCode);
    TRC_EXIT(kCmnComp, "QRNPGetDataTypeName", pName != nullptr ? 0 : -1);
    return pName;
}

extern "C" int32_t QRNP_IsCharacterDatatype(int32_t iCode) {
    TRC_ENTRY(kCmnComp, "QRNP_IsCharacterDatatype");
    int32_t iRc = -1;
    switch (iCode) {
        case 1: case 2: case 3: case 17: case 25: case 26: iRc = 0; break;
        default: break;
    }
    TRC_EXIT(kCmnComp, "QRNP_IsCharacterDatatype", iRc);
    return iRc;
}

extern "C" int32_t QRNP_IsWideCharacterDatatype(int32_t iCode) {
    TRC_ENTRY(kCmnComp, "QRNP_IsWideCharacterDatatype");
    int32_t iRc = -1;
    switch (iCode) {
        case 4: case 5: case 6: case 18: case 27: case 28: iRc = 0; break;
        default: break;
    }
    TRC_EXIT(kCmnComp, "QRNP_IsWideCharacterDatatype", iRc);
    return iRc;
}

extern "C" int32_t QRNPGetSourceDataLen(const FieldDef* pFldDef, const ColumnDef* pColumnDef, int32_t* piLength) {
    TRC_ENTRY(kCmnComp, "QRNPGetSourceDataLen");
    int32_t iLength = -1;
    if (pFldDef != nullptr && pFldDef->bNullInd != 1 && pFldDef->pSrc != nullptr && pColumnDef != nullptr) {
        const void* pSrc = pFldDef->pSrc;
        // A source length above 0 bounds what may be read, as it does for the
        // converters: a terminator or prefix beyond it is not the value's.
        const int32_t iSrcLen = pFldDef->iSrcLen;
        const bool bBounded = iSrcLen > 0;
        switch (pColumnDef->sDataType) {
            case 1: case 25: iLength = pFldDef->iSrcLen; break;
            case 2: case 26: iLength = bBounded && iSrcLen < 2 ? 0 : ReadPrefix(pSrc); break;
            case 3: case 17: iLength = CountBeforeTerminator(pSrc, 1, bBounded ? iSrcLen : 0); break;
            case 4: case 27: iLength = pFldDef->iSrcLen / 4; break;
            // The prefix counts bytes, four per character; the division is on 16-bit signed values.
            case 5: case 28: iLength = bBounded && iSrcLen < 2 ? 0 : static_cast<int16_t>(ReadPrefix(pSrc) / 4); break;
            case 6: case 18:
                // (A source length below one character bounds it to none.)
                iLength = bBounded && iSrcLen < 4 ? 0 : CountBeforeTerminator(pSrc, 4, bBounded ? iSrcLen / 4 : 0);
                break;
            default:
                iLength = 0;
                GetDataTypeLengths(pColumnDef, &iLength);
                break;
        }
    }
    if (piLength != nullptr) *piLength = iLength;
    TRC_VAR(kCmnComp, "piLength", KNL_TRC_I32, &iLength);
    TRC_EXIT(kCmnComp, "QRNPGetSourceDataLen", 0);
    return 0;
}

extern "C" int32_t GetSrcBufLen(FieldDef* pFldDef, int32_t iCode) {
    TRC_ENTRY(kCmnComp, "GetSrcBufLen");
    if (pFldDef == nullptr) {
        TRC_EXIT(kCmnComp, "GetSrcBufLen", -1);
        return -1;
    }
    // Varying types keep a length the host already gave; the source decides otherwise.
    const bool bMeasure = pFldDef->iSrcLen <= 0 && pFldDef->pSrc != nullptr;
    const void* pSrc = pFldDef->pSrc;
    int32_t iRc = 0;
    switch (iCode) {
        case 2: case 5: case 26: case 28:
            if (bMeasure) pFldDef->iSrcLen = ReadPrefix(pSrc) + 2;
            break;
        case 3: case 17:
            if (bMeasure) pFldDef->iSrcLen = static_cast<int32_t>(std::strlen(static_cast<const char*>(pSrc))) + 1;
            break;
        case 6: case 18:
            if (bMeasure) {
                // Counted by hand: the host's buffer need not be aligned, and
                // the C library's wcslen misreads an unaligned string.
                const auto sChars = static_cast<int16_t>(CountBeforeTerminator(pSrc, 4, 0));
                pFldDef->iSrcLen = sChars * 4 + 4;
            }
            break;
        case 7: case 8: case 19: pFldDef->iSrcLen = 8; break;
        case 9: case 10: case 20: pFldDef->iSrcLen = 4; break;
        case 14: case 15: pFldDef->iSrcLen = 16; break;
        case 16: pFldDef->iSrcLen = 24; break;
        case 21: case 22: pFldDef->iSrcLen = 2; break;
        case 23: case 24: pFldDef->iSrcLen = 1; break;
        case 1: case 4: case 13: case 25: case 27: case ORA_VARNUM: break;
        default: iRc = -1; break;
    }
    TRC_VAR(kCmnComp, "iSrcLen", KNL_TRC_I32, &pFldDef->iSrcLen);
    TRC_EXIT(kCmnComp, "GetSrcBufLen", iRc);
    return iRc;
}

extern "C" int32_t QRNPAllocateBuffer1(void** ppBuffer, int32_t* piSize, int32_t iNewSize, int32_t bKeep) {
    TRC_ENTRY(kCmnComp, "QRNPAllocateBuffer1");
    TRC_VAR(kCmnComp, "iNewSize", KNL_TRC_I32, &iNewSize);
    if (iNewSize < 1 || ppBuffer == nullptr || piSize == nullptr) {
        TRC_EXIT(kCmnComp, "QRNPAllocateBuffer1", QRNP_MSG_BAD_ALLOC_SIZE);
        return QRNP_MSG_BAD_ALLOC_SIZE;
    }
    // Only a buffer that exists has contents worth keeping.
    int32_t iOldSize = (*ppBuffer != nullptr && *piSize > 0) ? *piSize : 0;
    void* pNew = *ppBuffer != nullptr ? std::realloc(*ppBuffer, static_cast<size_t>(iNewSize))
                                      : std::malloc(static_cast<size_t>(iNewSize));
    *ppBuffer = pNew;  // replaced even when null: a failed reallocation loses the old block
    if (pNew == nullptr) {
        TRC_TEXT(kCmnComp, "Out of memory");
        TRC_EXIT(kCmnComp, "QRNPAllocateBuffer1", QRNP_MSG_NO_MEMORY);
        return QRNP_MSG_NO_MEMORY;
    }
    if (bKeep == 1) {
        if (iOldSize < iNewSize) std::memset(static_cast<char*>(pNew) + iOldSize, 0, static_cast<size_t>(iNewSize - iOldSize));
    } else {
        std::memset(pNew, 0, static_cast<size_t>(iNewSize));
    }
    *piSize = iNewSize;
    TRC_EXIT(kCmnComp, "QRNPAllocateBuffer1", 0);
    return 0;
}

extern "C" int32_t QRNPAllocateBuffer(void** ppBuffer, int32_t* piSize, int32_t iNewSize) {
    TRC_ENTRY(kCmnComp, "QRNPAllocateBuffer");
    const int32_t iRc = QRNPAllocateBuffer1(ppBuffer, piSize, iNewSize, 0);
    TRC_EXIT(kCmnComp, "QRNPAllocateBuffer", iRc);
    return iRc;
}

extern "C" int32_t QRNP_IsZeroOrZeroLength(const CtrlBlk* pCtrlBlk, FieldDef* pFldDef, Row* pRow) {
    TRC_ENTRY(kCmnComp, "QRNP_IsZeroOrZeroLength");
    const ColumnDef* pColumnDef = pCtrlBlk != nullptr ? pCtrlBlk->pColumnDef : nullptr;
    const int32_t iStatus = pColumnDef != nullptr ? ZeroLengthStatus(pColumnDef->sDataType) : -1;
    if (pFldDef != nullptr) {
        if (pCtrlBlk != nullptr && pCtrlBlk->bDestFlag != 0) {
            int32_t iLen = pFldDef->iDstCap < pFldDef->iSrcLen ? pFldDef->iDstCap : pFldDef->iSrcLen;
            if (iLen < 0) iLen = 0;
            pFldDef->iDstLen = iLen;
            if (iLen > 0 && pFldDef->pSrc != nullptr && pFldDef->pDst != nullptr && pFldDef->pSrc != pFldDef->pDst)
                std::memcpy(pFldDef->pDst, pFldDef->pSrc, static_cast<size_t>(iLen));
            TRC_VAR(kCmnComp, "iDstLen", KNL_TRC_I32, &pFldDef->iDstLen);
        }
        pFldDef->iStatus = iStatus;
    }
    if (pRow != nullptr) pRow->bError = 0;
    TRC_EXIT(kCmnComp, "QRNP_IsZeroOrZeroLength", iStatus);
    return iStatus;
}
