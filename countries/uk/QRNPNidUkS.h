// United Kingdom: the National Insurance number (NINO).
//
//   position  0-1     2-7          8
//   field     prefix  number part  suffix (optional)
//   example   AB      123456       C         -> AB123456C
//
// prefix one of the 239 pairs of VALID_PREFIXES (any case); number part six
// digits; suffix A, B, C or D (any case). Accepted forms, with one separator
// character ("-", "." or " ") used throughout:
//
//   form     with suffix       without suffix   separators at
//   compact  AB123456C    (9)  AB123456    (8)  -
//   3-part   AB-123456-C  (11) AB-123456   (9)  2 and 9 / 2
//   5-part   AB-12-34-56-C (13) AB-12-34-56 (11) 2, 5, 8 and 11 / 2, 5 and 8
//
// A 9-character value is 3-part when its third character is a separator,
// compact otherwise; an 11-character value is 3-part when positions 2 and 9
// hold the separator, 5-part when 2, 5 and 8 do.
#ifndef QRNP_COUNTRIES_UK_QRNPNIDUKS_H
#define QRNP_COUNTRIES_UK_QRNPNIDUKS_H

#include <qrnp/qrnp.h>

// Set-up: checks the form flags (0x180D) against the control block's method
// (4534), checks the column, decodes the data option (0x1804: bit 1 masks the
// prefix; other non-zero values 4362), the separator code (0x180A: 0 becomes
// 2 = as the source; 1 compact; 4 "."; 8 "-"; 16 " "; others 4360) and the
// output form (form-flag bit 2 the 5-part form, else the 3-part form; 4529
// for form flags naming neither), acquires the 72-byte working buffer.
// 0, or 4534, 26, 4354, 4362, 4360, 4529, 106 (captured).
uint32_t InitCountryUK(CtrlBlk* pCtrlBlk, NidCtrlBlk* pNidCtrlBlk);

// The United Kingdom row driver. 0, or the row's message number (see RunRowDriver).
uint32_t RBPNIDMaskUK(uint16_t sMethod, CtrlBlk* pCtrlBlk, Row* pRow, NidCtrlBlk* pNidCtrlBlk, FieldDef* pFldDef,
                      int32_t iRownum);

#endif
