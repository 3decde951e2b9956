// The countries this provider serves: one entry per country, in one table,
// used by Init (set-up) and Service (row dispatch).
#ifndef QRNP_PROVIDER_COUNTRY_TABLE_H
#define QRNP_PROVIDER_COUNTRY_TABLE_H

#include <qrnp/qrnp.h>

using InitCountryFn = uint32_t (*)(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);
using RowMaskFn = uint32_t (*)(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk,
                               FieldDef* pFldDef, int32_t iRownum);

struct CountryEntry {
    uint32_t iCode;                 // CountryCode bit
    const wchar_t* pName;           // token of 4364: "France", "Italy", "UK", "Spain", "US", "Canada"
    uint32_t iInitFailedMsg;        // captured when InitCountry fails
    InitCountryFn pfnInit;          // InitCountry<CC>
    RowMaskFn pfnMask;              // RBPNIDMask<CC>
    bool bFailsOnNonZeroReturn;     // Spain: a non-zero driver return marks the call failed at once
};

// A country code that serves nothing: its rows count as served, untouched.
inline constexpr uint32_t kCountryCodeServingNothing = 64;

// The entry of a country code, or null when no country module has that code.
const CountryEntry* FindCountry(uint32_t iCode);

#endif
