// Spain: the NIF (tax number of residents) and the NIE (of foreigners).
//
//   form                   example        length  digits read
//   NIF, eight digits      12345678Z        9     0-7, only with the eight-digit mark
//   NIF, seven digits      1234567L         8     0-6
//   NIF with separator     1234567-L        9     0-6, "-" or a blank at 7
//   NIE, compact           X1234567L        9     1-7
//   NIE with separators    X-1234567-L     11     2-8, "-" at 1 and 9, or a blank at both
//
// The control letter is "TRWAGMYFPDXBNJZSQVHLCKE"[n mod 23] of the number the
// digits form. The eight-digit mark: the source converts to exactly nine
// characters (before trimming) of which the first eight are digits. A
// separated eight-digit NIF (12345678-Z, ten characters) is refused.
#ifndef QRNP_COUNTRIES_ES_QRNPNIDESS_H
#define QRNP_COUNTRIES_ES_QRNPNIDESS_H

#include <qrnp/qrnp.h>

// Set-up: checks the column, decodes the separator option (0x1808: 0 becomes
// 2 = as the source; 1 none; 8 "-"; 16 blank) and acquires the 64-byte
// working buffer. 0, or 26, 4354, 4360, 106 (captured).
uint32_t InitCountryES(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The Spanish row driver. 0, or the row's message number (see RunRowDriver).
uint32_t RBPNIDMaskES(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
