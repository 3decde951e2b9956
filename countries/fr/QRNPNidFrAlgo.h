// French INSEE numbers: masking, random generation, the key and the commune table.
//
// All functions work on compact 15-character wide strings (no separator) and
// write 15 characters and a NUL. They allocate nothing.
#ifndef QRNP_COUNTRIES_FR_QRNPNIDFRALGO_H
#define QRNP_COUNTRIES_FR_QRNPNIDFRALGO_H

#include <cstdint>

#include "countries/fr/QRNPNidFrFlags.h"

// One department's row of the commune table.
struct DeptRow {
    int16_t sHighest;           // largest commune number in use (-1 for row 96)
    const int16_t* pUnused;     // the numbers 1..sHighest not in use, ascending;
                                // {-1} when there are none, {-2} for row 96
    int16_t sUnusedCount;       // entries in pUnused (at least 1)
};

// Rows 0..97 by department number: row 0 is "2B", row 20 is "2A", row 96 has
// no communes, row 97 holds the overseas departments 971-974 (the commune
// field is the department's third digit followed by two digits). Generated
// from data/fr_communes.csv into QRNPNidFrAlgoExt.cpp.
extern const DeptRow deptTable[98];

// The last three digits of the INSEE codes of the countries and territories
// of birth (99101-99517), ascending: the commune field of a NIR whose
// department is 99. Generated from data/fr_birth_countries.csv into
// QRNPNidFrBirthCountries.cpp.
inline constexpr int32_t FR_BIRTH_COUNTRY_COUNT = 236;
extern const int16_t FR_BIRTH_COUNTRIES[FR_BIRTH_COUNTRY_COUNT];

// True when iCode (three digits) is a country or territory of birth.
bool IsBirthCountry(int32_t iCode);

// The check key under the official rules: as InseeKey, but Corsica is keyed
// with "2A" read as "19" and "2B" as "18". iDept is the department as the
// commune table numbers it (FR_DEPT_2A, FR_DEPT_2B, or its number).
uint32_t OfficialInseeKey(const wchar_t* pThirteen, int32_t iDept, int32_t* piKey);

// The commune codes the official rules accept in department row iDept (not
// 96 or 99): any of 001-999 (people keep the code of the commune they were
// born in, whenever it existed), but in row 97 only the overseas departments
// that exist, 971-978, each with communes 01-99 (see the .cpp).
// OfficialCommuneCount is their number, OfficialCommuneIndex the place of
// a valid commune among them (0 first), OfficialCommuneAt the commune at a
// place.
bool OfficialCommuneIsValid(int32_t iDept, int32_t iCommune);
int32_t OfficialCommuneCount(int32_t iDept);
int32_t OfficialCommuneIndex(int32_t iDept, int32_t iCommune);
int32_t OfficialCommuneAt(int32_t iDept, int32_t iIndex);

// bsearch comparison of two commune numbers: reads both as int16_t and
// returns a - b.
int CompareCommunes(const void* a, const void* b);

// True when commune iCommune is in use in department row iDept: 1 <= iCommune,
// iDept in 0..97 but not 96, iCommune <= the row's highest, and iCommune not
// in the row's unused list.
bool CommuneIsValid(int32_t iDept, int32_t iCommune);

// The check key of the 13 digits at pThirteen (positions 0-12 of a number;
// only those 13 characters are read). With bCorsica the department's second
// character (position 6, "A" or "B" in any case) is read as "0", so both
// Corsican departments are keyed as "20". *piKey = 97 - (n mod 97), 1..97.
// Returns 0, or 4404 when the 13 characters are not all digits.
uint32_t InseeKey(const wchar_t* pThirteen, bool bCorsica, int32_t* piKey);

// Masks the compact number inseeInValue (15 characters the row driver has
// checked) under the option flags FR_FLAG_SEX .. FR_FLAG_COMMUNE (other bits
// are ignored) into inseeOutValue (room for 16 wide characters). The order
// number is always masked and the key recomputed. Deterministic. With
// FR_FLAG_OFFICIAL the key follows the official rules and a number of
// someone born abroad (department 99) stays one: its country moves to the
// next country of the list where a commune would move to the next commune.
// Returns 0; 4454 sex digit not 1, 2, 7 or 8 (with FR_FLAG_SEX); 4455 the
// commune row to search is not a department (cannot happen for a checked
// value); 4457 commune below 1 (with FR_FLAG_COMMUNE); 4404 key conversion
// failed; or the code of a failed field conversion (66, e.g. for a
// lower-case "2a": only "2A" and "2B" are read as Corsica).
uint32_t MaskINSEE(const wchar_t* inseeInValue, uint64_t lOptionFlags, wchar_t* inseeOutValue);

// Writes a fresh well-formed number into inseeOutValue (room for 16 wide
// characters) from rand(); the first call in the process seeds it with
// srand(time(NULL)). Under the official rules (bOfficial) one number in ten
// is of someone born abroad and Corsica gets its official key. Returns 0, or
// 4404 when the key conversion fails.
uint32_t RandomINSEE(wchar_t* inseeOutValue, bool bOfficial = false);

#endif
