#include "provider/operands.h"

#include <cstddef>

namespace {

struct OptionSlot {
    uint16_t sKeyId;
    size_t iBlockOffset;    // offset of the country option block in NidCtrlBlk
    int iSlot;              // 0-based 16-bit slot of the block
};

constexpr OptionSlot kOptionSlots[] = {
    {QRNP_OPR_ES_PARTS, offsetof(NidCtrlBlk, blockA), 1},
    {QRNP_OPR_ES_SEPARATOR, offsetof(NidCtrlBlk, blockA), 2},
    {QRNP_OPR_IT_FLAGS, offsetof(NidCtrlBlk, blockB), 1},
    {QRNP_OPR_IT_SEPARATOR, offsetof(NidCtrlBlk, blockB), 2},
    {QRNP_OPR_UK_FORM, offsetof(NidCtrlBlk, blockC), 0},
    {QRNP_OPR_UK_DATA, offsetof(NidCtrlBlk, blockC), 1},
    {QRNP_OPR_UK_SEPARATOR, offsetof(NidCtrlBlk, blockC), 2},
    {QRNP_OPR_FR_PARTS, offsetof(NidCtrlBlk, blockD), 1},
    {QRNP_OPR_FR_SEPARATOR, offsetof(NidCtrlBlk, blockD), 2},
    {QRNP_OPR_US_FLAGS, offsetof(NidCtrlBlk, blockE), 1},
    {QRNP_OPR_US_SLOT3, offsetof(NidCtrlBlk, blockE), 2},
    {QRNP_OPR_US_SEPARATOR, offsetof(NidCtrlBlk, blockE), 3},
    {QRNP_OPR_CA_PARTS, offsetof(NidCtrlBlk, blockF), 2},
    {QRNP_OPR_CA_SEPARATOR, offsetof(NidCtrlBlk, blockF), 3},
};

uint16_t* SlotOf(NidCtrlBlk* pNidCtrlBlk, const OptionSlot& slot) {
    auto* pBlock = reinterpret_cast<CountryOptionBlock*>(reinterpret_cast<char*>(pNidCtrlBlk) + slot.iBlockOffset);
    return &pBlock->sSlot[slot.iSlot];
}

}  // namespace

uint16_t FindServiceMethod(const SvcDef* pSvcDef) {
    const OprDef* pOperand = pSvcDef->pOperands;
    for (int i = 0; i < pSvcDef->sOperandCount && pOperand != nullptr; ++i, pOperand = NextOperand(pOperand)) {
        if (pOperand->sKeyId == QRNP_OPR_METHOD) return static_cast<uint16_t>(pOperand->iValue);
    }
    return QRNP_METHOD_MASK;
}

void CopyOptionOperands(const SvcDef* pSvcDef, uint16_t sMethod, NidCtrlBlk* pNidCtrlBlk) {
    const OprDef* pOperand = pSvcDef->pOperands;
    for (int i = 0; i < pSvcDef->sOperandCount && pOperand != nullptr; ++i, pOperand = NextOperand(pOperand)) {
        if (pOperand->sKeyId == QRNP_OPR_OFFICIAL_RULES) {
            if (pOperand->iValue == 1)
                pNidCtrlBlk->iExtensions |= QRNP_EXT_OFFICIAL_RULES;
            else
                pNidCtrlBlk->iExtensions &= ~QRNP_EXT_OFFICIAL_RULES;
        }
        for (const OptionSlot& slot : kOptionSlots) {
            if (slot.sKeyId != pOperand->sKeyId) continue;
            uint16_t* pSlot = SlotOf(pNidCtrlBlk, slot);
            *pSlot = static_cast<uint16_t>(pOperand->iValue);
            if (slot.sKeyId == QRNP_OPR_UK_FORM &&
                (*pSlot & (QRNP_FLAG_UK_MASK_ALLOWED | QRNP_FLAG_UK_RANDOM_ALLOWED)) == 0) {
                *pSlot |= sMethod == QRNP_METHOD_RANDOM ? QRNP_FLAG_UK_RANDOM_ALLOWED : QRNP_FLAG_UK_MASK_ALLOWED;
            }
        }
    }
}
