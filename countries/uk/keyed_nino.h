// Keyed encryption of National Insurance numbers (an extension): the number
// part, and the prefix too when the prefix is to be masked, encrypted
// together; the prefix stays one of the table (or of the official list under
// the official rules); the suffix and the letters' case are kept.
#ifndef QRNP_COUNTRIES_UK_KEYED_NINO_H
#define QRNP_COUNTRIES_UK_KEYED_NINO_H

#include "countries/keyed_fields.h"

// Encrypts (bDecrypt false) or decrypts the checked compact value pIn into
// the compact pOut (room for 10 wide characters). 0, or the failure code (captured).
uint32_t KeyedNINO(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut);

#endif
