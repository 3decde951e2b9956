// The row masking driver: the per-value flow every country follows, written once.
//
// RunRowDriver takes one row's source cell through: clear the status; method
// test; random branch; working-buffer growth; source conversion (30/75 mean
// empty, 0xFFFFFFFF becomes 4404); the empty-value path; trimming and the
// blanks-only pass-through (4403); the country's layout and validation hook;
// the mask hook; the output hook (separators); destination pre-fill and
// conversion (0xFFFFFFFF becomes 4410); and the two failure exits
// (pass-through of invalid data, reject).
//
// A country supplies a CountryDriver (country_driver.h): its name, its
// option block, its separator styles, the range of its field checks, and hooks.
// Hooks that fail capture their own message (ReportRowError below) and return
// the message number; the driver then takes the failure exit with it.
#ifndef QRNP_COUNTRIES_ROW_DRIVER_H
#define QRNP_COUNTRIES_ROW_DRIVER_H

#include <initializer_list>

#include <qrnp/qrnp.h>

#include "countries/country_driver.h"

// Everything one row's pass through the flow works on.
struct RowContext {
    uint16_t sMethod;                 // 5126 mask, 5127 random, or whatever the host passed
    CtrlBlk* pCtrlBlk;
    Row* pRow;
    NidCtrlBlk* pNidCtrlBlk;
    FieldDef* pFldDef;
    int32_t iRownum;
    const CountryDriver* pCountry;
    CountryOptionBlock* pBlock;       // the country's option block
    uint64_t lRowFlags;               // local copy of the option word, plus per-row bits
    wchar_t* pInBuf;                  // working string (the block's buffer), NUL-terminated
    int32_t iInLength;                // its length in characters
    int32_t iConvertedLength;         // length the source converter reported (before trimming)
    bool bSourceLoaded;               // the source is in pInBuf (LoadSource ran)
    wchar_t pOutBuf[QRNP_OUTPUT_CHARS];  // the identifier to write, NUL-terminated
    int64_t lScratch[4];              // per-row state of the country's hooks
};

// True when the instance follows the identifiers' current official rules
// (extension operand 0x1920).
inline bool OfficialRules(const RowContext& ctx) {
    return (ctx.pNidCtrlBlk->iExtensions & QRNP_EXT_OFFICIAL_RULES) != 0;
}

// One row through the flow. Returns 0 (served, or passed through as empty or
// blank) or the message number of the failure (the cell's status too).
uint32_t RunRowDriver(const CountryDriver& country, uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow,
                      NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef, int32_t iRownum);

// Grows the working buffer to the source's length and converts the source
// into it (ctx.pInBuf, iInLength, iConvertedLength; a null or empty value
// gives length 0). Captures nothing: 0, 106 when the buffer cannot grow, or
// the converter's code. The flow calls it for the mask method; a hook that
// needs the source before the method test may call it first.
uint32_t LoadSource(RowContext& ctx);

// For pfnCheckLayout, once it has read the source's separator (L'\0' for
// none): under separator code 2 the result keeps that style, so its option
// bits (the country's separatorStyles) go into the row flags.
void NoteSourceSeparator(RowContext& ctx, wchar_t cSeparator);

// The same for option bits the country works out itself (the United
// Kingdom's form and separator).
void KeepSourceStyle(RowContext& ctx, uint64_t lStyle);

// Tokens a row message can carry.
enum class RowToken {
    Value,          // the working string (wide, token id 5)
    Length,         // the working string's length (int32, token id 35)
    Country,        // the country name (wide, token id 37)
    Provider        // "NID" (narrow, token id 2)
};

// Captures `iCode` for the row with the listed tokens (the declared count is
// their number), traces `pTraceText` when given, and returns iCode.
uint32_t ReportRowError(RowContext& ctx, uint32_t iCode, const char* pTraceText, std::initializer_list<RowToken> tokens);

// Captures `iCode` bound to no row with the given tokens (set-up failures).
uint32_t ReportSetupError(CtrlBlk* pCtrlBlk, const char* pComponent, const wchar_t* pCountryName, uint32_t iCode,
                          const char* pTraceText, std::initializer_list<RowToken> tokens);

// Reads `iDigits` characters of the working string from `iStart` as a number.
// False when any of them is not a digit.
bool ReadDigits(const wchar_t* pStr, int32_t iStart, int32_t iDigits, int32_t* piValue);

// Removes the character at `iPos` from a NUL-terminated string of *piLen characters.
void RemoveCharAt(wchar_t* pStr, int32_t* piLen, int32_t iPos);

// Inserts `ch` at `iPos` of a NUL-terminated string, shifting the rest right.
// The caller guarantees room (QRNP_OUTPUT_CHARS).
void InsertCharAt(wchar_t* pStr, int32_t iPos, wchar_t ch);

#endif
