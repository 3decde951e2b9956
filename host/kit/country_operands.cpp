// Named settings to operands, from one table of the six countries.
#include "country_operands.h"

#include <cctype>
#include <cstdio>

#include <qrnp/qrnp.h>

namespace hostkit {

namespace {

struct Part {
    const char* pName;
    uint32_t iBit;
};

struct CountryKeys {
    const char* pCode;
    uint16_t sPartsKey;       // 0: the country has no parts to choose
    Part parts[5];
    uint16_t sSeparatorKey;
    uint16_t sFormKey;        // 0: no form setting
    uint16_t sAreaTableKey;   // 0: no area table setting
};

constexpr CountryKeys kCountries[] = {
    {"FR", QRNP_OPR_FR_PARTS, {{"sex", 1}, {"year", 2}, {"month", 4}, {"dept", 8}, {"commune", 16}},
     QRNP_OPR_FR_SEPARATOR, 0, 0},
    {"IT", QRNP_OPR_IT_FLAGS, {{"names", 1}, {"date", 2}, {"region", 4}}, QRNP_OPR_IT_SEPARATOR, 0, 0},
    {"UK", QRNP_OPR_UK_DATA, {{"prefix", 1}}, QRNP_OPR_UK_SEPARATOR, QRNP_OPR_UK_FORM, 0},
    {"ES", 0, {}, QRNP_OPR_ES_SEPARATOR, 0, 0},
    {"US", QRNP_OPR_US_FLAGS, {{"area", 1}}, QRNP_OPR_US_SEPARATOR, 0, QRNP_OPR_US_FLAGS},
    {"CA", QRNP_OPR_CA_PARTS, {{"head", 1}}, QRNP_OPR_CA_SEPARATOR, 0, 0},
};

constexpr std::pair<const char*, uint32_t> kSeparators[] = {
    {"keep", 2}, {"none", 1}, {"dot", 4}, {"dash", 8}, {"space", 16}};

const CountryKeys* FindCountry(const std::string& code) {
    for (const CountryKeys& country : kCountries)
        if (code == country.pCode) return &country;
    return nullptr;
}

// Sets key to value, or ORs value into an operand with the same key already set here.
void Put(std::vector<Operand>& operands, size_t iFirstNamed, uint16_t sKey, uint32_t iValue) {
    for (size_t i = iFirstNamed; i < operands.size(); ++i) {
        if (operands[i].first == sKey) {
            operands[i].second |= iValue;
            return;
        }
    }
    operands.emplace_back(sKey, iValue);
}

std::string PartNames(const CountryKeys& country) {
    std::string names;
    for (const Part& part : country.parts) {
        if (part.pName == nullptr) break;
        if (!names.empty()) names += ", ";
        names += part.pName;
    }
    return names;
}

bool PartsValue(const CountryKeys& country, const std::string& list, uint32_t* pValue, std::string* pError) {
    uint32_t value = 0;
    size_t start = 0;
    while (start <= list.size()) {
        size_t end = list.find(',', start);
        if (end == std::string::npos) end = list.size();
        const std::string name = list.substr(start, end - start);
        bool bFound = false;
        for (const Part& part : country.parts) {
            if (part.pName != nullptr && name == part.pName) {
                value |= part.iBit;
                bFound = true;
            }
        }
        if (!bFound) {
            *pError = "parts: '" + name + "' is not a part of a " + country.pCode + " identifier (parts: " +
                      PartNames(country) + ")";
            return false;
        }
        start = end + 1;
    }
    *pValue = value;
    return true;
}

}  // namespace

std::string NoneOfMessage(const std::string& value, const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        if (value == name) return "";
        list += (list.empty() ? "" : ", ") + name;
    }
    return "'" + value + "' is none of " + list;
}

std::string SwitchCountry(const std::string& countrySwitch) {
    if (countrySwitch.size() < 2) return "";
    std::string code;
    for (int i = 0; i < 2; ++i) code += static_cast<char>(std::toupper(static_cast<unsigned char>(countrySwitch[i])));
    return FindCountry(code) != nullptr ? code : "";
}

bool AppendNamedOperands(const std::string& countrySwitch, const NamedSettings& settings,
                         std::vector<Operand>* pOperands, std::string* pError) {
    const bool bAny = !settings.parts.empty() || !settings.separator.empty() || !settings.form.empty() ||
                      !settings.areaTable.empty();
    if (!bAny) return true;
    const std::string code = SwitchCountry(countrySwitch);
    const CountryKeys* pCountry = FindCountry(code);
    if (pCountry == nullptr) {
        *pError = "parts, separator, form and area table need a country of FR, IT, UK, ES, US or CA (got '" +
                  countrySwitch + "')";
        return false;
    }
    std::vector<Operand>& operands = *pOperands;
    const size_t iFirstNamed = operands.size();

    if (!settings.parts.empty()) {
        if (pCountry->sPartsKey == 0) {
            *pError = std::string("parts: ") + pCountry->pCode + " has no parts to choose";
            return false;
        }
        uint32_t value = 0;
        if (!PartsValue(*pCountry, settings.parts, &value, pError)) return false;
        Put(operands, iFirstNamed, pCountry->sPartsKey, value);
    }
    if (!settings.separator.empty()) {
        bool bFound = false;
        for (const auto& [pName, value] : kSeparators) {
            if (settings.separator == pName) {
                Put(operands, iFirstNamed, pCountry->sSeparatorKey, value);
                bFound = true;
            }
        }
        if (!bFound) {
            *pError = "separator: '" + settings.separator + "' is none of keep, none, dot, dash, space";
            return false;
        }
    }
    if (!settings.form.empty()) {
        if (pCountry->sFormKey == 0) {
            *pError = std::string("form applies to UK identifiers only, not ") + pCountry->pCode;
            return false;
        }
        if (settings.form != "3" && settings.form != "5") {
            *pError = "form: '" + settings.form + "' is neither 3 nor 5";
            return false;
        }
        Put(operands, iFirstNamed, pCountry->sFormKey, settings.form == "3" ? 1u : 2u);
    }
    if (!settings.areaTable.empty()) {
        if (pCountry->sAreaTableKey == 0) {
            *pError = std::string("area table applies to US identifiers only, not ") + pCountry->pCode;
            return false;
        }
        uint32_t value = 0;
        if (settings.areaTable == "2006") {
            value = kUsAreaTable2006;
        } else if (settings.areaTable == "2008") {
            value = kUsAreaTable2008;
        } else if (settings.areaTable != "2010") {
            *pError = "area table: '" + settings.areaTable + "' is none of 2006, 2008, 2010";
            return false;
        }
        Put(operands, iFirstNamed, pCountry->sAreaTableKey, value);
    }
    return true;
}

std::string NamedSettingsHelp() {
    const auto hex = [](uint16_t sKey) {
        char buffer[8];
        std::snprintf(buffer, sizeof(buffer), "0x%04X", sKey);
        return std::string(buffer);
    };
    std::string text = "Engine level: the operands each masking setting sets, by country:\n";
    for (const CountryKeys& country : kCountries) {
        text += std::string("  ") + country.pCode + ":";
        if (country.sPartsKey != 0)
            text += " --parts " + PartNames(country) + " (" + hex(country.sPartsKey) + " bits 1,2,4,...);";
        text += " --separator " + hex(country.sSeparatorKey) + ";";
        if (country.sFormKey != 0) text += " --form 3|5 (" + hex(country.sFormKey) + " bit 1|2);";
        if (country.sAreaTableKey != 0)
            text += " --area-table 2006|2008|2010 (" + hex(country.sAreaTableKey) + " bit 2|4|neither);";
        text.back() = '\n';
    }
    text += "  --separator keep|none|dot|dash|space sets 2|1|4|8|16; the provider refuses a value its country lacks.\n";
    return text;
}

}  // namespace hostkit
