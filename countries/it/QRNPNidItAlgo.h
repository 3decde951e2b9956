// Italian codici fiscali: validation, check character, masking and random
// generation, and the tables they share.
//
// All functions work on compact 16-character wide strings (no separators)
// and allocate nothing. Letter lookups are exact and case-sensitive: a
// lower-case letter is never a vowel, month letter or replacement letter.
#ifndef QRNP_COUNTRIES_IT_QRNPNIDITALGO_H
#define QRNP_COUNTRIES_IT_QRNPNIDITALGO_H

#include <cstddef>
#include <cstdint>

#include <qrnp/qrnp_ctrlblk.h>

#include "countries/it/QRNPNidItFlags.h"

// Letter tables, ascending (they are searched with bsearch), NUL-terminated.
extern const wchar_t VOWELS[6];           // "AEIOU"
extern const wchar_t MONTHS[13];          // "ABCDEHLMPRST", January to December
extern const wchar_t SHORT_MONTHS[6];     // "BDHPS": February, April, June, September, November
extern const wchar_t REPLACEMENTS[11];    // "LMNPQRSTUV": the letters for the digits 0 to 9
extern const wchar_t CONSONANTS[22];      // "BCDFGHJKLMNPQRSTVWXYZ"
extern const wchar_t REGION_INITIALS[13]; // "ABCDEFGHILMZ"
// Check-character weight of a letter (digit d counts as "A" + d) in an odd
// place, by letter - "A"; a 27th entry 0 is never read.
extern const int16_t ODD_VALUES[27];

// The refused region codes, each a letter, three digits and a NUL, ascending
// under the case-insensitive order. Generated from data/it_invalid_region_codes.txt
// into QRNPNidItAlgoExt.cpp.
inline constexpr int32_t IT_INVALID_REGION_CODES = 3675;
extern const wchar_t InvalidRegionCodes[IT_INVALID_REGION_CODES][5];

// Index of c in the strictly ascending table of iCount letters, or -1: what
// bsearch with CharacterCompare finds (while tracing is off, found by a scan
// that gives the same index).
int32_t FindLetter(wchar_t c, const wchar_t* pTable, size_t iCount);

// Reads iDigits characters from pValue + iStart as a number built from the
// left: with bLetters a replacement letter counts as its index in
// REPLACEMENTS, every other character (and every character without
// bLetters) as its code - "0".
int32_t DecodeField(const wchar_t* pValue, int32_t iStart, int32_t iDigits, bool bLetters);

// The field checks of a compact value: surname code 4507, birth date 4509,
// region code 4510 (the first-name code is accepted as it comes: 4508 is never
// raised). Of the row flags only the replacement-letter bits 0x80, 0x100 and
// 0x200 are read. On a failure the message is captured for row iRownum with
// the value as its one token. 0, or the message number.
uint32_t ValidateCF(CtrlBlk* pCtrlBlk, int32_t iRownum, const wchar_t* value, uint64_t lRowFlags);

// 1 when the region code at pCode (a letter, three digits, NUL) may be
// carried: the letter is A-I, L, M or Z (exact case), the number is not 000
// and the code is not in InvalidRegionCodes (case-insensitive). 0 otherwise,
// and for a null pointer.
int32_t IsValidRegionCode(const wchar_t* pCode);

// For keyed encryption (an extension), the checks ValidateCF makes, one by
// one and without tracing: the surname code's "X" padding after a vowel; the
// days of a month (index in MONTHS) of a year 00-99; a region code that may
// be carried (as IsValidRegionCode).
bool SurnameCodeIsPadded(const wchar_t* value);
int32_t DaysOfMonth(int32_t iMonthIndex, int32_t iYear);
bool RegionCodeIsCarried(const wchar_t* pCode);

// Writes the check character of positions 0-14 of value into position 15.
// Only upper-case letters and digits count; anything else is skipped and
// does not take a place in the odd/even alternation.
void GetControlCharacter(wchar_t* value);

// Substitutes the 3-letter name code at pSource into pTarget (3 characters
// and a NUL): vowels move within VOWELS and consonants before the first vowel
// within CONSONANTS, by the shift growing along the code; a non-vowel after a
// vowel (the "X" padding) is copied. 1, or 0 when pSource is null.
int16_t MaskName(const wchar_t* pSource, wchar_t* pTarget, int16_t sShift);

// Masks the compact value (already checked by ValidateCF) under the row flags
// (parts 1/2/4 and the replacement-letter bits) into pOutput (room for 17
// wide characters). Deterministic. 0, or 4512 when a name cannot be masked.
uint32_t MaskCF(const wchar_t* value, wchar_t* pOutput, uint64_t lRowFlags);

// Writes a fresh codice fiscale into pOutput (room for 17 wide characters)
// from rand(); the first call in the process seeds it with srand(time(NULL)).
// Always 0. Its day runs from 00 and it never writes replacement letters.
// Under the official rules (bOfficial) the day is never 00 (or 40).
uint32_t RandomCF(wchar_t* pOutput, bool bOfficial = false);

#endif
