// The set-up flow every country's InitCountry follows, written once
// (RunCountrySetup, driven by the country's CountryDriver), and its steps:
// the column type check, the separator option, the working buffer.
#ifndef QRNP_COUNTRIES_COUNTRY_SETUP_H
#define QRNP_COUNTRIES_COUNTRY_SETUP_H

#include <qrnp/qrnp.h>

#include "countries/country_driver.h"

// The set-up of `country` for this instance (see CountryDriver for the
// order of its steps). 0, or the message number of the step that failed
// (captured): 26 or 4354 from the column check, the parts decoder's, 4360 for
// a separator code the country does not know, 106 for the working buffer,
// or what the country's own hooks return.
uint32_t RunCountrySetup(const CountryDriver& country, CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The column check: accepts the six character types (and, for kind
// bNumericTypes, U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD and unsigned
// VARNUM, noting bNumericSource in pBlock) and fills the column's conversion
// block with their pair of converters. 0; 26 when there is no conversion
// block (captured, no tokens); 4354 for any other type (captured with the
// type, the column name and the country name). Traced as kind.pFunction
// under `pComponent`.
uint32_t CheckColumn(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock,
                     const char* pComponent, const wchar_t* pCountryName, const ColumnCheckKind& kind);

// The check of France, Spain, Italy and the United Kingdom: character types only.
inline constexpr ColumnCheckKind kCharacterColumns = {"CheckColumn", false, false, false, false};

// Fills the conversion block for a character type code (1-6). False for any other code.
bool FillCharacterConverters(int16_t sDataType, ConversionBlock* pCnvBlk);

// Fills the conversion block for a numeric type Canada and the United States
// accept (U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, unsigned VARNUM).
// False for any other code.
bool FillNumericConverters(int16_t sDataType, ConversionBlock* pCnvBlk);

// Records a working-buffer size in the state block's heap statistics
// (smallest and largest size seen).
void RecordWorkBufSize(NidCtrlBlk* pNidCtrlBlk, uint64_t iSize);

#endif
