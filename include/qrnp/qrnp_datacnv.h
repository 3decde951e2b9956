// Host data-conversion library (libQRNPDataCnvLib): column values to and from
// NUL-terminated wide (32-bit) strings, and small text helpers.
//
// Column converters have the shapes QRNPToWideFn and QRNPFromWideFn
// (qrnp_ctrlblk.h). Single-byte text is ISO-8859-1. Converters never write
// past the capacity they are given and never read past a source length that
// is greater than 0. Their results:
#ifndef QRNP_DATACNV_H
#define QRNP_DATACNV_H

#include "qrnp_ctrlblk.h"

#define QRNP_CNV_OK 0u
#define QRNP_CNV_NULL_SOURCE 30u        // the source pointer is null (output: empty string)
#define QRNP_CNV_BUFFER_TOO_SMALL 64u   // the output does not fit its capacity (nothing usable written)
#define QRNP_CNV_NOT_A_NUMBER 66u       // text is not a number of the required digits, or out of range
#define QRNP_CNV_EMPTY 75u              // empty value, or a numeric value of zero (output: empty string)
#define QRNP_CNV_UNDEFINED 0xFFFFFFFFu  // malformed input: a length prefix past the source, a character
                                        // not representable in the destination, a bad packed-decimal
                                        // nibble or number byte, an unsupported type

#ifdef __cplusplus
extern "C" {
#endif

// Source converters: column type -> wide string. Codes: 0, 30, 64, 75, 0xFFFFFFFF.
QRNP_EXPORT uint32_t QRNPCnvCharToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvVarcharToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvVarcharSzToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                  const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWCharToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                 const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                   const ColumnDef*);
// Numeric sources write the decimal digits of the value (no leading zeros;
// "-" before a negative signed value); a value of zero gives 75 and an empty
// string, except for QRNPCnvIntToWVarcharSz1, SmallInt and SmallUInt (message
// values), which write "0". A positive iSrcLen shorter than the type is 0xFFFFFFFF.
QRNP_EXPORT uint32_t QRNPCnvULONGLONGToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                  const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvUIntToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvIntToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
// As QRNPCnvIntToWVarcharSz, but zero is written "0" (result 0). Negative values keep their "-".
QRNP_EXPORT uint32_t QRNPCnvIntToWVarcharSz1(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
// 16-bit signed and unsigned values; zero is written "0" (result 0).
QRNP_EXPORT uint32_t QRNPCnvSmallIntToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                 const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvSmallUIntToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                  const ColumnDef*);
// Packed decimal of pCtx->sPrecision digits (1-31; 0 means 31): (precision / 2 + 1)
// bytes, two digits a byte, the sign nibble last (C or F positive, D negative;
// a negative value is refused with 0xFFFFFFFF). With an even precision the
// first nibble is padding and must be 0.
QRNP_EXPORT uint32_t QRNPCnvDecPKDToWVarcharSz(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);
// Unsigned variable-length number: byte 0 = length L (1-21) of the number bytes
// that follow; exponent byte 0xC1 + e (e = base-100 exponent), then base-100
// digits each stored plus 1; zero is L = 1 with the single byte 0x80. Negative
// numbers and fractions are refused with 0xFFFFFFFF.
QRNP_EXPORT uint32_t QRNPCnvOraVarnumToWVarcharSz_Unsigned(const void*, int32_t, wchar_t*, int32_t, int32_t*,
                                                           const ColumnDef*);
// Date, time or timestamp value (QRNPDate/QRNPTime/QRNPTimestamp by pCtx->sDataType
// 14/15/16; a null pCtx means timestamp) as "YYYY-MM-DD", "HH:MM:SS", "YYYY-MM-DD HH:MM:SS.ffffff".
QRNP_EXPORT uint32_t QRNPGetStringFromTS(const void*, int32_t, wchar_t*, int32_t, int32_t*, const ColumnDef*);

// Destination converters: wide string -> column type. Codes: 0, 64, 66, 0xFFFFFFFF.
// CHAR and WCHAR write the characters only (the caller pre-fills the padding).
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToChar(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToVarchar(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToVarcharSz(const wchar_t*, int32_t, void*, int32_t, int32_t*,
                                                  const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToWChar(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToWVarchar(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToWVarcharSzOut(const wchar_t*, int32_t, void*, int32_t, int32_t*,
                                                      const ColumnDef*);
// Numeric destinations take a string of decimal digits (at least one, nothing
// else) whose value fits the type; 66 otherwise. QRNPCnvWVarcharSzToULONGLONG
// also serves as the plain "digits to uint64_t" helper (pDst = &value, capacity 8).
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToULONGLONG(const wchar_t*, int32_t, void*, int32_t, int32_t*,
                                                  const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToUInt(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToDecPKD(const wchar_t*, int32_t, void*, int32_t, int32_t*, const ColumnDef*);
QRNP_EXPORT uint32_t QRNPCnvWVarcharSz_UnsignedToOraVarnum(const wchar_t*, int32_t, void*, int32_t, int32_t*,
                                                           const ColumnDef*);

// Reads iDigits characters of pStr from iStart as a decimal number. 0, or 66
// when a character is not a digit, the string ends first, or iDigits is not 1-9.
QRNP_EXPORT uint32_t QRNPCnvWVarcharSzToInt(const wchar_t* pStr, int32_t* piValue, int32_t iStart, int32_t iDigits);

// Removes blanks (U+0020) in place from the start and/or the end of a string of
// *piLen characters, moves the rest to the start, terminates it and updates *piLen. Returns 0.
QRNP_EXPORT uint32_t TrimSpacesW(wchar_t* pStr, int32_t* piLen, int32_t bLeading, int32_t bTrailing);

// Fills iLen bytes of pBuf with single-byte blanks. Returns 0.
QRNP_EXPORT uint32_t InitializeCharBufferWithSpaces(void* pBuf, int32_t iLen, const ColumnDef* pCtx);

// ODBC-style date and time records.
typedef struct QRNPDate {
    int16_t sYear;
    uint16_t sMonth;
    uint16_t sDay;
} QRNPDate;
typedef struct QRNPTime {
    uint16_t sHour;
    uint16_t sMinute;
    uint16_t sSecond;
} QRNPTime;
typedef struct QRNPTimestamp {
    int16_t sYear;
    uint16_t sMonth;
    uint16_t sDay;
    uint16_t sHour;
    uint16_t sMinute;
    uint16_t sSecond;
    uint32_t iFraction;         // microseconds
} QRNPTimestamp;

#ifdef __cplusplus
}
#endif

#endif
