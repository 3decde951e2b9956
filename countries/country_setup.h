// Set-up steps every country's InitCountry shares: the generic column type
// check and the working buffer.
#ifndef QRNP_COUNTRIES_COUNTRY_SETUP_H
#define QRNP_COUNTRIES_COUNTRY_SETUP_H

#include <qrnp/qrnp.h>

// The column check of France, Spain, Italy and the United Kingdom: accepts the
// six character types and fills the column's conversion block with their pair
// of converters. 0; 26 when there is no conversion block (captured, no
// tokens); 4354 for any other type (captured with the type, the column name
// and the country name). `pComponent` names the caller in the trace.
uint32_t CheckColumn(CtrlBlk* pCtrlBlk, ColumnDef* pColumnDef, NidCtrlBlk* pNidCtrlBlk, const char* pComponent,
                     const wchar_t* pCountryName);

// Fills the conversion block for a character type code (1-6). False for any other code.
bool FillCharacterConverters(int16_t sDataType, ConversionBlock* pCnvBlk);

// Fills the conversion block for a numeric type Canada and the United States
// accept (U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, unsigned VARNUM).
// False for any other code.
bool FillNumericConverters(int16_t sDataType, ConversionBlock* pCnvBlk);

// Captures 4360 for a separator option the country does not know, with the
// option value (as 16-bit value type sValueType: QRNP_TV_INT16 or
// QRNP_TV_UINT16) and the country name, traces "Invalid Separator", returns 4360.
uint32_t ReportInvalidSeparatorOption(CtrlBlk* pCtrlBlk, const char* pComponent, const wchar_t* pCountryName,
                                      uint16_t sOption, uint16_t sValueType);

// Records a working-buffer size in the state block's heap statistics
// (smallest and largest size seen).
void RecordWorkBufSize(NidCtrlBlk* pNidCtrlBlk, uint64_t iSize);

// Sets the block's working buffer to `iSize` bytes from the instance heap and
// records the size. 0, or 106 (captured with "NID" and the country name).
uint32_t AcquireWorkBuffer(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock, uint32_t iSize,
                           const char* pComponent, const wchar_t* pCountryName);

#endif
