#include "provider/country_table.h"

#include "countries/fr/QRNPNidFrS.h"
#include "countries/us/QRNPNidUsS.h"

namespace {

const CountryEntry kCountries[] = {
    {QRNP_COUNTRY_FR, L"France", QRNP_MSG_FR_INIT_FAILED, InitCountryFR, RBPNIDMaskFR, false},
    {QRNP_COUNTRY_US, L"US", QRNP_MSG_US_INIT_FAILED, InitCountryUS, RBPNIDMaskUS, false},
};

}  // namespace

const CountryEntry* FindCountry(uint32_t iCode) {
    for (const CountryEntry& entry : kCountries)
        if (entry.iCode == iCode) return &entry;
    return nullptr;
}
