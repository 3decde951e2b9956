// Country selection from the CtrlBlk's country switch.
#ifndef QRNP_PROVIDER_GET_COUNTRY_H
#define QRNP_PROVIDER_GET_COUNTRY_H

#include <qrnp/qrnp.h>

// Compares the first two characters of a wide-string switch, ignoring case,
// with FR, UK, ES, IT, US, CA. A match sets *piCountry to the CountryCode and
// *pbCallOnce to 1 and returns 0. A switch that is not a wide string returns 0
// and changes nothing. No match returns -1.
int32_t GetCountry(const ParmRec* pSwitch, uint32_t* piCountry, int32_t* pbCallOnce);

#endif
