// Spanish NIF and NIE numbers: digit masking, random numbers, the control
// letter, and the wide-character comparison the Italian module searches with.
#ifndef QRNP_COUNTRIES_ES_QRNPNIDESALGO_H
#define QRNP_COUNTRIES_ES_QRNPNIDESALGO_H

#include <cstdint>

#include "countries/character_compare.h"
#include "countries/es/QRNPNidEsFlags.h"

// The only NIE prefix recognised.
inline constexpr wchar_t prefix = L'X';

// The control letter of a number: "TRWAGMYFPDXBNJZSQVHLCKE"[n mod 23].
char ControlLetter(uint64_t n);

// Masks `count` (7 or 8) digit characters into `output` as digit values
// 0-9: every digit is shifted, the first one stays in place and the others
// are reordered under a seed taken from the shifted digits. Deterministic.
void maskNIF(const wchar_t* digits, int16_t* output, int16_t count);

// A random number of `count` digits (7; 8 for any other count), leading
// zeros possible. The first call in the process seeds rand() with
// srand(time(NULL)).
void randomNIF(uint64_t* output, int16_t count);


#endif
