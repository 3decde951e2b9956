#include "provider/country_table.h"

#include "countries/ca/QRNPNidCaS.h"
#include "countries/fr/QRNPNidFrS.h"

namespace {

const CountryEntry kCountries[] = {
    {QRNP_COUNTRY_FR, L"France", QRNP_MSG_FR_INIT_FAILED, InitCountryFR, RBPNIDMaskFR, false},
    {QRNP_COUNTRY_CA, L"Canada", QRNP_MSG_CA_INIT_FAILED, InitCountryCA, RBPNIDMaskCA, false},
};

}  // namespace

const CountryEntry* FindCountry(uint32_t iCode) {
    for (const CountryEntry& entry : kCountries)
        if (entry.iCode == iCode) return &entry;
    return nullptr;
}
