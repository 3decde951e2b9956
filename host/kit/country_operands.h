// The named provider settings (parts, separator, form, area table) and the
// operands each country reads them from.
#ifndef QRNP_HOSTKIT_COUNTRY_OPERANDS_H
#define QRNP_HOSTKIT_COUNTRY_OPERANDS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace hostkit {

using Operand = std::pair<uint16_t, uint32_t>;  // key id, value

// The area-table bits of the United States flags operand (neither: the 2010 table).
inline constexpr uint32_t kUsAreaTable2006 = 2;
inline constexpr uint32_t kUsAreaTable2008 = 4;

// The settings as a user writes them; empty means not given.
struct NamedSettings {
    std::string parts;      // comma-separated part names
    std::string separator;  // keep, none, dot, dash, space
    std::string form;       // 3 or 5 (United Kingdom)
    std::string areaTable;  // 2006, 2008 or 2010 (United States)
};

// The names each setting accepts (parts are checked per country).
inline const std::vector<std::string> kSeparatorNames = {"keep", "none", "dot", "dash", "space"};
inline const std::vector<std::string> kFormNames = {"3", "5"};
inline const std::vector<std::string> kAreaTableNames = {"2006", "2008", "2010"};

// "" when `value` is one of `names`, else "'VALUE' is none of A, B, C".
std::string NoneOfMessage(const std::string& value, const std::vector<std::string>& names);

// The country a switch selects, as the provider reads it (the first two
// letters in any case): "FR", "IT", "UK", "ES", "US", "CA", or "" for none.
std::string SwitchCountry(const std::string& countrySwitch);

// Appends the operands for the named settings, in the order parts,
// separator, form, area table; settings that share a key (the United States
// parts and area table) become one operand. False with a message naming the
// problem (a setting the country does not have, an unknown name).
bool AppendNamedOperands(const std::string& countrySwitch, const NamedSettings& settings,
                         std::vector<Operand>* pOperands, std::string* pError);

// Help text: what each setting means for each country.
std::string NamedSettingsHelp();

}  // namespace hostkit

#endif
