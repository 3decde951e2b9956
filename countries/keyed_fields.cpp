// The permutation step of keyed encryption.
#include "countries/keyed_fields.h"

#include <openssl/crypto.h>

#include "common/keyed_state.h"

namespace {

// Domains up to this size may be tabled (two 4-byte entries a value: 2 MB at most).
constexpr uint64_t kLargestTabled = 262144;

// What a table costs, in passes of the walks it saves: it walks every one of
// the 10^6 numerals once, with the round table eight walks abreast
// (SmallDomainPermutation), three to four times as fast as one by one.
constexpr uint64_t TableCost(bool bRoundTable) { return bRoundTable ? kFf1MinimumDomain / 4 : kFf1MinimumDomain; }

uint32_t CipherFailed(RowContext& ctx) {
    return ReportRowError(ctx, QRNP_MSG_SOURCE_CONVERSION, "Keyed permutation failed", {RowToken::Country});
}

// The round table of small domains from the instance heap, filled; null when
// the heap has no room or the cipher fails (the rows walk without it, to the
// same results).
Ff1RoundTable* MakeRoundTable(const NidCtrlBlk* pNidCtrlBlk, const KeyedState& state) {
    void* pBlock = nullptr;
    if (KNL_Heap_Acquire(pNidCtrlBlk->HeapToken, sizeof(Ff1RoundTable), &pBlock) != 0 || pBlock == nullptr)
        return nullptr;
    auto* pTable = static_cast<Ff1RoundTable*>(pBlock);
    if (Ff1FillRoundTable(state.key, state.tweak, state.iTweakBytes, pTable)) return pTable;
    OPENSSL_cleanse(pTable, sizeof *pTable);
    return nullptr;
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
    if (cipher.pSmallRounds != nullptr) {
        if (!SmallDomainPermutation(*cipher.pSmallRounds, static_cast<uint32_t>(N), pForward, pBackward)) return false;
        pState->small.pForward = pForward;
        return true;
    }
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
    if (N <= kFf1MinimumDomain && !pState->bSmallRoundsTried) {
        pState->bSmallRoundsTried = true;
        pState->pSmallRounds = MakeRoundTable(ctx.pNidCtrlBlk, *pState);
    }
    SmallDomainTable& small = pState->small;
    if (small.pForward != nullptr && small.iDomain == N && allowed == nullptr) {
        pDomain->iValue = small.pForward[(bDecrypt ? N : 0) + pDomain->iValue];
        return 0;
    }
    const DomainCipher cipher{&pState->key, pState->tweak, pState->iTweakBytes, pState->pSmallRounds};
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
        if (small.iPasses >= TableCost(cipher.pSmallRounds != nullptr) &&
            !BuildTable(ctx.pNidCtrlBlk, pState, cipher, N))
            small.iPasses = 0;  // no room: walk on, and try again after as many passes
    }
    return 0;
}

wchar_t InCaseOf(wchar_t c, wchar_t model) {
    const bool bLower = model >= L'a' && model <= L'z';
    if (bLower && c >= L'A' && c <= L'Z') return static_cast<wchar_t>(c - L'A' + L'a');
    return c;
}
