// The United Kingdom option word, the per-row bits the driver adds to its
// local copy, and the National Insurance number's layout in its compact and
// separated forms.
#ifndef QRNP_COUNTRIES_UK_FLAGS_H
#define QRNP_COUNTRIES_UK_FLAGS_H

#include <cstdint>

// Option word (InitCountryUK) and per-row bits (RBPNIDMaskUK).
inline constexpr uint64_t UK_FLAG_MASK_PREFIX = 0x1;     // mask the prefix as well as the number part
inline constexpr uint64_t UK_FLAG_FULL_STOP = 0x2;       // separator "."
inline constexpr uint64_t UK_FLAG_SPACE = 0x4;           // separator " "
inline constexpr uint64_t UK_FLAG_HYPHEN = 0x8;          // separator "-"
inline constexpr uint64_t UK_FLAG_COMPACT = 0x10;        // write the compact form
inline constexpr uint64_t UK_FLAG_3_PART = 0x40;         // write the 3-part form
inline constexpr uint64_t UK_FLAG_5_PART = 0x80;         // write the 5-part form
inline constexpr uint64_t UK_FLAG_COMPACT_CHOSEN = 0x200;
inline constexpr uint64_t UK_FLAG_NO_SUFFIX = 0x400;     // per row: the source has no suffix
inline constexpr uint64_t UK_FLAG_OFFICIAL = 0x800;      // per row: the current official prefix rule

// Separator codes (operand 0x180A).
inline constexpr int16_t UK_SEP_COMPACT = 1;
inline constexpr int16_t UK_SEP_AS_SOURCE = 2;
inline constexpr int16_t UK_SEP_FULL_STOP = 4;
inline constexpr int16_t UK_SEP_HYPHEN = 8;
inline constexpr int16_t UK_SEP_SPACE = 16;

// The compact form, positions from 0.
inline constexpr int32_t UK_POS_NUMBER = 2;
inline constexpr int32_t UK_NUMBER_DIGITS = 6;
inline constexpr int32_t UK_POS_SUFFIX = 8;
inline constexpr int32_t UK_NINO_LEN = 8;               // without suffix
inline constexpr int32_t UK_NINO_SUFFIXED_LEN = 9;

// Trimmed source lengths: at least 8 and at most 13 characters, 8 or 9 of
// them letters and digits; then only these are accepted.
inline constexpr int32_t UK_MIN_LEN = 8;
inline constexpr int32_t UK_MAX_LEN = 13;
inline constexpr int32_t UK_3_PART_LEN = 11;            // with suffix (9 without)
inline constexpr int32_t UK_5_PART_LEN = 13;            // with suffix (11 without)

#endif
