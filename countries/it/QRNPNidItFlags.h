// The Italian option word and the codice fiscale's layout: parts to mask,
// output separator, the per-row replacement-letter bits the driver adds to
// its local copy, and the field positions of the compact and separated forms.
#ifndef QRNP_COUNTRIES_IT_FLAGS_H
#define QRNP_COUNTRIES_IT_FLAGS_H

#include <cstdint>

// Option flags: what to mask.
inline constexpr uint64_t IT_FLAG_NAMES = 1;        // surname and first-name codes
inline constexpr uint64_t IT_FLAG_BIRTH_DATE = 2;   // year, month and day
inline constexpr uint64_t IT_FLAG_REGION = 4;       // region code
inline constexpr uint64_t IT_FLAG_DEFAULT_PARTS = IT_FLAG_BIRTH_DATE | IT_FLAG_REGION;  // 6
// Output form.
inline constexpr uint64_t IT_FLAG_COMPACT = 8;
inline constexpr uint64_t IT_FLAG_HYPHENS = 0x10;
inline constexpr uint64_t IT_FLAG_SPACES = 0x20;
// Per row: the field's digits hold replacement letters.
inline constexpr uint64_t IT_FLAG_ROW_DAY_LETTERS = 0x80;
inline constexpr uint64_t IT_FLAG_ROW_YEAR_LETTERS = 0x100;
inline constexpr uint64_t IT_FLAG_ROW_REGION_LETTERS = 0x200;
inline constexpr uint64_t IT_FLAG_ROW_LETTERS =
    IT_FLAG_ROW_DAY_LETTERS | IT_FLAG_ROW_YEAR_LETTERS | IT_FLAG_ROW_REGION_LETTERS;

// Separator codes (option 0x1809).
inline constexpr int16_t IT_SEPARATOR_AS_SOURCE = 2;  // 0 is rewritten to it
inline constexpr int16_t IT_SEPARATOR_NONE = 1;
inline constexpr int16_t IT_SEPARATOR_HYPHEN = 8;
inline constexpr int16_t IT_SEPARATOR_SPACE = 16;

// The compact form, positions from 0.
inline constexpr int32_t IT_POS_SURNAME = 0;        // 3 letters
inline constexpr int32_t IT_POS_FIRST_NAME = 3;     // 3 letters
inline constexpr int32_t IT_POS_YEAR = 6;           // 2 digits
inline constexpr int32_t IT_POS_MONTH = 8;          // 1 letter
inline constexpr int32_t IT_POS_DAY = 9;            // 2 digits, + 40 for a woman
inline constexpr int32_t IT_POS_REGION = 11;        // 1 letter and 3 digits
inline constexpr int32_t IT_POS_REGION_NUMBER = 12;
inline constexpr int32_t IT_POS_CHECK = 15;
inline constexpr int32_t IT_CF_LEN = 16;            // compact length
inline constexpr int32_t IT_CF_SEPARATED_LEN = 19;
inline constexpr int32_t IT_WOMAN_DAY_OFFSET = 40;

// The separated form: separators at 3, 7 and 13.
inline constexpr int32_t IT_SEPARATOR_POSITIONS[3] = {3, 7, 13};

#endif
