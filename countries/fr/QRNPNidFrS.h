// France: the INSEE registration number (numéro d'inscription au répertoire).
//
//   position  0     1-2   3-4    5-6    7-9      10-12   13-14
//   field     sex   year  month  dept   commune  order   key
//   example   1     85    05     78     006      084     91     -> 185057800608491
//
// sex 1, 2, 7 or 8; month 01-12; department 01-97 except 20 and 96, or "2A" /
// "2B" for Corsica (any case); the key is 97 minus the first 13 digits mod 97,
// Corsica keyed as department 20. Accepted forms: the 15 characters, or 16
// with "-" or a blank before the key.
#ifndef QRNP_COUNTRIES_FR_QRNPNIDFRS_H
#define QRNP_COUNTRIES_FR_QRNPNIDFRS_H

#include <qrnp/qrnp.h>

// Set-up: checks the column, decodes the parts to mask (0x1801; 0 means sex,
// year, month and commune; the department always brings the commune along)
// and the separator option (0x1807: 0 becomes 2 = as the source; 1 none; 8
// "-"; 16 blank), acquires the 84-byte working buffer. 0, or 26, 4354, 4360,
// 4362, 106 (captured).
uint32_t InitCountryFR(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The French row driver. 0, or the row's message number (see RunRowDriver).
uint32_t RBPNIDMaskFR(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
