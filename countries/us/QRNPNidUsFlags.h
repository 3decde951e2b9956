// The United States option word and the Social Security number's layout:
// output separator, area replacement, the dated table to use, and the
// positions of the separated form.
#ifndef QRNP_COUNTRIES_US_FLAGS_H
#define QRNP_COUNTRIES_US_FLAGS_H

#include <cstdint>

// Option flags (the option word InitCountryUS builds; the row driver adds the
// separator bits of the source when the separator option is 2).
inline constexpr uint64_t US_FLAG_NO_SEPARATOR = 2;
inline constexpr uint64_t US_FLAG_HYPHEN = 4;
inline constexpr uint64_t US_FLAG_BLANK = 8;
inline constexpr uint64_t US_FLAG_DOT = 16;
inline constexpr uint64_t US_FLAG_REPLACE_AREA = 32;   // another area of the same block
inline constexpr uint64_t US_FLAG_TABLE_2006 = 64;     // DistAreaTable, "11/01/06"
inline constexpr uint64_t US_FLAG_TABLE_2008 = 128;    // Y2008AreaTable, "01/02/08"
inline constexpr uint64_t US_FLAG_OFFICIAL = 256;      // the rules since the 2011 randomization (an extension)
                                                       // neither: MaxGrpAreaTable, "10/10/10"

// Bits of the flags option (operand 0x180E).
inline constexpr uint16_t US_OPTION_REPLACE_AREA = 1;
inline constexpr uint16_t US_OPTION_TABLE_2006 = 2;
inline constexpr uint16_t US_OPTION_TABLE_2008 = 4;

// The separator option value that copies the source's separator.
inline constexpr uint16_t US_SEPARATOR_AS_SOURCE = 2;

// Layout.
inline constexpr int32_t US_SSN_DIGITS = 9;
inline constexpr int32_t US_SSN_SEPARATED_LEN = 11;
inline constexpr int32_t US_SRC_SEP1 = 3;   // 123-45-6789: the separators' places in the source
inline constexpr int32_t US_SRC_SEP2 = 6;
inline constexpr int32_t US_OUT_SEP2 = 5;   // inserted into the nine digits: before the 6th digit,
inline constexpr int32_t US_OUT_SEP1 = 3;   // then before the 4th

// The areas 001..999 each have an entry in the area tables.
inline constexpr int32_t US_AREA_COUNT = 999;
inline constexpr int32_t US_SIDE_TABLE_ROWS = 16;

#endif
