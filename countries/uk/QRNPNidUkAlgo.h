// United Kingdom National Insurance numbers: the prefix table, masking and
// random generation.
//
// Both algorithms work on the compact form: two prefix letters, six digits
// and an optional suffix letter (8 or 9 characters). They allocate nothing.
#ifndef QRNP_COUNTRIES_UK_QRNPNIDUKALGO_H
#define QRNP_COUNTRIES_UK_QRNPNIDUKALGO_H

#include <cstddef>
#include <cstdint>

#include "countries/uk/QRNPNidUkFlags.h"

inline constexpr size_t UK_PREFIX_COUNT = 239;
inline constexpr size_t UK_SEQUENCE_ROWS = 47;

// The prefixes in use, two capital letters each, in ascending order. None
// begins with D, F, I, Q, U or V.
extern const wchar_t* const VALID_PREFIXES[UK_PREFIX_COUNT];

// Orders of the six scrambled digits: row r gives, for each output digit,
// the 1-based position of the scrambled digit that goes there.
extern const int16_t sequence[UK_SEQUENCE_ROWS][6];

// bsearch comparison over VALID_PREFIXES: both arguments point at a
// `const wchar_t*`; the first two characters are compared without regard to case.
int PrefixCompare(const void* pKey, const void* pEntry);

// Index in VALID_PREFIXES of the first two characters of pValue (any case), or -1.
int32_t FindPrefix(const wchar_t* pValue);

// The prefixes the current official rule allows: neither letter D, F, I, Q,
// U or V, the second not O, and none of BG, GB, KN, NK, NT, TN and ZZ (373,
// every VALID_PREFIXES entry among them).
inline constexpr int32_t UK_OFFICIAL_PREFIX_COUNT = 373;

// Index of the first two characters of pValue (any case) among the
// official prefixes in alphabetical order, or -1.
int32_t FindOfficialPrefix(const wchar_t* pValue);

// Writes the two capitals of official prefix iIndex (0..372) to pOut.
void WriteOfficialPrefix(int32_t iIndex, wchar_t* pOut);

// Masks the compact value ninoInValue (8 or 9 characters the row driver has
// checked) into ninoOutValue (room for 10 wide characters). The number part
// is scrambled with a key made from the prefix; the suffix is kept as it is;
// the prefix is kept in its own case, or, with UK_FLAG_MASK_PREFIX in
// lRowFlags (the only bit read), replaced by a table entry. Deterministic.
// Returns 0, or 0xFFFFFFFF (-1) when the scrambled digits cannot be read as a
// number or the prefix is not in the table (neither happens for a checked value).
// (With UK_FLAG_OFFICIAL, a prefix allowed by the official rule but not in
// VALID_PREFIXES is masked the same way round the official prefixes.)
uint32_t MaskNINO(const wchar_t* ninoInValue, wchar_t* ninoOutValue, uint64_t lRowFlags);

// Writes a fresh number into ninoOutValue (room for 10 wide characters): a
// table prefix, 000001-999999 and, four times in five, a suffix A-D. The
// first call in the process seeds rand() with srand(time(NULL)). Returns 0.
uint32_t RandomNINO(wchar_t* ninoOutValue);

#endif
