// Canadian Social Insurance Numbers: the Luhn check, validation, masking and
// random generation, on compact nine-digit values (the row driver removes and
// puts back the separators). They allocate nothing.
#ifndef QRNP_COUNTRIES_CA_QRNPNIDCAALGO_H
#define QRNP_COUNTRIES_CA_QRNPNIDCAALGO_H

#include <cstdint>

#include <qrnp/qrnp.h>

#include "countries/ca/QRNPNidCaFlags.h"

// The Luhn remainder (0-9) of every character of the NUL-terminated wstr,
// read from the left, the 2nd, 4th, ... doubled; 0 means valid. No character
// is skipped: a non-digit counts as its code minus '0'.
uint32_t CalculateLuhn(const wchar_t* wstr);

// Checks the nine-digit pInSIN: 4355 when pCtrlBlk carries no NidCtrlBlk;
// 4579 when the region digit is 8 (before the Luhn test); 4407 when the Luhn
// remainder is not 0; else 0. Failures are captured for row iRownum.
uint32_t ValidateSIN(CtrlBlk* pCtrlBlk, const wchar_t* pInSIN, int32_t iRownum = 0);

// Writes into out (at least 10 characters) the three head digits followed by
// the six body characters, the last replaced by the digit that makes the Luhn
// remainder (over the digits only) 0.
void maskLuhn(const wchar_t* head, const wchar_t* body, wchar_t* out);

// Shifts the first len-1 digits of the NUL-terminated digit string str by
// fixed increments and k (odd places 2k), reorders the 2nd to (len-1)th
// among themselves by PXGetPermutation(key), and sets the last to '0'.
// In place; k is key mod 9; len at most 16.
void transposeNum(wchar_t* str, int32_t key, int32_t k);

// Shifts the three digits of str by 9 + k, 7 + 2k and 4 + k and reorders
// them by the fixed order number key mod 35. In place; k is key mod 9; key >= 0.
void transposeHead(wchar_t* str, int32_t key, int32_t k);

// Applies transposeHead(headStr, key2, key2 mod 9) until the first digit of
// the three-digit headStr is not 8; a key that has kept it on 8 for four
// passes cycles there, and the next key takes over. In place.
void MaskHead(wchar_t* headStr, int32_t key2);

// Masks the SIN iInSin (0..999999999) into *pOutSin: the body is transposed
// (never to a first group "000") and the check digit recomputed; the head is
// kept, and then the SIN never ends "000", or with CA_FLAG_MASK_HEAD in
// lFlags transposed too (never to a region digit 8; "000" groups may then
// occur). Deterministic. pFldDef is traced only. 0, or the code of a failed
// digit conversion (*pOutSin then untouched).
uint32_t MaskSIN(int32_t iInSin, int32_t* pOutSin, uint64_t lFlags, const FieldDef* pFldDef);

// Writes a fresh Luhn-valid SIN into *pOutSin from rand(): region digit never
// 8, no group of three "000". The first call in the process seeds rand() with
// srand(time(NULL)). Always 0.
uint32_t RandomSIN(int32_t* pOutSin);

#endif
