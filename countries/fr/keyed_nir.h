// Keyed encryption of INSEE numbers (an extension). The order number, and
// the sex, year, month, commune (or department and commune) the parts
// option selects, are encrypted together; each stays within what full
// validation accepts: a sex of 1, 2, 7 or 8, a month 01-12, a commune in use
// in its department (under the official rules any of 001-999, or in 971-978
// 01-99), a department of the commune table. A number of someone born abroad stays one, its
// country one of the list. The key is recomputed.
#ifndef QRNP_COUNTRIES_FR_KEYED_NIR_H
#define QRNP_COUNTRIES_FR_KEYED_NIR_H

#include "countries/keyed_fields.h"

// Encrypts (bDecrypt false) or decrypts the fully validated compact number
// pIn into the compact pOut (room for 16 wide characters). 0, or the failure
// code (captured).
uint32_t KeyedNIR(RowContext& ctx, const wchar_t* pIn, bool bDecrypt, wchar_t* pOut);

#endif
