// Host ABI: basic codes shared by the engine, the provider and every host.
//
// Data-type codes name the column types the engine hands over; country codes
// are bits (they also form the provider's initialised-country mask); service
// methods tell Service what to do with a rowset.
#ifndef QRNP_TYPES_H
#define QRNP_TYPES_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
#define QRNP_EXTERN_C extern "C"
#else
#define QRNP_EXTERN_C
#endif

// Symbols that form the ABI are exported; everything else is built hidden.
#define QRNP_EXPORT QRNP_EXTERN_C __attribute__((visibility("default")))

#ifdef __cplusplus
static_assert(sizeof(wchar_t) == 4, "wide characters are 32-bit on every supported platform");
#endif

// Column data-type codes (16-bit on the wire).
enum QRNPDataType {
    CHAR = 1,               // fixed width, single byte, blank padded
    VARCHAR = 2,            // 16-bit byte-count prefix, then single bytes
    VARCHAR_SZ = 3,         // NUL-terminated single-byte string
    WCHAR = 4,              // fixed width, 32-bit characters
    WVARCHAR = 5,           // 16-bit byte-count prefix, then 32-bit characters
    WVARCHAR_SZ = 6,        // NUL-terminated 32-bit string
    LONG_LONG = 7,
    U_LONG_LONG = 8,        // unsigned 64-bit integer
    INTEGER = 9,            // signed 32-bit integer
    U_INTEGER = 10,         // unsigned 32-bit integer
    DECIMAL_PKD = 13,       // packed decimal, precision digits, sign nibble last
    ODBC_DATE = 14,
    ODBC_TIME = 15,
    ODBC_TIMESTAMP = 16,
    DATETIME_SZ = 17,
    DATETIME_WSZ = 18,
    DOUBLE = 19,
    FLOAT = 20,
    SMALLINT = 21,
    USMALLINT = 22,
    TINYINT = 23,
    UTINYINT = 24,
    DATETIME_CHAR = 25,
    DATETIME_VARCHAR = 26,
    DATETIME_WCHAR = 27,
    DATETIME_WVARCHAR = 28,
    ORA_VARNUM = 101        // unsigned database variable-length number
};

// One bit per country; the same bits form NidCtrlBlk's initialised-country mask.
enum CountryCode {
    QRNP_COUNTRY_FR = 1,
    QRNP_COUNTRY_IT = 2,
    QRNP_COUNTRY_UK = 4,
    QRNP_COUNTRY_ES = 8,
    QRNP_COUNTRY_US = 16,
    QRNP_COUNTRY_CA = 32
};

// Service methods.
#define QRNP_METHOD_MASK 0x1406u    // 5126: mask the source identifier
#define QRNP_METHOD_RANDOM 0x1407u  // 5127: generate a random identifier
#define QRNP_METHOD_CTRLBLK 0x1408u // 5128: use the method stored in the CtrlBlk
// Extensions, served only by an instance given a key (operands 0x1901-0x1910);
// otherwise refused with 4357 as any other method.
#define QRNP_METHOD_ENCRYPT 0x1409u // 5129: keyed encryption that keeps the identifier valid
#define QRNP_METHOD_DECRYPT 0x140Au // 5130: its inverse

// Processing-flag bits of CtrlBlk.sProcFlags.
#define QRNP_PROC_VALIDATE_FULLY 0x0001u
#define QRNP_PROC_PASS_INVALID 0x0002u

// Value type of a parameter record holding a NUL-terminated wide string.
#define QRNP_PARM_WSTRING 0x1001u

// Result of an entry point: 0 success, -2 warning (some rows failed), else a message number.
#define QRNP_OK 0
#define QRNP_WARNING (-2)

#endif
