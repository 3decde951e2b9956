// The permutation step of keyed encryption.
#include "countries/keyed_fields.h"

#include "common/keyed_state.h"

namespace {

// Domains up to this size may be tabled (two 4-byte entries a value: 2 MB at most).
constexpr uint64_t kLargestTabled = 262144;

uint32_t CipherFailed(RowContext& ctx) {
    return ReportRowError(ctx, QRNP_MSG_SOURCE_CONVERSION, "Keyed permutation failed", {RowToken::Country});
}

// Fills the table of a small domain from the instance heap: each value's
// walk once, which costs one FF1 pass a numeral in all. False (nothing
// kept) when the heap has no room or the cipher fails.
bool BuildTable(const NidCtrlBlk* pNidCtrlBlk, KeyedState* pState, const DomainCipher& cipher, uint64_t N) {
    void* pBlock = nullptr;
    if (KNL_Heap_Acquire(pNidCtrlBlk->HeapToken, 2 * N * sizeof(uint32_t), &pBlock) != 0 || pBlock == nullptr)
        return false;
    auto* pForward = static_cast<uint32_t*>(pBlock);
    uint32_t* pBackward = pForward + N;
    for (uint64_t x = 0; x < N; ++x) {
        uint64_t y = 0;
        if (!DomainCrypt(cipher, false, N, x, &y)) return false;
        pForward[x] = static_cast<uint32_t>(y);
        pBackward[y] = static_cast<uint32_t>(x);
    }
    pState->small.pForward = pForward;
    return true;
}

}  // namespace

uint32_t KeyedPermute(RowContext& ctx, bool bDecrypt, MixedRadix* pDomain, DomainFilter allowed, const void* pContext) {
    KeyedState* pState = KeyedStateOf(ctx.pNidCtrlBlk);
    if (pState == nullptr) return CipherFailed(ctx);
    const uint64_t N = pDomain->iSize;
    SmallDomainTable& small = pState->small;
    if (small.pForward != nullptr && small.iDomain == N && allowed == nullptr) {
        pDomain->iValue = small.pForward[(bDecrypt ? N : 0) + pDomain->iValue];
        return 0;
    }
    const DomainCipher cipher{&pState->key, pState->tweak, pState->iTweakBytes};
    uint64_t iResult = 0;
    uint32_t iPasses = 0;
    if (!DomainCrypt(cipher, bDecrypt, N, pDomain->iValue, &iResult, allowed, pContext, &iPasses))
        return CipherFailed(ctx);
    pDomain->iValue = iResult;

    // Counts the passes of the one small domain an instance may table.
    if (allowed == nullptr && N <= kLargestTabled && small.pForward == nullptr) {
        if (small.iDomain != N) {
            small.iDomain = N;
            small.iPasses = 0;
        }
        small.iPasses += iPasses;
        // (The key keeps the shape of the domain it last served.)
        uint64_t iNumerals = 1;
        for (uint32_t i = 0; i < pState->key.prefix.iShapeLength; ++i) iNumerals *= pState->key.prefix.iShapeRadix;
        if (small.iPasses >= iNumerals && !BuildTable(ctx.pNidCtrlBlk, pState, cipher, N))
            small.iPasses = 0;  // no room: walk on, and try again after as many passes
    }
    return 0;
}

wchar_t InCaseOf(wchar_t c, wchar_t model) {
    const bool bLower = model >= L'a' && model <= L'z';
    if (bLower && c >= L'A' && c <= L'Z') return static_cast<wchar_t>(c - L'A' + L'a');
    return c;
}
