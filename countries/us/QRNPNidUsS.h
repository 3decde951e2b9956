// United States: the Social Security number (SSN).
//
//   digits    1-3    4-5    6-9
//   field     area   group  serial
//   example   123    45     6789     -> 123-45-6789
//
// Area 001-899 in use as the dated area table says (never 000, 666 or
// 900-999), group 01-99 in the order groups are issued, serial 0001-9999.
// Accepted forms: the nine digits, or eleven characters with the same
// separator ('-', ' ' or '.') as 4th and 7th character. A numeric column's
// value is read back with its lost leading zeros (46454286 -> 046454286).
#ifndef QRNP_COUNTRIES_US_QRNPNIDUSS_H
#define QRNP_COUNTRIES_US_QRNPNIDUSS_H

#include <qrnp/qrnp.h>

// Set-up: checks the column, decodes the flags option (0x180E: 1 replace the
// area within its block, 2 the "11/01/06" table, 4 the "01/02/08" table; 2
// and 4 together are refused) and the separator option (0x180B: 0 becomes 2 =
// as the source; 1 none; 4 '.'; 8 '-'; 16 blank), acquires the 104-byte
// working buffer. 0, or 26, 4354, 4558, 4360, 106 (captured).
uint32_t InitCountryUS(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The United States row driver. 0, or the row's message number (see RunRowDriver).
uint32_t RBPNIDMaskUS(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
