// Key operands to the keyed state.
#include "common/keyed_state.h"

#include <openssl/crypto.h>

#include <new>

namespace {

const OprDef* NextOperand(const OprDef* pOperand) {
    return pOperand->pNext != nullptr ? pOperand->pNext : pOperand + 1;
}

// Calls f(key, value) for every operand.
template <typename F>
void ForEachOperand(const SvcDef* pSvcDef, F f) {
    if (pSvcDef == nullptr) return;
    const OprDef* pOperand = pSvcDef->pOperands;
    for (int i = 0; i < pSvcDef->sOperandCount && pOperand != nullptr; ++i, pOperand = NextOperand(pOperand))
        f(pOperand->sKeyId, pOperand->iValue);
}

constexpr uint32_t kKeyWords = QRNP_OPR_KEY_LAST - QRNP_OPR_KEY_FIRST + 1;
constexpr uint32_t kTweakWords = QRNP_OPR_TWEAK_LAST - QRNP_OPR_TWEAK_FIRST + 1;
static_assert(2 * kKeyWords == 32 && 2 * kTweakWords == 16, "a 256-bit key and a 128-bit tweak");

}  // namespace

bool KeyOperandsGiven(const SvcDef* pSvcDef) {
    uint32_t iSeen = 0;
    ForEachOperand(pSvcDef, [&](uint16_t sKey, uint32_t) {
        if (sKey >= QRNP_OPR_KEY_FIRST && sKey <= QRNP_OPR_KEY_LAST) iSeen |= 1u << (sKey - QRNP_OPR_KEY_FIRST);
    });
    return iSeen == (1u << kKeyWords) - 1;
}

uint64_t StateBlockBytes(const SvcDef* pSvcDef) {
    return QRNP_NIDCTRLBLK_SIZE + (KeyOperandsGiven(pSvcDef) ? sizeof(KeyedState) : 0);
}

KeyedState* KeyedStateOf(const NidCtrlBlk* pNidCtrlBlk) {
    if ((pNidCtrlBlk->iExtensions & QRNP_EXT_KEYED) == 0) return nullptr;
    return reinterpret_cast<KeyedState*>(const_cast<char*>(reinterpret_cast<const char*>(pNidCtrlBlk)) +
                                         QRNP_NIDCTRLBLK_SIZE);
}

bool SetUpKeyedState(const SvcDef* pSvcDef, NidCtrlBlk* pNidCtrlBlk) {
    if (!KeyOperandsGiven(pSvcDef)) return true;
    static_assert(QRNP_NIDCTRLBLK_SIZE % alignof(KeyedState) == 0, "the keyed state is aligned after the block");
    auto* pState = new (reinterpret_cast<char*>(pNidCtrlBlk) + QRNP_NIDCTRLBLK_SIZE) KeyedState{};
    uint8_t key[2 * kKeyWords] = {};
    bool bTweak = false;
    ForEachOperand(pSvcDef, [&](uint16_t sKey, uint32_t iValue) {
        if (sKey >= QRNP_OPR_KEY_FIRST && sKey <= QRNP_OPR_KEY_LAST) {
            key[2 * (sKey - QRNP_OPR_KEY_FIRST)] = static_cast<uint8_t>(iValue >> 8);
            key[2 * (sKey - QRNP_OPR_KEY_FIRST) + 1] = static_cast<uint8_t>(iValue);
        } else if (sKey >= QRNP_OPR_TWEAK_FIRST && sKey <= QRNP_OPR_TWEAK_LAST) {
            pState->tweak[2 * (sKey - QRNP_OPR_TWEAK_FIRST)] = static_cast<uint8_t>(iValue >> 8);
            pState->tweak[2 * (sKey - QRNP_OPR_TWEAK_FIRST) + 1] = static_cast<uint8_t>(iValue);
            bTweak = true;
        }
    });
    pState->iTweakBytes = bTweak ? sizeof pState->tweak : 0;
    const bool bKey = Ff1SetKey(&pState->key, key, sizeof key);
    OPENSSL_cleanse(key, sizeof key);
    if (bKey) pNidCtrlBlk->iExtensions |= QRNP_EXT_KEYED;
    return bKey;
}

void ReleaseKeyedState(NidCtrlBlk* pNidCtrlBlk) {
    KeyedState* pState = KeyedStateOf(pNidCtrlBlk);
    if (pState == nullptr) return;
    Ff1ClearKey(&pState->key);
    if (pState->pSmallRounds != nullptr) OPENSSL_cleanse(pState->pSmallRounds, sizeof *pState->pSmallRounds);
    if (pState->small.pForward != nullptr)
        OPENSSL_cleanse(pState->small.pForward, 2 * pState->small.iDomain * sizeof(uint32_t));
    OPENSSL_cleanse(pState, sizeof *pState);
    pNidCtrlBlk->iExtensions &= ~QRNP_EXT_KEYED;
}
