// Keyed encryption of Social Insurance Numbers (an extension): the body
// (digits 4-8), and the head (digits 1-3) too when the head is to be masked,
// encrypted together; a head never starts with 8; the check digit is
// recomputed by the Luhn rule.
#ifndef QRNP_COUNTRIES_CA_KEYED_SIN_H
#define QRNP_COUNTRIES_CA_KEYED_SIN_H

#include "countries/keyed_fields.h"

// Encrypts (bDecrypt false) or decrypts a fully validated SIN into *piOut.
// 0, or the failure code (captured).
uint32_t KeyedSIN(RowContext& ctx, int32_t iSin, bool bDecrypt, int32_t* piOut);

// The Luhn check digit of the eight digits of iFirstEight.
int32_t LuhnCheckDigit(int32_t iFirstEight);

#endif
