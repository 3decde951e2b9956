// Checks of the error list's shape that hold after any call: the anchor's
// count matches the entries reachable from it, the last pointer is the last
// entry, every entry carries its eye-catcher and header, and the tokens
// captured match the count each entry declared.
#ifndef QRNP_FUZZ_ERROR_LIST_CHECKS_H
#define QRNP_FUZZ_ERROR_LIST_CHECKS_H

#include <cstring>

#include <qrnp/qrnp.h>

#include "fuzz_check.h"

inline void CheckErrorList(const EAB* pEAB) {
    FUZZ_CHECK(pEAB != nullptr, "the host's error list is gone");
    uint32_t iReachable = 0;
    const ErrorEntry* pLast = nullptr;
    for (const ErrorEntry* pEntry = pEAB->pFirst; pEntry != nullptr; pEntry = pEntry->pNext) {
        ++iReachable;
        FUZZ_CHECK(iReachable <= pEAB->iEntryCount, "more entries reachable than the count %u", pEAB->iEntryCount);
        pLast = pEntry;
        FUZZ_CHECK(std::memcmp(pEntry->cEyeCatcher, QRNP_ERROR_EYECATCHER, 4) == 0, "entry %u: eye-catcher",
                   iReachable);
        FUZZ_CHECK(pEntry->sVersion == 21 && pEntry->sHeaderLen == QRNP_ERROR_ENTRY_HEADER, "entry %u: header",
                   iReachable);
        // Callers capture exactly the tokens they declare; the spare slot stays free.
        int iTokens = 0;
        for (int i = 0; i <= pEntry->sTokenCount; ++i) {
            if (pEntry->tokens[i].iTokenId == 0) continue;
            ++iTokens;
            FUZZ_CHECK(pEntry->tokens[i].iTokenId <= QRNP_TOKID_COUNT && pEntry->tokens[i].pText != nullptr,
                       "entry %u (message %u): token slot %d has id %d and text %p", iReachable, pEntry->iMessage,
                       i, pEntry->tokens[i].iTokenId, static_cast<const void*>(pEntry->tokens[i].pText));
        }
        FUZZ_CHECK(iTokens == pEntry->sTokenCount, "message %u declares %u tokens and carries %d", pEntry->iMessage,
                   pEntry->sTokenCount, iTokens);
    }
    FUZZ_CHECK(iReachable == pEAB->iEntryCount, "entry count %u, %u reachable", pEAB->iEntryCount, iReachable);
    FUZZ_CHECK(pEAB->pLast == pLast, "the last-entry pointer is not the last entry reachable");
    FUZZ_CHECK(pEAB->iLargestSize >= pEAB->iRunningSize, "largest size %u below the running size %u",
               pEAB->iLargestSize, pEAB->iRunningSize);
}

#endif
