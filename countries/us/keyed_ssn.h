// Keyed encryption of Social Security numbers (an extension): the group and
// serial, and the area too when the area is to be masked, encrypted together
// over the numbers full validation accepts: an area in use in the chosen
// area table (every area 001-899 but 666 under the official rules), a group
// issued there (any group 01-99 under those rules), a serial 0001-9999, never
// the two voided numbers.
#ifndef QRNP_COUNTRIES_US_KEYED_SSN_H
#define QRNP_COUNTRIES_US_KEYED_SSN_H

#include "countries/keyed_fields.h"

// 0 when iSsn passes full validation under the option flags (the area table
// they choose, US_FLAG_OFFICIAL), else 4554, 4555, 4556 or 4557 (nothing captured).
uint32_t ValidateKeyedSsn(int32_t iSsn, uint64_t lOptionFlags);

// Encrypts (bDecrypt false) or decrypts a validated number into *piOut. 0,
// or the failure code (captured).
uint32_t KeyedSSN(RowContext& ctx, int32_t iSsn, bool bDecrypt, int32_t* piOut);

#endif
