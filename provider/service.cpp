// Service: checks a rowset and hands each row's source cell to the country's driver.
#include "common/trace.h"
#include "provider/country_table.h"
#include "provider/get_country.h"

namespace {

constexpr const char* kComponent = "QRNPNidS";

template <typename T>
T* NextRecord(T* pRecord) {
    return pRecord->pNext != nullptr ? pRecord->pNext : pRecord + 1;
}

// The check that ends the call before any row is served, or 0.
int32_t CheckRowset(uint16_t& sMethod, CtrlBlk* pCtrlBlk, Rowset* pRowset) {
    if (pRowset == nullptr || pRowset->iRowCount <= 0 || pRowset->pRows == nullptr) {
        const int32_t iRowCount = pRowset != nullptr ? pRowset->iRowCount : 0;
        const bool bHasRows = pRowset != nullptr && pRowset->pRows != nullptr;
        TRC_TEXT(kComponent, "Rowset empty");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_ROWSET_EMPTY, 2);
        TokenCapture(pCtrlBlk, &iRowCount, QRNP_TV_INT32, QRNP_TOKID_ROW_COUNT, 0);
        TokenCapture(pCtrlBlk, bHasRows ? L"NOT NULL" : L"NULL", QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_ROWS_LIST, 0);
        return QRNP_MSG_ROWSET_EMPTY;
    }
    if (pCtrlBlk->sSrcColIndex >= pRowset->pRows->sColCount) {
        TRC_TEXT(kComponent, "Invalid Src col index");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_SRC_COLUMN_INDEX, 2);
        TokenCapture(pCtrlBlk, &pCtrlBlk->sSrcColIndex, QRNP_TV_INT16, QRNP_TOKID_COLINDEX, 0);
        TokenCapture(pCtrlBlk, &pRowset->pRows->sColCount, QRNP_TV_INT16, QRNP_TOKID_ROWDEFINE_COUNT, 0);
        return QRNP_MSG_SRC_COLUMN_INDEX;
    }
    // Encryption and decryption are methods only of an instance given a key.
    const auto* pState = static_cast<const NidCtrlBlk*>(pCtrlBlk->pProviderPrivate);
    const bool bKeyed = pState != nullptr && (pState->iExtensions & QRNP_EXT_KEYED) != 0;
    if (sMethod == QRNP_METHOD_CTRLBLK) {
        sMethod = pCtrlBlk->sMethod;  // taken without any check, as the engine's providers do
    } else if (sMethod != QRNP_METHOD_MASK && sMethod != QRNP_METHOD_RANDOM &&
               !(bKeyed && (sMethod == QRNP_METHOD_ENCRYPT || sMethod == QRNP_METHOD_DECRYPT))) {
        TRC_TEXT(kComponent, "Invalid Service method");
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_INVALID_METHOD, 1);
        TokenCapture(pCtrlBlk, &sMethod, QRNP_TV_INT16, QRNP_TOKID_METHOD, 0);
        return QRNP_MSG_INVALID_METHOD;
    }
    if (pCtrlBlk->pProviderPrivate == nullptr) {
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_NOT_INITIALISED, 0);
        return QRNP_MSG_NOT_INITIALISED;
    }
    return 0;
}

uint32_t ErrorCount(const CtrlBlk* pCtrlBlk) { return pCtrlBlk->pEAB != nullptr ? pCtrlBlk->pEAB->iEntryCount : 0; }

// What became of one row.
struct RowOutcome {
    enum Kind {
        Served,   // next row
        Failed,   // the cell gets iMessage as its status and the row error flag, then the failure tail
        ToTail,   // straight to the failure tail
        EndCall   // Service ends with iMessage
    } kind;
    uint32_t iMessage;
};

// The country of the switch, read once per call. False (4409 captured) when
// it names none; *pbEndCall then tells whether the call ends at once.
bool ReadCountry(CtrlBlk* pCtrlBlk, int32_t RowNum, uint32_t* piCountry, int32_t* pbCallOnce) {
    if (*pbCallOnce != 0 || GetCountry(&pCtrlBlk->pSwitch, piCountry, pbCallOnce) != -1) return true;
    ErrorCapture(pCtrlBlk, RowNum, QRNP_MSG_UNKNOWN_COUNTRY, 0);
    return false;
}

// One row: the source cell's screens, then the country's driver.
RowOutcome ServeRow(uint16_t sMethod, CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk, Row* pRow, FieldDef* pFldDef,
                    int32_t RowNum, uint32_t* piCountry, int32_t* pbCallOnce, bool* pbAnyFailure) {
    if (pFldDef == nullptr) {
        ErrorCapture(pCtrlBlk, RowNum, QRNP_MSG_SOURCE_CELL_MISSING, 1);
        TokenCapture(pCtrlBlk, &pCtrlBlk->sSrcColIndex, QRNP_TV_INT16, QRNP_TOKID_COLINDEX, 0);
        return {RowOutcome::Failed, QRNP_MSG_SOURCE_CELL_MISSING};
    }
    if ((pFldDef->pSrc == nullptr || pFldDef->bNullInd == 1) && sMethod != QRNP_METHOD_RANDOM) {
        const int32_t bSrcNull = 1;  // traced as a 32-bit value
        TRC_VAR(kComponent, "bSrcNull", KNL_TRC_I32, &bSrcNull);
        TRC_TEXT(kComponent, "Source NULL, Dest set to NULL");
        if (pCtrlBlk->bDestFlag) pFldDef->bDstNull = 1;
        ErrorCapture(pCtrlBlk, RowNum, QRNP_MSG_NULL_SOURCE, 0);
        pFldDef->iStatus = QRNP_MSG_NULL_SOURCE;
        pRow->bError = 0;
        return {RowOutcome::ToTail, 0};
    }
    if (pCtrlBlk->bDestFlag && pFldDef->pDst == nullptr) {
        ErrorCapture(pCtrlBlk, RowNum, QRNP_MSG_DEST_BUFFER_MISSING, 0);
        return {RowOutcome::Failed, QRNP_MSG_DEST_BUFFER_MISSING};
    }
    // A switch that is not a wide string leaves the country unset (code 0).
    if (!ReadCountry(pCtrlBlk, RowNum, piCountry, pbCallOnce)) {
        if (pCtrlBlk->pSwitch.sValueType == QRNP_PARM_WSTRING) return {RowOutcome::EndCall, QRNP_MSG_UNKNOWN_COUNTRY};
        return {RowOutcome::Failed, QRNP_MSG_UNKNOWN_COUNTRY};
    }
    const CountryEntry* pCountry = FindCountry(*piCountry);
    if (pCountry == nullptr) {
        // No country: the row fails with status 0.
        return *piCountry == kCountryCodeServingNothing ? RowOutcome{RowOutcome::Served, 0}
                                                        : RowOutcome{RowOutcome::Failed, 0};
    }
    if ((pNidCtrlBlk->iCountryMask & pCountry->iCode) == 0) {
        ErrorCapture(pCtrlBlk, RowNum, QRNP_MSG_COUNTRY_NOT_INITIALISED, 1);
        TokenCapture(pCtrlBlk, pCountry->pName, QRNP_TV_WVARCHAR_SZ, QRNP_TOKID_COUNTRY, 0);
        return {RowOutcome::ToTail, 0};
    }
    const uint32_t retVal = pCountry->pfnMask(sMethod, pCtrlBlk, pRow, pNidCtrlBlk, pFldDef, RowNum);
    if (retVal == 0 && pFldDef->iStatus == 0) return {RowOutcome::Served, 0};
    TRC_VAR(kComponent, "retVal", KNL_TRC_U32, &retVal);
    if (retVal != 0 && pCountry->bFailsOnNonZeroReturn) *pbAnyFailure = true;
    return {RowOutcome::ToTail, 0};
}

}  // namespace

int32_t Service(uint16_t sMethod, CtrlBlk* pCtrlBlk, Rowset* pRowset) {
    TRC_ENTRY(kComponent, "Service");
    TRC_VAR(kComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComponent, "pRowset", KNL_TRC_PTR, pRowset);
    TRC_VAR(kComponent, "sMethod", KNL_TRC_U16, &sMethod);

    if (const int32_t iCheck = CheckRowset(sMethod, pCtrlBlk, pRowset); iCheck != 0) {
        TRC_EXIT(kComponent, "Service", iCheck);
        return iCheck;
    }
    auto* pNidCtrlBlk = static_cast<NidCtrlBlk*>(pCtrlBlk->pProviderPrivate);
    ++pNidCtrlBlk->SeviceCallCtr;

    uint32_t iCountry = 0;
    int32_t bCallOnce = 0;
    bool bAnyFailure = false;
    const int32_t iRowCount = pRowset->iRowCount;
    TRC_VAR(kComponent, "iRowCount", KNL_TRC_I32, &iRowCount);

    Row* pRow = nullptr;
    for (int32_t i = 0; i < iRowCount; ++i) {
        pRow = (i == 0) ? pRowset->pRows : NextRecord(pRow);
        pRowset->iCurrentRow = i;
        if (pRow->bTaken == 1) continue;
        pRow->bTaken = 1;
        const int32_t RowNum = i + 1;
        FieldDef* pFldDef = pRow->pFields;
        for (int16_t c = 0; c < pCtrlBlk->sSrcColIndex && pFldDef != nullptr; ++c) pFldDef = NextRecord(pFldDef);

        const RowOutcome outcome =
            ServeRow(sMethod, pCtrlBlk, pNidCtrlBlk, pRow, pFldDef, RowNum, &iCountry, &bCallOnce, &bAnyFailure);
        if (outcome.kind == RowOutcome::EndCall) {
            TRC_EXIT(kComponent, "Service", outcome.iMessage);
            return static_cast<int32_t>(outcome.iMessage);
        }
        if (outcome.kind == RowOutcome::Served) continue;
        if (outcome.kind == RowOutcome::Failed) {
            const uint32_t InfoMsg = outcome.iMessage;
            TRC_VAR(kComponent, "InfoMsg", KNL_TRC_U32, &InfoMsg);
            if (pFldDef != nullptr) pFldDef->iStatus = static_cast<int32_t>(InfoMsg);
            pRow->bError = 1;
        }

        // Failure tail.
        ++pNidCtrlBlk->FailedRowsCount;
        if (pRow->bError == 1 || (pFldDef != nullptr && pFldDef->iStatus != 0)) bAnyFailure = true;
        TRC_VAR(kComponent, "RowNum", KNL_TRC_I32, &RowNum);
        if (pCtrlBlk->sErrorLimit > 0 && ErrorCount(pCtrlBlk) >= static_cast<uint32_t>(pCtrlBlk->sErrorLimit)) break;
    }

    const int32_t retVal = bAnyFailure ? QRNP_WARNING : 0;
    TRC_EXIT(kComponent, "Service", retVal);
    return retVal;
}
