// A country as the shared flows see it: its names, its option block, how its
// set-up decodes options (RunCountrySetup, country_setup.h) and the hooks of
// its row flow (RunRowDriver, row_driver.h). Each country's service file
// fills one CountryDriver; everything it does not list is done the same way
// for every country.
#ifndef QRNP_COUNTRIES_COUNTRY_DRIVER_H
#define QRNP_COUNTRIES_COUNTRY_DRIVER_H

#include <qrnp/qrnp.h>

// The longest identifier written (an Italian codice fiscale with separators
// has 19 characters) fits with room to spare.
inline constexpr int QRNP_OUTPUT_CHARS = 40;

// Separator option codes every country shares: 0 (none given) is stored back
// as 2, "keep the source's separators".
inline constexpr int16_t QRNP_SEPARATOR_NONE_GIVEN = 0;
inline constexpr int16_t QRNP_SEPARATOR_AS_SOURCE = 2;

struct CountryDriver;
struct RowContext;

using RowHook = uint32_t (*)(RowContext& ctx);
// A set-up step: 0, or a message number it has captured.
using SetupHook = uint32_t (*)(CtrlBlk* pCtrlBlk, const CountryDriver& country, CountryOptionBlock* pBlock);

// How a country's column check differs from the character-only one.
struct ColumnCheckKind {
    const char* pFunction;           // its name in the trace
    bool bNumericTypes;              // U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD and VARNUM too
    bool bNumericFirst;              // numeric types are tested first, the others by the character
                                     // check, traced inside this one
    bool bTraceColumnName;           // the column name is traced once the conversion block is found
    bool bVarnumMarksCanada;         // a VARNUM column marks the Canadian block's numeric source
};

// A separator option code the country accepts, and the option bits it sets.
struct SeparatorChoice {
    int16_t sCode;                   // 0 ends a list
    uint64_t lFlags;
};

// A separator found in a source, and the option bits that write it again.
struct SeparatorStyle {
    wchar_t cSeparator;              // L'\0': the compact form (listed first)
    uint64_t lFlags;
};

struct CountryDriver {
    const char* pComponent;          // trace component, the service file's module name
    const wchar_t* pCountryName;     // message token: "France", "Spain", ...
    CountryOptionBlock* (*pfnBlock)(NidCtrlBlk* pNidCtrlBlk);

    // Set-up, in this order: entry (with the arguments traced when
    // bTraceInitArguments), pfnBeforeColumnCheck, the column check,
    // pfnDecodeParts, the separator code (traced when bTraceSeparator; 0
    // becomes 2; each accepted code ORs its bits into the option word; any
    // other is 4360 with the code as a sSeparatorValueType token),
    // pfnAfterSeparator, the option word traced when bTraceOptionFlags, and
    // the working buffer of iWorkBufBytes.
    const char* pInitName;           // "InitCountryFR"
    bool bTraceInitArguments;
    SetupHook pfnBeforeColumnCheck;  // optional
    ColumnCheckKind column;
    SetupHook pfnDecodeParts;        // optional: the parts-to-mask option (sets the option word)
    uint8_t iSeparatorSlot;          // option slot of the separator code
    uint16_t sSeparatorValueType;    // QRNP_TV_INT16 or QRNP_TV_UINT16
    bool bTraceSeparator;
    SeparatorChoice separatorCodes[6];  // besides 2 (as the source)
    SetupHook pfnAfterSeparator;     // optional
    bool bTraceOptionFlags;
    uint32_t iWorkBufBytes;

    // Rows (see row_driver.h for the flow).
    // The separator styles a source may have, and the option bits that keep
    // each under separator code 2.
    SeparatorStyle separatorStyles[5];
    // Besides 4404-4407, the country's field checks that mean invalid data
    // (passed through when the host asks for it): iFirstFieldCheck to iLastFieldCheck.
    uint32_t iFirstFieldCheck;
    uint32_t iLastFieldCheck;
    // Optional: runs after the status is cleared, before the method test.
    RowHook pfnBeforeMethod;
    // Optional: a method that is neither mask nor random. Without it the row
    // is rejected with 11 (no message captured).
    RowHook pfnOtherMethod;
    // Trimmed working string in ctx.pInBuf/iInLength: check the layout and
    // fields, note the separator style found (NoteSourceSeparator or
    // KeepSourceStyle), leave the compact form.
    RowHook pfnCheckLayout;
    // Mask the compact working string into ctx.pOutBuf.
    RowHook pfnMask;
    // Generate a fresh identifier into ctx.pOutBuf (the source is not read).
    RowHook pfnRandom;
    // Optional: rewrite ctx.pOutBuf with the separators lRowFlags call for.
    RowHook pfnFormatOutput;
    // Keyed encryption and decryption of the compact working string into
    // ctx.pOutBuf (extension methods 0x1409 and 0x140A of an instance given
    // a key; the layout hook has checked the value under full validation).
    RowHook pfnEncrypt;
    RowHook pfnDecrypt;
    // Trace text of a failed destination conversion.
    const char* pDstConversionTrace;
};

// The country's separator option code (its slot, as the signed code it is).
inline int16_t SeparatorCode(const CountryDriver& country, const CountryOptionBlock* pBlock) {
    return static_cast<int16_t>(pBlock->sSlot[country.iSeparatorSlot]);
}

// True for the message numbers that mean invalid data for the country.
bool IsInvalidData(const CountryDriver& country, uint32_t iCode);

#endif
