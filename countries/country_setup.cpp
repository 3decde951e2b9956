#include "countries/country_setup.h"

#include "common/trace.h"
#include "countries/row_driver.h"

bool FillCharacterConverters(int16_t sDataType, ConversionBlock* pCnvBlk) {
    struct Pair {
        uint8_t bSrcId;
        QRNPToWideFn pfnSrc;
        uint8_t bDstId;
        QRNPFromWideFn pfnDst;
    };
    Pair pair{};
    switch (sDataType) {
        case CHAR: pair = {11, QRNPCnvCharToWVarcharSz, 101, QRNPCnvWVarcharSzToChar}; break;
        case VARCHAR: pair = {12, QRNPCnvVarcharToWVarcharSz, 102, QRNPCnvWVarcharSzToVarchar}; break;
        case VARCHAR_SZ: pair = {15, QRNPCnvVarcharSzToWVarcharSz, 105, QRNPCnvWVarcharSzToVarcharSz}; break;
        case WCHAR: pair = {13, QRNPCnvWCharToWVarcharSz, 103, QRNPCnvWVarcharSzToWChar}; break;
        case WVARCHAR: pair = {14, QRNPCnvWVarcharToWVarcharSz, 104, QRNPCnvWVarcharSzToWVarchar}; break;
        case WVARCHAR_SZ: pair = {10, QRNPCnvWVarcharSzToWVarcharSz, 10, QRNPCnvWVarcharSzToWVarcharSzOut}; break;
        default: return false;
    }
    pCnvBlk->bSrcTypeId = pair.bSrcId;
    pCnvBlk->pfnSrcToWide = pair.pfnSrc;
    pCnvBlk->bDstTypeId = pair.bDstId;
    pCnvBlk->pfnWideToDst = pair.pfnDst;
    return true;
}

bool FillNumericConverters(int16_t sDataType, ConversionBlock* pCnvBlk) {
    switch (sDataType) {
        case U_LONG_LONG: *pCnvBlk = {16, QRNPCnvULONGLONGToWVarcharSz, 106, QRNPCnvWVarcharSzToULONGLONG}; return true;
        case INTEGER:
        case U_INTEGER: *pCnvBlk = {18, QRNPCnvUIntToWVarcharSz, 108, QRNPCnvWVarcharSzToUInt}; return true;
        case DECIMAL_PKD: *pCnvBlk = {19, QRNPCnvDecPKDToWVarcharSz, 109, QRNPCnvWVarcharSzToDecPKD}; return true;
        case ORA_VARNUM:
            *pCnvBlk = {17, QRNPCnvOraVarnumToWVarcharSz_Unsigned, 107, QRNPCnvWVarcharSz_UnsignedToOraVarnum};
            return true;
        default: return false;
    }
}

namespace {

// The column check's one flat form: the conversion block, then the
// character types, then (for kinds that take them) the numeric types.
uint32_t CheckColumnTypes(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk,
                          CountryOptionBlock* pBlock, const char* pComponent, const wchar_t* pCountryName,
                          const ColumnCheckKind& kind);

// A DECIMAL_PKD precision test that has never been able to refuse a column
// (no precision is both at most 8 and above 20); it is kept as it stands so
// that every packed-decimal column stays accepted. 0, or 4412 (captured).
uint32_t CheckPrecision(CtrlBlk* pCtrlBlk, const ColumnDef* pColumnDef, const char* pComponent,
                        const wchar_t* pCountryName) {
    const int16_t sPrecision = pColumnDef->sPrecision;
    if (pColumnDef->sDataType != DECIMAL_PKD || !(sPrecision <= 8 && sPrecision > 20)) return 0;
    ErrorCapture(pCtrlBlk, 0, QRNP_MSG_COLUMN_PRECISION, 3);
    TokenCapture(pCtrlBlk, &sPrecision, QRNP_TV_INT16, QRNP_TOKID_SRCLEN, 0);
    TokenCapture(pCtrlBlk, &pColumnDef->sDataType, QRNP_TV_INT16, QRNP_TOKID_SRC_DATATYPE, 0);
    TokenCapture(pCtrlBlk, pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
    TRC_TEXT(pComponent, "Column precision error");
    return QRNP_MSG_COLUMN_PRECISION;
}

// Marks a numeric column in the block that reads it.
void MarkNumeric(NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock, int16_t sDataType, const ColumnCheckKind& kind) {
    // Kept as it has always been: a United States VARNUM column marks the
    // Canadian block, so its values are not padded with zeros.
    if (kind.bVarnumMarksCanada && sDataType == ORA_VARNUM)
        pNidCtrlBlk->blockF.bNumericSource = 1;
    else
        pBlock->bNumericSource = 1;
}

uint32_t CheckColumnTypes(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk,
                          CountryOptionBlock* pBlock, const char* pComponent, const wchar_t* pCountryName,
                          const ColumnCheckKind& kind) {
    const char* pFunction = kind.pFunction;
    TRC_ENTRY(pComponent, pFunction);
    TRC_VAR(pComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(pComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    if (pColumnDef == nullptr || pColumnDef->pCnvBlk == nullptr) {
        TRC_TEXT(pComponent, "conversion block is NULL");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_NO_CONVERSION_BLOCK, 0);
        TRC_EXIT(pComponent, pFunction, QRNP_MSG_NO_CONVERSION_BLOCK);
        return QRNP_MSG_NO_CONVERSION_BLOCK;
    }
    if (kind.bTraceColumnName) TRC_VAR(pComponent, "pColNameW", KNL_TRC_WSTR, pColumnDef->pColName);
    if (FillCharacterConverters(pColumnDef->sDataType, pColumnDef->pCnvBlk)) {
        if (kind.bNumericTypes) pBlock->bNumericSource = 0;
        TRC_EXIT(pComponent, pFunction, 0);
        return 0;
    }
    if (kind.bNumericTypes && FillNumericConverters(pColumnDef->sDataType, pColumnDef->pCnvBlk)) {
        const uint32_t iCode = CheckPrecision(pCtrlBlk, pColumnDef, pComponent, pCountryName);
        if (iCode == 0) MarkNumeric(pNidCtrlBlk, pBlock, pColumnDef->sDataType, kind);
        TRC_EXIT(pComponent, pFunction, iCode);
        return iCode;
    }
    TRC_TEXT(pComponent, "Datatype not supported");
    TRC_VAR(pComponent, "sDataType", KNL_TRC_I16, &pColumnDef->sDataType);
    if (!kind.bTraceColumnName) TRC_VAR(pComponent, "pColName", KNL_TRC_WSTR, pColumnDef->pColName);
    ErrorCapture(pCtrlBlk, 0, QRNP_MSG_DATATYPE_NOT_SUPPORTED, 3);
    TokenCapture(pCtrlBlk, &pColumnDef->sDataType, QRNP_TV_INT16, QRNP_TOKID_SRC_DATATYPE, 0);
    TokenCapture(pCtrlBlk, pColumnDef->pColName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COLNAME, 0);
    TokenCapture(pCtrlBlk, pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
    TRC_EXIT(pComponent, pFunction, QRNP_MSG_DATATYPE_NOT_SUPPORTED);
    return QRNP_MSG_DATATYPE_NOT_SUPPORTED;
}

// Captures 4360 for a separator code the country does not know, with the
// code (as the country's 16-bit value type) and the country name.
uint32_t ReportInvalidSeparatorOption(CtrlBlk* pCtrlBlk, const CountryDriver& country, uint16_t sOption) {
    ErrorCapture(pCtrlBlk, 0, QRNP_MSG_INVALID_SEPARATOR_OPTION, 2);
    TokenCapture(pCtrlBlk, &sOption, country.sSeparatorValueType, QRNP_TOKID_SEP, 0);
    TokenCapture(pCtrlBlk, country.pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
    TRC_TEXT(country.pComponent, "Invalid Separator");
    return QRNP_MSG_INVALID_SEPARATOR_OPTION;
}

// The separator code: 0 becomes 2 (as the source); each accepted code ORs
// its bits into the option word. 0, or 4360 (captured).
uint32_t DecodeSeparator(CtrlBlk* pCtrlBlk, const CountryDriver& country, CountryOptionBlock* pBlock) {
    uint16_t& sSlot = pBlock->sSlot[country.iSeparatorSlot];
    const int16_t sSeparator = static_cast<int16_t>(sSlot);
    if (country.bTraceSeparator) TRC_VAR(country.pComponent, "sSeparator", KNL_TRC_I16, &sSeparator);
    if (sSeparator == QRNP_SEPARATOR_NONE_GIVEN) {
        sSlot = QRNP_SEPARATOR_AS_SOURCE;
        return 0;
    }
    if (sSeparator == QRNP_SEPARATOR_AS_SOURCE) return 0;
    for (const SeparatorChoice& choice : country.separatorCodes) {
        if (choice.sCode == 0) break;
        if (choice.sCode == sSeparator) {
            pBlock->lOptionFlags |= choice.lFlags;
            return 0;
        }
    }
    return ReportInvalidSeparatorOption(pCtrlBlk, country, sSlot);
}

// Sets the block's working buffer to `iSize` bytes from the instance heap and
// records the size. 0, or 106 (captured with "NID" and the country name).
uint32_t AcquireWorkBuffer(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock,
                           const CountryDriver& country) {
    const uint32_t iSize = country.iWorkBufBytes;
    pBlock->iWorkBufSize = iSize;
    RecordWorkBufSize(pNidCtrlBlk, iSize);
    void* pBuf = nullptr;
    if (KNL_Heap_Acquire(pNidCtrlBlk->HeapToken, iSize, &pBuf) != 0 || pBuf == nullptr) {
        pBlock->pWorkBuf = nullptr;
        return ReportSetupError(pCtrlBlk, country.pComponent, country.pCountryName, QRNP_MSG_NO_MEMORY, nullptr,
                                {RowToken::Provider, RowToken::Country});
    }
    pBlock->pWorkBuf = static_cast<wchar_t*>(pBuf);
    return 0;
}

uint32_t SetupSteps(const CountryDriver& country, CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk,
                    CountryOptionBlock* pBlock) {
    if (country.pfnBeforeColumnCheck != nullptr) {
        if (const uint32_t iCode = country.pfnBeforeColumnCheck(pCtrlBlk, country, pBlock)) return iCode;
    }
    if (const uint32_t iCode = CheckColumn(pCtrlBlk, pCtrlBlk->pColumnDef, pNidCtrlBlk, pBlock, country.pComponent,
                                           country.pCountryName, country.column))
        return iCode;
    pBlock->lOptionFlags = 0;
    if (country.pfnDecodeParts != nullptr) {
        if (const uint32_t iCode = country.pfnDecodeParts(pCtrlBlk, country, pBlock)) return iCode;
    }
    if (const uint32_t iCode = DecodeSeparator(pCtrlBlk, country, pBlock)) return iCode;
    if (country.pfnAfterSeparator != nullptr) {
        if (const uint32_t iCode = country.pfnAfterSeparator(pCtrlBlk, country, pBlock)) return iCode;
    }
    if (country.bTraceOptionFlags) TRC_VAR(country.pComponent, "lOptionFlags", KNL_TRC_U64, &pBlock->lOptionFlags);
    return AcquireWorkBuffer(pCtrlBlk, pNidCtrlBlk, pBlock, country);
}

}  // namespace

uint32_t RunCountrySetup(const CountryDriver& country, CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk) {
    TRC_ENTRY(country.pComponent, country.pInitName);
    if (country.bTraceInitArguments) {
        TRC_VAR(country.pComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
        TRC_VAR(country.pComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    }
    const uint32_t iCode = SetupSteps(country, pCtrlBlk, pNidCtrlBlk, country.pfnBlock(pNidCtrlBlk));
    TRC_EXIT(country.pComponent, country.pInitName, iCode);
    return iCode;
}

uint32_t CheckColumn(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock,
                     const char* pComponent, const wchar_t* pCountryName, const ColumnCheckKind& kind) {
    if (!kind.bNumericFirst)
        return CheckColumnTypes(pCtrlBlk, pColumnDef, pNidCtrlBlk, pBlock, pComponent, pCountryName, kind);
    // Numeric types first; the others go through the character check, traced inside this one.
    TRC_ENTRY(pComponent, kind.pFunction);
    TRC_VAR(pComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(pComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    uint32_t iCode = 0;
    if (pColumnDef != nullptr && pColumnDef->pCnvBlk != nullptr &&
        FillNumericConverters(pColumnDef->sDataType, pColumnDef->pCnvBlk)) {
        iCode = CheckPrecision(pCtrlBlk, pColumnDef, pComponent, pCountryName);
        if (iCode == 0) MarkNumeric(pNidCtrlBlk, pBlock, pColumnDef->sDataType, kind);
    } else {
        iCode = CheckColumnTypes(pCtrlBlk, pColumnDef, pNidCtrlBlk, pBlock, pComponent, pCountryName,
                                 kCharacterColumns);
        if (iCode == 0) pBlock->bNumericSource = 0;
    }
    TRC_EXIT(pComponent, kind.pFunction, iCode);
    return iCode;
}

void RecordWorkBufSize(NidCtrlBlk* pNidCtrlBlk, uint64_t iSize) {
    if (iSize < pNidCtrlBlk->HeapMinAlloc) pNidCtrlBlk->HeapMinAlloc = iSize;
    if (iSize > pNidCtrlBlk->HeapMaxAlloc) pNidCtrlBlk->HeapMaxAlloc = iSize;
}
