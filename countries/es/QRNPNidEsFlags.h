// The Spanish option word and the positions of the NIF and NIE layouts.
#ifndef QRNP_COUNTRIES_ES_FLAGS_H
#define QRNP_COUNTRIES_ES_FLAGS_H

#include <cstdint>

// Option flags (the separator to write).
inline constexpr uint64_t ES_FLAG_NO_SEPARATOR = 2;
inline constexpr uint64_t ES_FLAG_HYPHEN = 4;
inline constexpr uint64_t ES_FLAG_BLANK = 8;

// Digit counts: eight for a NIF with the eight-digit mark, seven otherwise.
inline constexpr int16_t ES_DIGITS_LONG = 8;
inline constexpr int16_t ES_DIGITS_SHORT = 7;

// Trimmed source lengths.
inline constexpr int32_t ES_MIN_LEN = 8;
inline constexpr int32_t ES_MAX_LEN = 11;
inline constexpr int32_t ES_PLAIN_NIF_LEN = 8;      // 1234567L
inline constexpr int32_t ES_COMPACT_LEN = 9;        // X1234567L, 1234567-L, 12345678Z
inline constexpr int32_t ES_REFUSED_LEN = 10;       // 12345678-Z
inline constexpr int32_t ES_SEPARATED_NIE_LEN = 11; // X-1234567-L

// Positions.
inline constexpr int32_t ES_POS_NIF_SEPARATOR = 7;  // 1234567-L
inline constexpr int32_t ES_POS_NIE_SEPARATOR1 = 1; // X-1234567-L
inline constexpr int32_t ES_POS_NIE_SEPARATOR2 = 9;

// Random numbers up to this one are written as NIEs, larger ones as NIFs.
inline constexpr uint64_t ES_RANDOM_NIE_MAX = 929999;

#endif
