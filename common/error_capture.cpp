// The error list: entries with their message tokens, and its release.
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include <qrnp/qrnp_datacnv.h>
#include <qrnp/qrnp_errors.h>

#include "common/cmn_trace.h"

namespace {

constexpr uint16_t kEntryVersion = 21;
constexpr int32_t kHighestTokenId = QRNP_TOKID_COUNT;  // 90

// Value types that may come with a null value (bits 1-6, 17, 18, 25-28): their text is "<NULL>".
constexpr uint32_t kNullableTypes = 0x1E06007Eu;
constexpr wchar_t kNullText[] = L"<NULL>";
static_assert(sizeof(kNullText) == 28, "the null text fills a 28-byte buffer");

// Fixed text buffers of the numeric and date-time values, in bytes.
constexpr int32_t kInt32TextBytes = 48;
constexpr int32_t kInt16TextBytes = 28;
constexpr int32_t kDateTimeTextBytes = 200;

// The entry's declared size: 48 + (max(n,1) - 1) * 16.
uint32_t DeclaredEntrySize(uint16_t sTokenCount) {
    const uint32_t iSlots = sTokenCount > 0 ? sTokenCount : 1u;
    return QRNP_ERROR_ENTRY_HEADER + (iSlots - 1) * QRNP_ERROR_TOKEN_SLOT;
}

// Bytes actually allocated: one slot beyond the declared count, which
// TokenCaptureEAB accepts as an extra token.
size_t AllocatedEntrySize(uint16_t sTokenCount) {
    return offsetof(ErrorEntry, tokens) + (static_cast<size_t>(sTokenCount) + 1) * QRNP_ERROR_TOKEN_SLOT;
}

void GrowRunningSize(EAB* pEAB, uint32_t iBytes) {
    pEAB->iRunningSize += iBytes;
    if (pEAB->iRunningSize > pEAB->iLargestSize) pEAB->iLargestSize = pEAB->iRunningSize;
}

// A zeroed text buffer of iBytes (rounded up to whole characters, at least one).
wchar_t* NewText(size_t iBytes) {
    size_t iChars = (iBytes + sizeof(wchar_t) - 1) / sizeof(wchar_t);
    if (iChars == 0) iChars = 1;
    return static_cast<wchar_t*>(std::calloc(iChars, sizeof(wchar_t)));
}

uint16_t ReadPrefix(const void* pValue) {
    uint16_t sPrefix;
    std::memcpy(&sPrefix, pValue, sizeof sPrefix);
    return sPrefix;
}

// Whether the integer value of a 9/10/21/22 token is zero (written "0" here, not by the converter).
bool IsZeroInteger(const void* pValue, uint16_t sValueType) {
    if (sValueType == QRNP_TV_INT32 || sValueType == QRNP_TV_UINT32) {
        uint32_t iValue;
        std::memcpy(&iValue, pValue, sizeof iValue);
        return iValue == 0;
    }
    uint16_t sValue;
    std::memcpy(&sValue, pValue, sizeof sValue);
    return sValue == 0;
}

// Converts a token value into a new malloc'ed wide text. Returns 0, 3 for an
// unsupported type, -1 for a null value that is not allowed or no memory.
int32_t MakeTokenText(const void* pValue, uint16_t sValueType, int32_t iLength, wchar_t** ppText) {
    *ppText = nullptr;
    if (pValue == nullptr) {
        if (sValueType >= 32 || (kNullableTypes & (1u << sValueType)) == 0) return -1;
        wchar_t* pText = NewText(sizeof(kNullText));
        if (pText == nullptr) return -1;
        std::wmemcpy(pText, kNullText, sizeof(kNullText) / sizeof(wchar_t));
        *ppText = pText;
        return 0;
    }
    if (iLength < 0) iLength = 0;

    QRNPToWideFn pfnConvert = nullptr;
    int32_t iSrcBytes = 0;  // 0: the prefix or terminator decides
    size_t iTextBytes = 0;
    ColumnDef tsCtx{};      // tells the date-time converter which record it reads
    const ColumnDef* pCtx = nullptr;
    switch (sValueType) {
        case QRNP_TV_CHAR:
        case QRNP_TV_DATETIME_CHAR:
            pfnConvert = QRNPCnvCharToWVarcharSz;
            iSrcBytes = iLength;
            iTextBytes = (static_cast<size_t>(iLength) + 1) * sizeof(wchar_t);
            break;
        case QRNP_TV_VARCHAR:
        case QRNP_TV_DATETIME_VARCHAR:
            pfnConvert = QRNPCnvVarcharToWVarcharSz;
            iTextBytes = (static_cast<size_t>(ReadPrefix(pValue)) + 1) * sizeof(wchar_t);
            break;
        case QRNP_TV_VARCHAR_SZ:
        case QRNP_TV_DATETIME_SZ:
            pfnConvert = QRNPCnvVarcharSzToWVarcharSz;
            iTextBytes = (std::strlen(static_cast<const char*>(pValue)) + 1) * sizeof(wchar_t);
            break;
        case QRNP_TV_WCHAR:
        case QRNP_TV_DATETIME_WCHAR:
            pfnConvert = QRNPCnvWCharToWVarcharSz;
            iSrcBytes = iLength * 4;
            iTextBytes = (static_cast<size_t>(iLength) + 1) * sizeof(wchar_t);
            break;
        case QRNP_TV_WVARCHAR:
        case QRNP_TV_DATETIME_WVARCHAR:
            pfnConvert = QRNPCnvWVarcharToWVarcharSz;
            iTextBytes = (static_cast<size_t>(ReadPrefix(pValue)) / 4 + 1) * sizeof(wchar_t);
            break;
        case QRNP_TV_WVARCHAR_SZ:
        case QRNP_TV_DATETIME_WSZ: {
            const auto* pWide = static_cast<const wchar_t*>(pValue);
            const size_t iChars = std::wcslen(pWide) + 1;
            wchar_t* pText = NewText(iChars * sizeof(wchar_t));
            if (pText == nullptr) return -1;
            std::wmemcpy(pText, pWide, iChars);
            *ppText = pText;
            return 0;
        }
        case QRNP_TV_INT32:
            pfnConvert = QRNPCnvIntToWVarcharSz1;
            iSrcBytes = 4;
            iTextBytes = kInt32TextBytes;
            break;
        case QRNP_TV_UINT32:
            pfnConvert = QRNPCnvUIntToWVarcharSz;
            iSrcBytes = 4;
            iTextBytes = kInt32TextBytes;
            break;
        case QRNP_TV_INT16:
            pfnConvert = QRNPCnvSmallIntToWVarcharSz;
            iSrcBytes = 2;
            iTextBytes = kInt16TextBytes;
            break;
        case QRNP_TV_UINT16:
            pfnConvert = QRNPCnvSmallUIntToWVarcharSz;
            iSrcBytes = 2;
            iTextBytes = kInt16TextBytes;
            break;
        case QRNP_TV_DATE:
        case QRNP_TV_TIME:
        case QRNP_TV_TIMESTAMP:
            pfnConvert = QRNPGetStringFromTS;
            tsCtx.sDataType = static_cast<int16_t>(sValueType);
            pCtx = &tsCtx;
            iTextBytes = kDateTimeTextBytes;
            break;
        default:
            return 3;
    }

    wchar_t* pText = NewText(iTextBytes);
    if (pText == nullptr) return -1;
    const size_t iCapChars = iTextBytes > sizeof(wchar_t) ? iTextBytes / sizeof(wchar_t) : 1;
    const bool bInteger = sValueType == QRNP_TV_INT32 || sValueType == QRNP_TV_UINT32 ||
                          sValueType == QRNP_TV_INT16 || sValueType == QRNP_TV_UINT16;
    if (bInteger && IsZeroInteger(pValue, sValueType)) {
        pText[0] = L'0';  // the numeric converters write nothing for zero
    } else {
        int32_t iOutLen = 0;
        const uint32_t iCnvRc = pfnConvert(pValue, iSrcBytes, pText, static_cast<int32_t>(iCapChars * sizeof(wchar_t)),
                                           &iOutLen, pCtx);
        // A value the converter could not render shows as an empty text rather than a partial one.
        if (iCnvRc != QRNP_CNV_OK && iCnvRc != QRNP_CNV_EMPTY && iCnvRc != QRNP_CNV_NULL_SOURCE) {
            TRC_VAR(kCmnComp, "iCnvRc", KNL_TRC_U32, &iCnvRc);
            pText[0] = 0;
        }
        pText[iCapChars - 1] = 0;
    }
    *ppText = pText;
    return 0;
}

}  // namespace

extern "C" int32_t ErrorCaptureEAB(EAB* pEAB, uint32_t iRowNumber, uint32_t iMessage, uint16_t sTokenCount) {
    TRC_ENTRY(kCmnComp, "ErrorCaptureEAB");
    TRC_VAR(kCmnComp, "iMessage", KNL_TRC_U32, &iMessage);
    TRC_VAR(kCmnComp, "iRowNumber", KNL_TRC_U32, &iRowNumber);
    TRC_VAR(kCmnComp, "sTokenCount", KNL_TRC_U16, &sTokenCount);
    if (pEAB == nullptr) {
        TRC_TEXT(kCmnComp, "No error anchor");
        TRC_EXIT(kCmnComp, "ErrorCaptureEAB", -1);
        return -1;
    }
    pEAB->iRunningSize = DeclaredEntrySize(sTokenCount);
    auto* pEntry = static_cast<ErrorEntry*>(std::calloc(1, AllocatedEntrySize(sTokenCount)));
    if (pEntry == nullptr) {
        TRC_TEXT(kCmnComp, "Out of memory");
        TRC_EXIT(kCmnComp, "ErrorCaptureEAB", -1);
        return -1;
    }
    if (pEAB->pFirst == nullptr) {
        pEAB->pFirst = pEntry;
    } else {
        ErrorEntry* pTail = pEAB->pLast;
        if (pTail == nullptr) {  // an anchor without its last pointer: find the tail
            pTail = pEAB->pFirst;
            while (pTail->pNext != nullptr) pTail = pTail->pNext;
        }
        pTail->pNext = pEntry;
    }
    pEAB->pLast = pEntry;

    std::memcpy(pEntry->cEyeCatcher, QRNP_ERROR_EYECATCHER, sizeof pEntry->cEyeCatcher);
    pEntry->sVersion = kEntryVersion;
    pEntry->sHeaderLen = QRNP_ERROR_ENTRY_HEADER;
    pEntry->pNext = nullptr;
    pEntry->iRowNumber = iRowNumber;
    pEntry->iMessage = iMessage;
    pEntry->sTokenCount = sTokenCount;

    pEAB->iEntryCount++;
    GrowRunningSize(pEAB, 8u * sTokenCount);
    TRC_EXIT(kCmnComp, "ErrorCaptureEAB", 0);
    return 0;
}

extern "C" int32_t ErrorCapture(CtrlBlk* pCtrlBlk, uint32_t iRowNumber, uint32_t iMessage, uint16_t sTokenCount) {
    TRC_ENTRY(kCmnComp, "ErrorCapture");
    const int32_t iRc = ErrorCaptureEAB(pCtrlBlk != nullptr ? pCtrlBlk->pEAB : nullptr, iRowNumber, iMessage, sTokenCount);
    TRC_EXIT(kCmnComp, "ErrorCapture", iRc);
    return iRc;
}

extern "C" int32_t TokenCaptureEAB(EAB* pEAB, const void* pValue, uint16_t sValueType, int32_t iTokenId,
                                   int32_t iLength) {
    TRC_ENTRY(kCmnComp, "TokenCaptureEAB");
    TRC_VAR(kCmnComp, "iTokenId", KNL_TRC_I32, &iTokenId);
    TRC_VAR(kCmnComp, "sValueType", KNL_TRC_U16, &sValueType);
    if (pEAB == nullptr) {
        TRC_TEXT(kCmnComp, "No error anchor");
        TRC_EXIT(kCmnComp, "TokenCaptureEAB", -1);
        return -1;
    }
    // Ids run 1..90; an id of 0 would mark the slot free and lose its text.
    if (iTokenId > kHighestTokenId || iTokenId < 1) {
        TRC_TEXT(kCmnComp, "Token id out of range");
        TRC_EXIT(kCmnComp, "TokenCaptureEAB", 1);
        return 1;
    }
    if (pEAB->pLast == nullptr) {
        TRC_TEXT(kCmnComp, "No error entry");
        TRC_EXIT(kCmnComp, "TokenCaptureEAB", -1);
        return -1;
    }
    // The first free slot; the one just past the declared count (the spare) is accepted too.
    ErrorEntry* pEntry = pEAB->pLast;
    const uint32_t iCount = pEntry->sTokenCount;
    uint32_t i = 0;
    while (i <= iCount && pEntry->tokens[i].iTokenId != 0) i++;
    if (i > iCount) {
        TRC_TEXT(kCmnComp, "No free token slot");
        TRC_EXIT(kCmnComp, "TokenCaptureEAB", 2);
        return 2;
    }
    TokenSlot* pSlot = &pEntry->tokens[i];
    pSlot->iTokenId = iTokenId;

    wchar_t* pText = nullptr;
    const int32_t iRc = MakeTokenText(pValue, sValueType, iLength, &pText);
    if (iRc != 0) {
        TRC_EXIT(kCmnComp, "TokenCaptureEAB", iRc);
        return iRc;
    }
    pSlot->pText = pText;
    GrowRunningSize(pEAB, static_cast<uint32_t>(std::wcslen(pText)) * 4u + 4u);
    TRC_EXIT(kCmnComp, "TokenCaptureEAB", 0);
    return 0;
}

extern "C" int32_t TokenCapture(CtrlBlk* pCtrlBlk, const void* pValue, uint16_t sValueType, int32_t iTokenId,
                                int32_t iLength) {
    TRC_ENTRY(kCmnComp, "TokenCapture");
    int32_t iRc = 1;
    if (iTokenId <= kHighestTokenId && iTokenId >= 1)
        iRc = TokenCaptureEAB(pCtrlBlk != nullptr ? pCtrlBlk->pEAB : nullptr, pValue, sValueType, iTokenId, iLength);
    TRC_EXIT(kCmnComp, "TokenCapture", iRc);
    return iRc;
}

extern "C" int32_t TermErrors(EAB* pEAB) {
    TRC_ENTRY(kCmnComp, "TermErrors");
    if (pEAB == nullptr) {
        TRC_EXIT(kCmnComp, "TermErrors", 0);
        return 0;
    }
    ErrorEntry* pEntry = pEAB->pFirst;
    while (pEntry != nullptr) {
        // Texts of the declared slots only; a spare slot's text stays with whoever filled it.
        for (uint32_t i = 0; i < pEntry->sTokenCount; i++) {
            if (pEntry->tokens[i].iTokenId != 0) std::free(pEntry->tokens[i].pText);
        }
        ErrorEntry* pNext = pEntry->pNext;
        pEAB->pFirst = pNext;
        std::free(pEntry);
        pEntry = pNext;
    }
    pEAB->pLast = nullptr;
    pEAB->iEntryCount = 0;
    pEAB->iLargestSize = 0;
    pEAB->iRunningSize = 0;
    std::free(pEAB);
    TRC_EXIT(kCmnComp, "TermErrors", 0);
    return 0;
}
