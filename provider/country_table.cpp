#include "provider/country_table.h"

#include "countries/fr/QRNPNidFrS.h"
#include "countries/it/QRNPNidItS.h"

namespace {

const CountryEntry kCountries[] = {
    {QRNP_COUNTRY_FR, L"France", QRNP_MSG_FR_INIT_FAILED, InitCountryFR, RBPNIDMaskFR, false},
    {QRNP_COUNTRY_IT, L"Italy", QRNP_MSG_IT_INIT_FAILED, InitCountryIT, RBPNIDMaskIT, false},
};

}  // namespace

const CountryEntry* FindCountry(uint32_t iCode) {
    for (const CountryEntry& entry : kCountries)
        if (entry.iCode == iCode) return &entry;
    return nullptr;
}
