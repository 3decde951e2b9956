// Keyed encryption of codici fiscali (an extension). The parts the option
// selects are encrypted together: the name codes (letters, each in its
// source's case, the surname code padded as validation asks), the birth
// date (year, month and a day of that month; the sex is kept) and the region
// code (one of the codes that may be carried). Digits written as replacement
// letters in the source are written as letters again; the check character
// is recomputed.
#ifndef QRNP_COUNTRIES_IT_KEYED_CF_H
#define QRNP_COUNTRIES_IT_KEYED_CF_H

#include "countries/keyed_fields.h"

// Encrypts (bDecrypt false) or decrypts the fully validated compact value
// pIn into the compact pOut (room for 17 wide characters). 0, or the failure
// code (captured).
uint32_t KeyedCF(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut);

#endif
