#include "provider/country_table.h"

#include "countries/ca/QRNPNidCaS.h"
#include "countries/es/QRNPNidEsS.h"
#include "countries/fr/QRNPNidFrS.h"
#include "countries/it/QRNPNidItS.h"
#include "countries/uk/QRNPNidUkS.h"
#include "countries/us/QRNPNidUsS.h"

namespace {

// In CountryCode order. Spain alone marks the call failed on any non-zero
// driver return, even for a row it passed through.
const CountryEntry kCountries[] = {
    {QRNP_COUNTRY_FR, L"France", QRNP_MSG_FR_INIT_FAILED, InitCountryFR, RBPNIDMaskFR, false},
    {QRNP_COUNTRY_IT, L"Italy", QRNP_MSG_IT_INIT_FAILED, InitCountryIT, RBPNIDMaskIT, false},
    {QRNP_COUNTRY_UK, L"UK", QRNP_MSG_UK_INIT_FAILED, InitCountryUK, RBPNIDMaskUK, false},
    {QRNP_COUNTRY_ES, L"Spain", QRNP_MSG_ES_INIT_FAILED, InitCountryES, RBPNIDMaskES, true},
    {QRNP_COUNTRY_US, L"US", QRNP_MSG_US_INIT_FAILED, InitCountryUS, RBPNIDMaskUS, false},
    {QRNP_COUNTRY_CA, L"Canada", QRNP_MSG_CA_INIT_FAILED, InitCountryCA, RBPNIDMaskCA, false},
};

}  // namespace

const CountryEntry* FindCountry(uint32_t iCode) {
    for (const CountryEntry& entry : kCountries)
        if (entry.iCode == iCode) return &entry;
    return nullptr;
}
