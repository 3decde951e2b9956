// The two nine-digit identifiers (Canada's SIN, the United States' SSN) share
// how a numeric column's value is read back and how the number is written:
// nine digits with leading zeros, and one separator character repeated at two
// places, chosen by the same option flags (4 "-", 8 blank, 16 ".").
#ifndef QRNP_COUNTRIES_NINE_DIGIT_NUMBER_H
#define QRNP_COUNTRIES_NINE_DIGIT_NUMBER_H

#include "countries/row_driver.h"

inline constexpr int32_t NINE_DIGITS = 9;

// The option bits both countries write their separator with.
inline constexpr uint64_t NINE_DIGIT_FLAG_HYPHEN = 4;
inline constexpr uint64_t NINE_DIGIT_FLAG_BLANK = 8;
inline constexpr uint64_t NINE_DIGIT_FLAG_PERIOD = 16;

// A numeric column loses leading zeros: shifts the working string right and
// fills with "0" up to nine characters (a string of nine or more is left alone).
void ZeroPadToNineDigits(RowContext& ctx);

// Writes iValue as nine digits into ctx.pOutBuf and inserts the separator the
// row flags call for before digit iSecondSep and then before digit iFirstSep
// (0-based positions in the nine digits). 0, or 4410 (captured with the
// country, traced `pTraceText`) when the value has more than nine digits.
uint32_t WriteNineDigits(RowContext& ctx, int64_t iValue, int32_t iFirstSep, int32_t iSecondSep,
                         const char* pTraceText);

#endif
