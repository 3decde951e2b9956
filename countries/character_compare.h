// The comparison of wide characters that the letter tables of the country
// modules are searched with (std::bsearch over sorted wchar_t arrays).
#ifndef QRNP_COUNTRIES_CHARACTER_COMPARE_H
#define QRNP_COUNTRIES_CHARACTER_COMPARE_H

// bsearch comparison of the wide characters at a and b: a - b cut to 16 bits
// and sign-extended. Exact and case-sensitive; characters more than 32767
// apart compare wrongly, which never matters for letters and digits.
int CharacterCompare(const void* a, const void* b);

#endif
