// The French option word and the INSEE number's layout: parts to mask,
// output separator, the per-row Corsica bits the driver adds to its local
// copy, and the field positions of the compact 15-character form.
#ifndef QRNP_COUNTRIES_FR_FLAGS_H
#define QRNP_COUNTRIES_FR_FLAGS_H

#include <cstdint>

// Option flags.
inline constexpr uint64_t FR_FLAG_SEX = 2;
inline constexpr uint64_t FR_FLAG_YEAR = 4;
inline constexpr uint64_t FR_FLAG_MONTH = 8;
inline constexpr uint64_t FR_FLAG_DEPT = 16;
inline constexpr uint64_t FR_FLAG_COMMUNE = 32;
inline constexpr uint64_t FR_FLAG_DEFAULT_PARTS = FR_FLAG_SEX | FR_FLAG_YEAR | FR_FLAG_MONTH | FR_FLAG_COMMUNE;  // 46
inline constexpr uint64_t FR_FLAG_NO_SEPARATOR = 64;
inline constexpr uint64_t FR_FLAG_HYPHEN = 128;
inline constexpr uint64_t FR_FLAG_BLANK = 256;
inline constexpr uint64_t FR_FLAG_ROW_2A = 0x400;
inline constexpr uint64_t FR_FLAG_ROW_2B = 0x800;
// The current official rules (an extension): born abroad, Corsican keys,
// the printed form.
inline constexpr uint64_t FR_FLAG_OFFICIAL = 0x1000;
inline constexpr uint64_t FR_FLAG_PRINTED = 0x2000;   // written "2 95 10 99 126 111 93"

// Department numbers: "2A" is carried as 20 and "2B" as 0, the rows of the
// commune table; neither can be written as a number, so they never collide.
inline constexpr int32_t FR_DEPT_2A = 20;
inline constexpr int32_t FR_DEPT_2B = 0;
inline constexpr int32_t FR_DEPT_NONE = 96;     // no communes
inline constexpr int32_t FR_DEPT_ROWS = 98;
inline constexpr int32_t FR_DEPT_OVERSEAS = 97;  // 971...: the department's third digit opens the commune field
inline constexpr int32_t FR_DEPT_ABROAD = 99;   // official rules: born abroad, the commune is a country

// The compact form, positions from 0.
inline constexpr int32_t FR_POS_SEX = 0;
inline constexpr int32_t FR_POS_YEAR = 1;
inline constexpr int32_t FR_POS_MONTH = 3;
inline constexpr int32_t FR_POS_DEPT = 5;
inline constexpr int32_t FR_POS_COMMUNE = 7;
inline constexpr int32_t FR_POS_ORDER = 10;
inline constexpr int32_t FR_POS_KEY = 13;
inline constexpr int32_t FR_INSEE_KEYED_LEN = 13;   // digits the key is computed from
inline constexpr int32_t FR_INSEE_LEN = 15;         // compact length
inline constexpr int32_t FR_INSEE_SEPARATED_LEN = 16;
// The printed form: groups of 1, 2, 2, 2, 3, 3 and 2 digits, single blanks.
inline constexpr int32_t FR_INSEE_PRINTED_LEN = 21;
inline constexpr int32_t FR_PRINTED_BLANKS[6] = {1, 4, 7, 10, 14, 18};  // their places in the printed form

#endif
