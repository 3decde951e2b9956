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

uint32_t ReportInvalidSeparatorOption(CtrlBlk* pCtrlBlk, const char* pComponent, const wchar_t* pCountryName,
                                      uint16_t sOption, uint16_t sValueType) {
    ErrorCapture(pCtrlBlk, 0, QRNP_MSG_INVALID_SEPARATOR_OPTION, 2);
    TokenCapture(pCtrlBlk, &sOption, sValueType, QRNP_TOKID_SEP, 0);
    TokenCapture(pCtrlBlk, pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
    TRC_TEXT(pComponent, "Invalid Separator");
    return QRNP_MSG_INVALID_SEPARATOR_OPTION;
}

uint32_t CheckColumn(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk, const char* pComponent,
                     const wchar_t* pCountryName) {
    TRC_ENTRY(pComponent, "CheckColumn");
    TRC_VAR(pComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(pComponent, "pNidCtrlBlk", KNL_TRC_PTR, pNidCtrlBlk);
    if (pColumnDef == nullptr || pColumnDef->pCnvBlk == nullptr) {
        TRC_TEXT(pComponent, "conversion block is NULL");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_NO_CONVERSION_BLOCK, 0);
        TRC_EXIT(pComponent, "CheckColumn", QRNP_MSG_NO_CONVERSION_BLOCK);
        return QRNP_MSG_NO_CONVERSION_BLOCK;
    }
    if (FillCharacterConverters(pColumnDef->sDataType, pColumnDef->pCnvBlk)) {
        TRC_EXIT(pComponent, "CheckColumn", 0);
        return 0;
    }
    TRC_TEXT(pComponent, "Datatype not supported");
    TRC_VAR(pComponent, "sDataType", KNL_TRC_I16, &pColumnDef->sDataType);
    TRC_VAR(pComponent, "pColName", KNL_TRC_WSTR, pColumnDef->pColName);
    ErrorCapture(pCtrlBlk, 0, QRNP_MSG_DATATYPE_NOT_SUPPORTED, 3);
    TokenCapture(pCtrlBlk, &pColumnDef->sDataType, QRNP_TV_INT16, QRNP_TOKID_SRC_DATATYPE, 0);
    TokenCapture(pCtrlBlk, pColumnDef->pColName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COLNAME, 0);
    TokenCapture(pCtrlBlk, pCountryName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
    TRC_EXIT(pComponent, "CheckColumn", QRNP_MSG_DATATYPE_NOT_SUPPORTED);
    return QRNP_MSG_DATATYPE_NOT_SUPPORTED;
}

void RecordWorkBufSize(NidCtrlBlk* pNidCtrlBlk, uint64_t iSize) {
    if (iSize < pNidCtrlBlk->HeapMinAlloc) pNidCtrlBlk->HeapMinAlloc = iSize;
    if (iSize > pNidCtrlBlk->HeapMaxAlloc) pNidCtrlBlk->HeapMaxAlloc = iSize;
}

uint32_t AcquireWorkBuffer(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock, uint32_t iSize,
                           const char* pComponent, const wchar_t* pCountryName) {
    pBlock->iWorkBufSize = iSize;
    RecordWorkBufSize(pNidCtrlBlk, iSize);
    void* pBuf = nullptr;
    if (KNL_Heap_Acquire(pNidCtrlBlk->HeapToken, iSize, &pBuf) != 0 || pBuf == nullptr) {
        pBlock->pWorkBuf = nullptr;
        return ReportSetupError(pCtrlBlk, pComponent, pCountryName, QRNP_MSG_NO_MEMORY, nullptr,
                                {RowToken::Provider, RowToken::Country});
    }
    pBlock->pWorkBuf = static_cast<wchar_t*>(pBuf);
    return 0;
}
