// The comparison of wide characters that the letter tables of the country
// modules are searched with (std::bsearch over sorted wchar_t arrays).
#ifndef QRNP_COUNTRIES_CHARACTER_COMPARE_H
#define QRNP_COUNTRIES_CHARACTER_COMPARE_H

#include <cstdint>

// bsearch comparison of the wide characters at a and b: a - b cut to 16 bits
// and sign-extended. Exact and case-sensitive; characters more than 32767
// apart compare wrongly, which never matters for letters and digits.
int CharacterCompare(const void* a, const void* b);

// The same comparison without CharacterCompare's entry and exit traces. A
// search run while tracing is off uses it: std::bsearch then inlines it, and
// the lookup costs no trace checks and no calls.
inline int CharacterDifference(const void* a, const void* b) {
    const wchar_t ca = *static_cast<const wchar_t*>(a);
    const wchar_t cb = *static_cast<const wchar_t*>(b);
    return static_cast<int16_t>(static_cast<uint16_t>(ca - cb));
}

#endif
