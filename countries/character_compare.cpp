// The wide-character comparison shared by the Spanish and Italian modules.
// It belongs with the Spanish algorithms and traces under their component.

#include "countries/character_compare.h"

#include "common/trace.h"

namespace {
constexpr const char* kComp = "QRNPNidEsAlgo";
}

int CharacterCompare(const void* a, const void* b) {
    TRC_ENTRY(kComp, "CharacterCompare");
    const int iResult = CharacterDifference(a, b);
    TRC_EXIT(kComp, "CharacterCompare", iResult);
    return iResult;
}
