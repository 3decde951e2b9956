// The wide-character comparison shared by the Spanish and Italian modules.
// It belongs with the Spanish algorithms and traces under their component.

#include "countries/character_compare.h"

#include <cstdint>

#include "common/trace.h"

namespace {
constexpr const char* kComp = "QRNPNidEsAlgo";
}

int CharacterCompare(const void* a, const void* b) {
    TRC_ENTRY(kComp, "CharacterCompare");
    const wchar_t ca = *static_cast<const wchar_t*>(a);
    const wchar_t cb = *static_cast<const wchar_t*>(b);
    const int iResult = static_cast<int16_t>(static_cast<uint16_t>(ca - cb));
    TRC_EXIT(kComp, "CharacterCompare", iResult);
    return iResult;
}
