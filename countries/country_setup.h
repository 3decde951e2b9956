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

// Records a working-buffer size in the state block's heap statistics
// (smallest and largest size seen).
void RecordWorkBufSize(NidCtrlBlk* pNidCtrlBlk, uint64_t iSize);

// Sets the block's working buffer to `iSize` bytes from the instance heap and
// records the size. 0, or 106 (captured with "NID" and the country name).
uint32_t AcquireWorkBuffer(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk, CountryOptionBlock* pBlock, uint32_t iSize,
                           const char* pComponent, const wchar_t* pCountryName);

#endif
