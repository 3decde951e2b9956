// Reading the error list the provider filled.
#include "hostkit.h"

namespace hostkit {

std::vector<Message> ReadErrors(const EAB* pEAB) {
    std::vector<Message> messages;
    if (pEAB == nullptr) return messages;
    for (const ErrorEntry* pEntry = pEAB->pFirst; pEntry != nullptr; pEntry = pEntry->pNext) {
        Message message;
        message.iMessage = pEntry->iMessage;
        message.iRow = pEntry->iRowNumber;
        message.sDeclaredTokens = pEntry->sTokenCount;
        // The declared slots, and the spare one past them.
        const int nSlots = pEntry->sTokenCount + 1;
        for (int i = 0; i < nSlots; ++i) {
            const TokenSlot& slot = pEntry->tokens[i];
            if (slot.iTokenId == 0) continue;
            message.tokens.emplace_back(slot.iTokenId, slot.pText != nullptr ? std::wstring(slot.pText) : L"");
        }
        messages.push_back(std::move(message));
    }
    return messages;
}

std::string TokenName(int32_t iTokenId) {
    if (iTokenId < 1 || iTokenId > QRNP_TOKID_COUNT) return std::to_string(iTokenId);
    const std::wstring name(QRNP_TOKEN_NAMES[iTokenId - 1]);
    return ToUtf8(name.substr(sizeof("QRNP_TOKID_") - 1));
}

}  // namespace hostkit
