// Canada: the Social Insurance Number (SIN).
//
//   position  1-3     4-8     9
//   field     head    body    check digit
//   example   130     69254   4        -> 130692544
//
// The head's first digit is the region digit. Nine digits; the Luhn sum of the nine digits (2nd, 4th, 6th and 8th
// doubled) must end in 0; no SIN starts with 8 (checked with the Luhn sum
// when the host asks for full validation). Accepted forms, after trimming:
//
//   123456782      nine digits
//   123-456-782    eleven characters, the same separator at the 4th and
//   123 456 782    8th place: "-", " " or "."
//   123.456.782
//
// Numeric columns (U_LONG_LONG, INTEGER, U_INTEGER, DECIMAL_PKD, unsigned
// VARNUM) lose leading zeros: their digits are zero-padded back to nine, so
// the number 46454286 is the SIN 046454286, and the result goes back as a number.
#ifndef QRNP_COUNTRIES_CA_QRNPNIDCAS_H
#define QRNP_COUNTRIES_CA_QRNPNIDCAS_H

#include <qrnp/qrnp.h>

// Set-up: checks the column, decodes the parts option (0x1806: 0 keeps the
// head, odd masks it too) and the separator option (0x180C: 0 becomes 2 = as
// the source; 1 none; 4 "."; 8 "-"; 16 blank), acquires the 104-byte working
// buffer. 0, or 26, 4354, 4360, 4362, 106 (captured).
uint32_t InitCountryCA(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The Canadian row driver. 0, or the row's message number (see RunRowDriver).
// A method other than mask or random writes 000000000 in the configured layout.
uint32_t RBPNIDMaskCA(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
