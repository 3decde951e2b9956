#include "countries/row_driver.h"

#include <cstring>
#include <cwchar>

#include "common/trace.h"

namespace {

constexpr uint32_t kUndefinedCode = 0xFFFFFFFFu;

// Full validation for the rows of a scope when bForce (the keyed methods),
// whatever the host's processing flags; the flags are restored after.
class FullValidation {
public:
    FullValidation(CtrlBlk* pCtrlBlk, bool bForce) : pCtrlBlk_(pCtrlBlk), sFlags_(pCtrlBlk->sProcFlags) {
        if (bForce) pCtrlBlk->sProcFlags |= QRNP_PROC_VALIDATE_FULLY;
    }
    ~FullValidation() { pCtrlBlk_->sProcFlags = sFlags_; }
    FullValidation(const FullValidation&) = delete;
    FullValidation& operator=(const FullValidation&) = delete;

private:
    CtrlBlk* pCtrlBlk_;
    uint16_t sFlags_;
};

const ColumnDef* ColumnOf(const RowContext& ctx) { return ctx.pCtrlBlk->pColumnDef; }

// Copies the source value to the destination unchanged (in place: nothing moves).
void PassThroughCopy(RowContext& ctx) {
    FieldDef* pFldDef = ctx.pFldDef;
    // GetSrcBufLen sets a numeric type's size whatever the host said; a
    // positive length from the host still bounds what may be read, so a
    // short (malformed) numeric cell is not copied past its end.
    const int32_t iHostLen = pFldDef->iSrcLen;
    if (GetSrcBufLen(pFldDef, ColumnOf(ctx)->sDataType) != 0 || pFldDef->iSrcLen == 0)
        TRC_TEXT(ctx.pCountry->pComponent, "Failed to retrieve source buffer length");
    int32_t iSrcLen = pFldDef->iSrcLen > 0 ? pFldDef->iSrcLen : 0;
    if (iHostLen > 0 && iHostLen < iSrcLen) iSrcLen = iHostLen;
    if (ctx.pCtrlBlk->bDestFlag) {
        const int32_t iCopy = iSrcLen < pFldDef->iDstCap ? iSrcLen : (pFldDef->iDstCap > 0 ? pFldDef->iDstCap : 0);
        pFldDef->iDstLen = iCopy;
        if (iCopy > 0 && pFldDef->pDst != nullptr && pFldDef->pSrc != nullptr)
            std::memcpy(pFldDef->pDst, pFldDef->pSrc, static_cast<size_t>(iCopy));
    } else {
        pFldDef->iDstLen = iSrcLen;
    }
}

// The failure exit: invalid data passes through when the host asks for it;
// everything else rejects the row. Returns the code.
uint32_t FailRow(RowContext& ctx, uint32_t iCode) {
    const char* pComponent = ctx.pCountry->pComponent;
    ctx.pFldDef->iStatus = static_cast<int32_t>(iCode);
    if ((ctx.pCtrlBlk->sProcFlags & QRNP_PROC_PASS_INVALID) != 0 && IsInvalidData(*ctx.pCountry, iCode)) {
        TRC_TEXT(pComponent, "Ignoring Invalid data");
        PassThroughCopy(ctx);
        ctx.pRow->bError = 0;
    } else {
        ctx.pRow->bError = 1;
    }
    TRC_EXIT(pComponent, "RBPNIDMask", iCode);
    return iCode;
}

// Makes the working buffer hold `iChars` characters and a terminator, and
// clears the part the row uses. 0, or 106 when it cannot grow.
uint32_t PrepareWorkBuffer(RowContext& ctx, int32_t iChars) {
    CountryOptionBlock* pBlock = ctx.pBlock;
    const uint64_t iNeeded = (static_cast<uint64_t>(iChars < 0 ? 0 : iChars) + 1) * sizeof(wchar_t);
    if (iNeeded > pBlock->iWorkBufSize || pBlock->pWorkBuf == nullptr) {
        void* pNew = nullptr;
        if (iNeeded > UINT32_MAX ||
            KNL_Heap_Reallocate(ctx.pNidCtrlBlk->HeapToken, pBlock->pWorkBuf, iNeeded, &pNew) != 0 ||
            pNew == nullptr)
            return QRNP_MSG_NO_MEMORY;
        pBlock->pWorkBuf = static_cast<wchar_t*>(pNew);
        pBlock->iWorkBufSize = static_cast<uint32_t>(iNeeded);
        if (iNeeded < ctx.pNidCtrlBlk->HeapMinAlloc) ctx.pNidCtrlBlk->HeapMinAlloc = iNeeded;
        if (iNeeded > ctx.pNidCtrlBlk->HeapMaxAlloc) ctx.pNidCtrlBlk->HeapMaxAlloc = iNeeded;
    }
    std::memset(pBlock->pWorkBuf, 0, iNeeded);
    ctx.pInBuf = pBlock->pWorkBuf;
    return 0;
}

// Converts the source into the working buffer. 0 (an empty or null value
// gives length 0), or the code to fail with, already captured.
uint32_t ConvertSourceOrReport(RowContext& ctx) {
    uint32_t iCode = LoadSource(ctx);
    if (iCode == QRNP_MSG_NO_MEMORY) {
        return ReportRowError(ctx, iCode, nullptr, {RowToken::Provider, RowToken::Country});
    }
    if (iCode != 0) {
        if (iCode == kUndefinedCode) iCode = QRNP_MSG_SOURCE_CONVERSION;
        return ReportRowError(ctx, iCode, "Error in source conversion", {RowToken::Country});
    }
    return 0;
}

// Writes ctx.pOutBuf to the destination (the source buffer when masking in
// place). 0, or the failure code, already captured.
uint32_t WriteDestination(RowContext& ctx) {
    FieldDef* pFldDef = ctx.pFldDef;
    const ColumnDef* pColumnDef = ColumnOf(ctx);
    const bool bSeparate = ctx.pCtrlBlk->bDestFlag != 0;
    void* pDst = bSeparate ? pFldDef->pDst : pFldDef->pSrc;
    const int32_t iCap = bSeparate ? pFldDef->iDstCap : pFldDef->iSrcLen;
    const int32_t iOutLen = static_cast<int32_t>(std::wcslen(ctx.pOutBuf));
    int32_t iDstLen = 0;
    uint32_t iCode = pColumnDef->pCnvBlk->pfnWideToDst(ctx.pOutBuf, iOutLen, pDst, iCap, &iDstLen, pColumnDef);
    if (iCode != 0) {
        if (iCode == kUndefinedCode) iCode = QRNP_MSG_DEST_CONVERSION;
        return ReportRowError(ctx, iCode, ctx.pCountry->pDstConversionTrace, {RowToken::Country});
    }
    // A fixed-width column keeps its blank padding: fill what the value left.
    if (pColumnDef->sDataType == CHAR) {
        if (iCap > iDstLen) InitializeCharBufferWithSpaces(static_cast<char*>(pDst) + iDstLen, iCap - iDstLen, pColumnDef);
        iDstLen = iCap;
    } else if (pColumnDef->sDataType == WCHAR) {
        // Byte by byte: the host's buffer need not be aligned for wide characters.
        const wchar_t blank = L' ';
        for (int32_t i = iDstLen / 4; i < iCap / 4; ++i)
            std::memcpy(static_cast<char*>(pDst) + 4 * static_cast<size_t>(i), &blank, sizeof blank);
        iDstLen = iCap;
    }
    pFldDef->iDstLen = iDstLen;
    return 0;
}

}  // namespace

uint32_t LoadSource(RowContext& ctx) {
    if (ctx.bSourceLoaded) return 0;
    FieldDef* pFldDef = ctx.pFldDef;
    const ColumnDef* pColumnDef = ColumnOf(ctx);
    int32_t iChars = 0;
    QRNPGetSourceDataLen(pFldDef, pColumnDef, &iChars);
    if (const uint32_t iCode = PrepareWorkBuffer(ctx, iChars); iCode != 0) return iCode;
    if (iChars < 0) {
        // A NULL cell has no value to read, whatever its source pointer points at.
        ctx.iInLength = 0;
        ctx.iConvertedLength = 0;
        ctx.bSourceLoaded = true;
        return 0;
    }
    int32_t iOutLen = 0;
    const uint32_t iCode = pColumnDef->pCnvBlk->pfnSrcToWide(pFldDef->pSrc, pFldDef->iSrcLen, ctx.pInBuf,
                                                             static_cast<int32_t>(ctx.pBlock->iWorkBufSize),
                                                             &iOutLen, pColumnDef);
    if (iCode == QRNP_CNV_NULL_SOURCE || iCode == QRNP_CNV_EMPTY) {
        iOutLen = 0;
        ctx.pInBuf[0] = L'\0';
    } else if (iCode != 0) {
        return iCode;
    }
    ctx.iInLength = iOutLen;
    ctx.iConvertedLength = iOutLen;
    ctx.bSourceLoaded = true;
    return 0;
}

uint32_t RunRowDriver(const CountryDriver& country, uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow,
                      NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef, int32_t iRownum) {
    const char* pComponent = country.pComponent;
    TRC_ENTRY(pComponent, "RBPNIDMask");
    RowContext ctx;
    ctx.sMethod = sMethod;
    ctx.pCtrlBlk = pCtrlBlk;
    ctx.pRow = pRow;
    ctx.pNidCtrlBlk = pNidCtrlBlk;
    ctx.pFldDef = pFldDef;
    ctx.iRownum = iRownum;
    ctx.pCountry = &country;
    ctx.pBlock = country.pfnBlock(pNidCtrlBlk);
    ctx.pInBuf = ctx.pBlock->pWorkBuf;
    ctx.iInLength = 0;
    ctx.iConvertedLength = 0;
    ctx.bSourceLoaded = false;
    ctx.pOutBuf[0] = L'\0';

    // 1. A fresh status; per-row bits go to a local copy of the option word.
    pFldDef->iStatus = 0;
    pRow->bError = 0;
    ctx.lRowFlags = ctx.pBlock->lOptionFlags;

    if (country.pfnBeforeMethod != nullptr) {
        if (const uint32_t iCode = country.pfnBeforeMethod(ctx); iCode != 0) return FailRow(ctx, iCode);
    }

    // Encryption and decryption take the masking path with the country's keyed hooks.
    const bool bKeyed = (sMethod == QRNP_METHOD_ENCRYPT || sMethod == QRNP_METHOD_DECRYPT) &&
                        (pNidCtrlBlk->iExtensions & QRNP_EXT_KEYED) != 0 && country.pfnEncrypt != nullptr;
    if (sMethod == QRNP_METHOD_RANDOM) {
        // The source is not read at all.
        if (const uint32_t iCode = country.pfnRandom(ctx); iCode != 0) return FailRow(ctx, iCode);
    } else if (sMethod != QRNP_METHOD_MASK && !bKeyed) {
        if (country.pfnOtherMethod == nullptr) {
            // Neither mask nor random: rejected, nothing captured.
            ctx.pFldDef->iStatus = QRNP_MSG_INVALID_METHOD_CODE;
            ctx.pRow->bError = 1;
            TRC_EXIT(pComponent, "RBPNIDMask", QRNP_MSG_INVALID_METHOD_CODE);
            return QRNP_MSG_INVALID_METHOD_CODE;
        }
        if (const uint32_t iCode = country.pfnOtherMethod(ctx); iCode != 0) return FailRow(ctx, iCode);
    } else {
        if (const uint32_t iCode = ConvertSourceOrReport(ctx); iCode != 0) return FailRow(ctx, iCode);

        if (ctx.iInLength == 0) {
            // Null or empty value (or a numeric zero): passed through as it is.
            const int32_t iStatus = QRNP_IsZeroOrZeroLength(pCtrlBlk, pFldDef, pRow);
            ErrorCapture(pCtrlBlk, static_cast<uint32_t>(iRownum), static_cast<uint32_t>(iStatus), 0);
            pFldDef->iStatus = iStatus;
            TRC_EXIT(pComponent, "RBPNIDMask", 0);
            return 0;
        }

        TrimSpacesW(ctx.pInBuf, &ctx.iInLength, 1, 1);
        if (ctx.iInLength == 0) {
            PassThroughCopy(ctx);
            ErrorCapture(pCtrlBlk, static_cast<uint32_t>(iRownum), QRNP_MSG_SOURCE_ONLY_SPACES, 0);
            pFldDef->iStatus = QRNP_MSG_SOURCE_ONLY_SPACES;
            TRC_TEXT(pComponent, "Source contains only spaces");
            TRC_EXIT(pComponent, "RBPNIDMask", 0);
            return 0;
        }

        // Only values that decrypt back are encrypted: the full validation decides.
        const FullValidation validation(pCtrlBlk, bKeyed);
        if (const uint32_t iCode = country.pfnCheckLayout(ctx); iCode != 0) return FailRow(ctx, iCode);
        const RowHook pfnChange = !bKeyed                          ? country.pfnMask
                                  : sMethod == QRNP_METHOD_ENCRYPT ? country.pfnEncrypt
                                                                   : country.pfnDecrypt;
        if (const uint32_t iCode = pfnChange(ctx); iCode != 0) return FailRow(ctx, iCode);
    }

    if (country.pfnFormatOutput != nullptr) {
        if (const uint32_t iCode = country.pfnFormatOutput(ctx); iCode != 0) return FailRow(ctx, iCode);
    }
    if (const uint32_t iCode = WriteDestination(ctx); iCode != 0) return FailRow(ctx, iCode);
    TRC_EXIT(pComponent, "RBPNIDMask", 0);
    return 0;
}

bool IsInvalidData(const CountryDriver& country, uint32_t iCode) {
    return (iCode >= QRNP_MSG_SOURCE_CONVERSION && iCode <= QRNP_MSG_INVALID_SOURCE_DATA) ||
           (iCode >= country.iFirstFieldCheck && iCode <= country.iLastFieldCheck);
}

void KeepSourceStyle(RowContext& ctx, uint64_t lStyle) {
    if (SeparatorCode(*ctx.pCountry, ctx.pBlock) == QRNP_SEPARATOR_AS_SOURCE) ctx.lRowFlags |= lStyle;
}

void NoteSourceSeparator(RowContext& ctx, wchar_t cSeparator) {
    for (const SeparatorStyle& style : ctx.pCountry->separatorStyles) {
        if (style.cSeparator == cSeparator) {
            KeepSourceStyle(ctx, style.lFlags);
            return;
        }
    }
}

uint32_t ReportRowError(RowContext& ctx, uint32_t iCode, const char* pTraceText,
                        std::initializer_list<RowToken> tokens) {
    CtrlBlk* pCtrlBlk = ctx.pCtrlBlk;
    ErrorCapture(pCtrlBlk, static_cast<uint32_t>(ctx.iRownum), iCode, static_cast<uint16_t>(tokens.size()));
    for (RowToken token : tokens) {
        switch (token) {
            case RowToken::Value:
                TokenCapture(pCtrlBlk, ctx.pInBuf, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_SRCDATA, 0);
                break;
            case RowToken::Length:
                TokenCapture(pCtrlBlk, &ctx.iInLength, QRNP_TV_INT32, QRNP_TOKID_SRCLEN, 0);
                break;
            case RowToken::Country:
                TokenCapture(pCtrlBlk, ctx.pCountry->pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
                break;
            case RowToken::Provider:
                TokenCapture(pCtrlBlk, "NID", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_PROVIDER, 0);
                break;
        }
    }
    if (QRNP_TRACE_ON()) {
        const char* pComponent = ctx.pCountry->pComponent;
        if (pTraceText != nullptr) TRC_TEXT(pComponent, pTraceText);
        TRC_VAR(pComponent, "InfoMsg", KNL_TRC_U32, &iCode);
        TRC_VAR(pComponent, "iRownum", KNL_TRC_I32, &ctx.iRownum);
        TRC_VAR(pComponent, "pInBuf", KNL_TRC_WSTR, ctx.pInBuf);
        TRC_VAR(pComponent, "pData", KNL_TRC_PTR, ctx.pFldDef->pSrc);
    }
    return iCode;
}

uint32_t ReportSetupError(CtrlBlk* pCtrlBlk, const char* pComponent, const wchar_t* pCountryName, uint32_t iCode,
                          const char* pTraceText, std::initializer_list<RowToken> tokens) {
    ErrorCapture(pCtrlBlk, 0, iCode, static_cast<uint16_t>(tokens.size()));
    for (RowToken token : tokens) {
        if (token == RowToken::Country)
            TokenCapture(pCtrlBlk, pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
        else if (token == RowToken::Provider)
            TokenCapture(pCtrlBlk, "NID", QRNP_TV_VARCHAR_SZ, QRNP_TOKID_PROVIDER, 0);
    }
    if (pTraceText != nullptr) TRC_TEXT(pComponent, pTraceText);
    TRC_VAR(pComponent, "retVal", KNL_TRC_U32, &iCode);
    return iCode;
}

bool ReadDigits(const wchar_t* pStr, int32_t iStart, int32_t iDigits, int32_t* piValue) {
    int32_t iValue = 0;
    for (int32_t i = iStart; i < iStart + iDigits; ++i) {
        const wchar_t c = pStr[i];
        if (c < L'0' || c > L'9') return false;
        iValue = iValue * 10 + (c - L'0');
    }
    *piValue = iValue;
    return true;
}

void RemoveCharAt(wchar_t* pStr, int32_t* piLen, int32_t iPos) {
    std::memmove(pStr + iPos, pStr + iPos + 1, static_cast<size_t>(*piLen - iPos) * sizeof(wchar_t));
    --*piLen;
}

void InsertCharAt(wchar_t* pStr, int32_t iPos, wchar_t ch) {
    const size_t iLen = std::wcslen(pStr);
    std::memmove(pStr + iPos + 1, pStr + iPos, (iLen - static_cast<size_t>(iPos) + 1) * sizeof(wchar_t));
    pStr[iPos] = ch;
}
