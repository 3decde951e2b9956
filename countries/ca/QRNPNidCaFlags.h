// The Canadian option word and the SIN's layout: output separator, head
// masking, and the positions of the compact and separated forms.
#ifndef QRNP_COUNTRIES_CA_FLAGS_H
#define QRNP_COUNTRIES_CA_FLAGS_H

#include <cstdint>

// Option flags (set at set-up; the separator bits also per row under option 2).
inline constexpr uint64_t CA_FLAG_NO_SEPARATOR = 2;
inline constexpr uint64_t CA_FLAG_HYPHEN = 4;
inline constexpr uint64_t CA_FLAG_BLANK = 8;
inline constexpr uint64_t CA_FLAG_PERIOD = 16;
inline constexpr uint64_t CA_FLAG_MASK_HEAD = 32;

// Separator option values (operand 0x180C).
inline constexpr uint16_t CA_SEP_OPTION_NONE_GIVEN = 0;   // stored back as CA_SEP_OPTION_AS_SOURCE
inline constexpr uint16_t CA_SEP_OPTION_COMPACT = 1;
inline constexpr uint16_t CA_SEP_OPTION_AS_SOURCE = 2;
inline constexpr uint16_t CA_SEP_OPTION_PERIOD = 4;
inline constexpr uint16_t CA_SEP_OPTION_HYPHEN = 8;
inline constexpr uint16_t CA_SEP_OPTION_BLANK = 16;

// A SIN is nine digits: head 1-3 (the first is the region digit), body 4-9
// whose last digit is the Luhn check digit.
inline constexpr int32_t CA_SIN_LEN = 9;
inline constexpr int32_t CA_SIN_SEPARATED_LEN = 11;   // 123-456-782
inline constexpr int32_t CA_HEAD_LEN = 3;
inline constexpr int32_t CA_BODY_LEN = 6;
inline constexpr int32_t CA_POS_SEP1 = 3;             // separators of the 11-character form
inline constexpr int32_t CA_POS_SEP2 = 7;
inline constexpr int32_t CA_POS_GROUP3 = 6;           // where the second separator goes in the compact form

// The region digit no SIN carries.
inline constexpr wchar_t CA_REFUSED_REGION = L'8';

#endif
