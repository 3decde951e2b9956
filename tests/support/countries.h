// The countries this build serves (the provider's country table) and the
// letters that select each in the country switch, for tests and fuzz targets
// that run the same checks for every country present.
#ifndef QRNP_TESTS_COUNTRIES_H
#define QRNP_TESTS_COUNTRIES_H

#include <cstdint>
#include <string>
#include <vector>

#include "provider/country_table.h"

namespace testsupport {

// The CountryCode values with a country module, in ascending order.
inline const std::vector<uint32_t>& CountriesPresent() {
    static const std::vector<uint32_t> countries = [] {
        std::vector<uint32_t> codes;
        for (uint32_t iCode = QRNP_COUNTRY_FR; iCode <= QRNP_COUNTRY_CA; iCode <<= 1)
            if (FindCountry(iCode) != nullptr) codes.push_back(iCode);
        return codes;
    }();
    return countries;
}

// The two letters that select a country in the switch ("FR", "IT", "UK", "ES", "US", "CA").
inline const wchar_t* SwitchLetters(uint32_t iCountry) {
    switch (iCountry) {
        case QRNP_COUNTRY_FR: return L"FR";
        case QRNP_COUNTRY_IT: return L"IT";
        case QRNP_COUNTRY_UK: return L"UK";
        case QRNP_COUNTRY_ES: return L"ES";
        case QRNP_COUNTRY_US: return L"US";
        case QRNP_COUNTRY_CA: return L"CA";
        default: return L"";
    }
}

}  // namespace testsupport

#endif
