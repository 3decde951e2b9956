// Italy: the codice fiscale.
//
//   position  0-2      3-5     6-7   8      9-10          11      12-14   15
//   field     surname  first   year  month  day, + 40     region  region  check
//             code     name                 for a woman   letter  number  character
//   example   RSS      MRA     85    T      10            A       562     S   -> RSSMRA85T10A562S
//
// Month letters A B C D E H L M P R S T for January to December; region
// letters A-I, L, M, or Z for a birth abroad; the check character is scored
// over positions 0-14 by the published odd/even weights, mod 26.
//
// Accepted forms: the 16 characters, or 19 with three like separators, all
// hyphens or all blanks, after the groups 0-2, 3-5 and 6-10 (positions 3, 7
// and 13): RSS-MRA-85T10-A562S. Any of the digits at 6, 7, 9, 10, 12, 13 and
// 14 may be written as its replacement letter (omocodia: L M N P Q R S T U V
// for 0-9). Names are letters of either case; month, region letter,
// replacement letters and check character count only as capitals.
#ifndef QRNP_COUNTRIES_IT_QRNPNIDITS_H
#define QRNP_COUNTRIES_IT_QRNPNIDITS_H

#include <qrnp/qrnp.h>

// Set-up: checks the column, decodes the parts to mask (0x1803; 0 means birth
// date and region code, option word 6; flags without 1, 2 or 4 fail) and the
// separator option (0x1809: 0 becomes 2 = as the source; 1 none; 8 "-"; 16
// blank), acquires the 96-byte working buffer. 0, or 26, 4354, 4360, 4362,
// 106 (captured).
uint32_t InitCountryIT(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The Italian row driver. 0, or the row's message number (see RunRowDriver).
uint32_t RBPNIDMaskIT(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
