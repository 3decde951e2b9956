// Masking settings to instance settings.
#include "masking_settings.h"

#include <cctype>
#include <cstdio>

#include <openssl/sha.h>

#include "column_types.h"
#include "number_text.h"

namespace hostkit {

namespace {

// The methods a user names: mask, random, or a number (for the control block).
bool MethodValue(const std::string& name, uint16_t* psMethod) {
    if (name == "mask") {
        *psMethod = QRNP_METHOD_MASK;
        return true;
    }
    if (name == "random") {
        *psMethod = QRNP_METHOD_RANDOM;
        return true;
    }
    uint64_t value = 0;
    if (!ParseUnsigned(name, 0xFFFF, &value)) return false;
    *psMethod = static_cast<uint16_t>(value);
    return true;
}

std::wstring Widen(const std::string& text) {
    std::wstring wide;
    // UTF-8, else byte by byte.
    if (!FromUtf8(text, &wide)) wide.assign(text.begin(), text.end());
    return wide;
}

}  // namespace

std::string CountryCode(const std::string& name) {
    std::string upper;
    for (const char c : name) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (upper == "GB") return "UK";
    for (const char* pCode : {"FR", "IT", "UK", "ES", "US", "CA"})
        if (upper == pCode) return pCode;
    return "";
}

bool ResolveMasking(const MaskingSettings& settings, int16_t sDefaultType, ResolvedMasking* pResolved,
                    std::string* pError) {
    ResolvedMasking resolved;
    InstanceOptions& instance = resolved.instance;
    std::string switchText = settings.switchText;
    if (switchText.empty()) {
        switchText = CountryCode(settings.country);
        if (switchText.empty()) {
            *pError = "country: '" + settings.country + "' is none of FR, IT, UK (or GB), ES, US, CA";
            return false;
        }
    }
    instance.countrySwitch = Widen(switchText);
    resolved.countryCode = SwitchCountry(switchText);

    if (settings.method == "ctrl") {
        resolved.sServiceMethod = QRNP_METHOD_CTRLBLK;
        instance.sMethod = QRNP_METHOD_MASK;
        if (!settings.ctrlMethod.empty() && !MethodValue(settings.ctrlMethod, &instance.sMethod)) {
            *pError = "ctrl method: '" + settings.ctrlMethod + "' is none of mask, random or a number 0-65535";
            return false;
        }
    } else if (settings.method == "mask" || settings.method == "random") {
        MethodValue(settings.method, &resolved.sServiceMethod);
        instance.sMethod = resolved.sServiceMethod;
    } else if (settings.method == "encrypt" || settings.method == "decrypt") {
        if (settings.key.size() != 32) {
            *pError = "method " + settings.method + " needs a key (a key file of 64 hexadecimal characters)";
            return false;
        }
        resolved.sServiceMethod = settings.method == "encrypt" ? QRNP_METHOD_ENCRYPT : QRNP_METHOD_DECRYPT;
        instance.sMethod = resolved.sServiceMethod;
    } else {
        *pError = "method: '" + settings.method + "' is none of mask, random, encrypt, decrypt";
        return false;
    }
    instance.sProcFlags = static_cast<uint16_t>((settings.bValidate ? QRNP_PROC_VALIDATE_FULLY : 0) |
                                                (settings.bPassInvalid ? QRNP_PROC_PASS_INVALID : 0));
    instance.sDataType = settings.dataType.value_or(sDefaultType);
    instance.iLength = settings.iLength;
    instance.bSeparateDestination = !settings.bInPlace;
    instance.operands.clear();
    if (!AppendNamedOperands(switchText, settings.named, &instance.operands, pError)) return false;
    if (settings.bOfficial) instance.operands.emplace_back(QRNP_OPR_OFFICIAL_RULES, 1);
    if (settings.key.size() == 32) {
        for (uint16_t i = 0; i < 16; ++i)
            instance.operands.emplace_back(QRNP_OPR_KEY_FIRST + i, (uint32_t{settings.key[2 * i]} << 8) | settings.key[2 * i + 1]);
        if (!settings.tweak.empty()) {
            // The tweak's text as the first 16 bytes of its SHA-256 digest.
            uint8_t digest[SHA256_DIGEST_LENGTH];
            SHA256(reinterpret_cast<const uint8_t*>(settings.tweak.data()), settings.tweak.size(), digest);
            for (uint16_t i = 0; i < 8; ++i)
                instance.operands.emplace_back(QRNP_OPR_TWEAK_FIRST + i, (uint32_t{digest[2 * i]} << 8) | digest[2 * i + 1]);
        }
    }
    instance.operands.insert(instance.operands.end(), settings.rawOperands.begin(), settings.rawOperands.end());
    *pResolved = std::move(resolved);
    return true;
}

bool ParseKey(const std::string& text, std::vector<uint8_t>* pKey, std::string* pError) {
    std::string hex = text;
    while (!hex.empty() && (hex.back() == '\n' || hex.back() == '\r')) hex.pop_back();
    pKey->clear();
    if (hex.size() != 64 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        *pError = "a key is 64 hexadecimal characters (nidmask keygen makes one)";
        return false;
    }
    for (size_t i = 0; i < hex.size(); i += 2) pKey->push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return true;
}

bool IsRandomMethod(const ResolvedMasking& resolved) { return resolved.instance.sMethod == QRNP_METHOD_RANDOM; }

int UsAreaTable(const ResolvedMasking& resolved) {
    if (resolved.countryCode != "US") return 0;
    uint32_t iFlags = 0;
    for (const auto& [sKey, iValue] : resolved.instance.operands)
        if (sKey == QRNP_OPR_US_FLAGS) iFlags = iValue;
    return (iFlags & kUsAreaTable2006) != 0 ? 2006 : (iFlags & kUsAreaTable2008) != 0 ? 2008 : 2010;
}

std::string DescribeMasking(const ResolvedMasking& resolved) {
    const InstanceOptions& instance = resolved.instance;
    char buffer[160];
    std::string text = "switch \"" + ToUtf8(instance.countrySwitch) + "\"";
    std::snprintf(buffer, sizeof buffer, ", Service method 0x%04X, control-block method 0x%04X, flags 0x%04X",
                  resolved.sServiceMethod, instance.sMethod, instance.sProcFlags);
    text += buffer;
    text += ", " + ColumnTypeName(instance.sDataType) + "(" + std::to_string(instance.iLength) + ")";
    if (instance.bSeparateDestination == false) text += " in place";
    text += ", operands";
    if (instance.operands.empty()) text += " none";
    bool bKey = false, bTweak = false;
    for (const auto& [sKey, iValue] : instance.operands) {
        bKey = bKey || (sKey >= QRNP_OPR_KEY_FIRST && sKey <= QRNP_OPR_KEY_LAST);
        bTweak = bTweak || (sKey >= QRNP_OPR_TWEAK_FIRST && sKey <= QRNP_OPR_TWEAK_LAST);
        if (sKey >= QRNP_OPR_KEY_FIRST && sKey <= QRNP_OPR_TWEAK_LAST) continue;  // never shown
        std::snprintf(buffer, sizeof buffer, " 0x%04X=%u", sKey, iValue);
        text += buffer;
    }
    if (bKey) text += " 0x1901-0x1910 (the key, not shown)";
    if (bTweak) text += " 0x1911-0x1918 (the tweak's digest)";
    return text;
}

}  // namespace hostkit
