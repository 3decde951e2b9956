// Init and Terminate: the instance heap, the state block, the options and the
// country's set-up.
#include <cstring>

#include "common/keyed_state.h"
#include "common/trace.h"
#include "provider/country_table.h"
#include "provider/get_country.h"
#include "provider/operands.h"

namespace {

constexpr const char* kComponent = "QRNPNidS";

// Discards the instance heap (which frees the state block too). 0, or 4366.
int32_t DiscardHeap(NidCtrlBlk* pNidCtrlBlk) {
    ReleaseKeyedState(pNidCtrlBlk);
    void* HeapToken = pNidCtrlBlk->HeapToken;
    TRC_VAR(kComponent, "Heap Dis Tkn", KNL_TRC_PTR, HeapToken);
    return KNL_Heap_Discard(HeapToken) == 0 ? 0 : QRNP_MSG_HEAP_DISCARD_FAILED;
}

}  // namespace

int32_t Init(CtrlBlk* pCtrlBlk, SvcDef* pSvcDef) {
    TRC_ENTRY(kComponent, "Init");
    IOQ_TRC_ResFmid(kComponent);
    TRC_VAR(kComponent, "pCtrlBlk", KNL_TRC_PTR, pCtrlBlk);
    TRC_VAR(kComponent, "pSvcDef", KNL_TRC_PTR, pSvcDef);

    KNL_HeapToken HeapToken = nullptr;
    const int32_t iHeapCreSize = 2;
    TRC_VAR(kComponent, "HeapCre Size", KNL_TRC_I32, &iHeapCreSize);
    if (KNL_Heap_Create(iHeapCreSize, &HeapToken) != 0 || HeapToken == nullptr) {
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_HEAP_CREATE_FAILED, 0);
        TRC_EXIT(kComponent, "Init", QRNP_MSG_HEAP_CREATE_FAILED);
        return QRNP_MSG_HEAP_CREATE_FAILED;
    }
    TRC_VAR(kComponent, "HeapToken", KNL_TRC_PTR, HeapToken);

    void* pBlock = nullptr;
    // (With a key, the keyed state follows the block.)
    const uint64_t iHeapAcqSize = StateBlockBytes(pSvcDef);
    TRC_VAR(kComponent, "HeapAcq Size", KNL_TRC_U64, &iHeapAcqSize);
    if (KNL_Heap_Acquire(HeapToken, iHeapAcqSize, &pBlock) != 0 || pBlock == nullptr) {
        // Nothing is captured and the heap is left in place on this path.
        TRC_EXIT(kComponent, "Init", QRNP_MSG_BLOCK_ACQUIRE_FAILED);
        return QRNP_MSG_BLOCK_ACQUIRE_FAILED;
    }
    auto* pNidCtrlBlk = static_cast<NidCtrlBlk*>(pBlock);
    std::memset(pNidCtrlBlk, 0, sizeof(NidCtrlBlk));
    pNidCtrlBlk->HeapToken = HeapToken;
    pNidCtrlBlk->HeapMinAlloc = QRNP_NIDCTRLBLK_SIZE;
    pNidCtrlBlk->HeapMaxAlloc = QRNP_NIDCTRLBLK_SIZE;

    if (pSvcDef != nullptr) {
        TRC_VAR(kComponent, "pOperands", KNL_TRC_PTR, pSvcDef->pOperands);
        const uint16_t sMethod = FindServiceMethod(pSvcDef);
        CopyOptionOperands(pSvcDef, sMethod, pNidCtrlBlk);
        SetUpKeyedState(pSvcDef, pNidCtrlBlk);
    }

    int32_t result = 0;
    uint32_t iCountry = 0;
    int32_t bCallOnce = 0;
    if (GetCountry(&pCtrlBlk->pSwitch, &iCountry, &bCallOnce) == -1) {
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_UNKNOWN_COUNTRY, 0);
        result = QRNP_MSG_UNKNOWN_COUNTRY;
    } else {
        if (const CountryEntry* pCountry = FindCountry(iCountry)) {
            if (pCountry->pfnInit(pCtrlBlk, pNidCtrlBlk) != 0)
                ErrorCapture(pCtrlBlk, 0, pCountry->iInitFailedMsg, 0);
            else
                pNidCtrlBlk->iCountryMask |= pCountry->iCode;
        }
        if (pNidCtrlBlk->iCountryMask != 0) {
            pCtrlBlk->pProviderPrivate = pNidCtrlBlk;
            TRC_VAR(kComponent, "HeapMinAlloc", KNL_TRC_U64, &pNidCtrlBlk->HeapMinAlloc);
            TRC_VAR(kComponent, "HeapMaxAlloc", KNL_TRC_U64, &pNidCtrlBlk->HeapMaxAlloc);
            TRC_EXIT(kComponent, "Init", 0);
            return 0;
        }
        ErrorCapture(pCtrlBlk, 0, QRNP_MSG_NO_COUNTRY_INITIALISED, 0);
        result = QRNP_MSG_NO_COUNTRY_INITIALISED;
    }

    // Failure exit: the heap goes, and the state block with it.
    if (pNidCtrlBlk->HeapToken != nullptr && DiscardHeap(pNidCtrlBlk) != 0) result = QRNP_MSG_HEAP_DISCARD_FAILED;
    TRC_EXIT(kComponent, "Init", result);
    return result;
}

int32_t Terminate(CtrlBlk* pCtrlBlk) {
    TRC_ENTRY(kComponent, "Terminate");
    auto* pNidCtrlBlk = static_cast<NidCtrlBlk*>(pCtrlBlk->pProviderPrivate);
    if (pNidCtrlBlk == nullptr) {
        TRC_EXIT(kComponent, "Terminate", 0);
        return 0;
    }
    int32_t result = 0;
    const int32_t FailedRowsCount = pNidCtrlBlk->FailedRowsCount;
    TRC_VAR(kComponent, "FailedRowsCount", KNL_TRC_I32, &FailedRowsCount);
    TRC_VAR(kComponent, "SeviceCallCtr", KNL_TRC_U32, &pNidCtrlBlk->SeviceCallCtr);
    if (FailedRowsCount > 0 && (pCtrlBlk->sProcFlags & QRNP_PROC_PASS_INVALID) == 0) result = QRNP_WARNING;
    // The pointer is not cleared: a second Terminate would find a freed block,
    // as with the engine's own providers; hosts call it once.
    if (pNidCtrlBlk->HeapToken != nullptr && DiscardHeap(pNidCtrlBlk) != 0) result = QRNP_MSG_HEAP_DISCARD_FAILED;
    TRC_EXIT(kComponent, "Terminate", result);
    return result;
}
