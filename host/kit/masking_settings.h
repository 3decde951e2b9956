// How a column is to be masked, as a user writes it (a command line, a rules
// file, the options of an SQL function), and its resolution into a provider
// instance's settings: the country switch, the methods, the processing flags,
// the column type and the operands. Every host resolves the same way.
#ifndef QRNP_HOSTKIT_MASKING_SETTINGS_H
#define QRNP_HOSTKIT_MASKING_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "country_operands.h"
#include "hostkit.h"

namespace hostkit {

struct MaskingSettings {
    std::string country;        // FR, IT, UK (or GB), ES, US or CA, in any case
    std::string switchText;     // when set: handed to the provider as it is, instead of country
    std::string method = "mask";  // mask, random, encrypt, decrypt, or ctrl (the control block's method decides)
    std::string ctrlMethod;     // with ctrl: mask, random or a number (default mask)
    bool bValidate = false;     // processing flag 1
    bool bPassInvalid = false;  // processing flag 2
    NamedSettings named;        // parts, separator, form, area table
    std::optional<int16_t> dataType;  // unset: the host's choice (VARCHAR, or from a database column)
    int32_t iLength = 32;
    bool bInPlace = false;
    bool bOfficial = false;     // the identifiers' current official rules (operand 0x1920 = 1)
    std::vector<uint8_t> key;   // encrypt, decrypt: the 256-bit key (operands 0x1901-0x1910)
    std::string tweak;          // encrypt, decrypt: a text that makes results differ per context
    std::vector<Operand> rawOperands;  // after the named ones, so they win
};

// What a provider instance gets.
struct ResolvedMasking {
    InstanceOptions instance;   // switch, control-block method, flags, type, length, operands
    uint16_t sServiceMethod = QRNP_METHOD_MASK;
    std::string countryCode;    // FR, IT, UK, ES, US, CA, or "" for a switch that names none
};

// Resolves `settings` for a column of type sDefaultType when the settings
// name none. False with a message naming the setting at fault (an unknown
// country or method, a setting the country does not have).
bool ResolveMasking(const MaskingSettings& settings, int16_t sDefaultType, ResolvedMasking* pResolved,
                    std::string* pError);

// The country a user's name stands for: FR, IT, UK, ES, US or CA in any
// case, and GB for the United Kingdom. "" for anything else.
std::string CountryCode(const std::string& name);

// Reads a key: 64 hexadecimal characters (a line end may follow). False
// with a message that never shows the key.
bool ParseKey(const std::string& text, std::vector<uint8_t>* pKey, std::string* pError);

// True for a method the provider generates with (random values need no source).
bool IsRandomMethod(const ResolvedMasking& resolved);

// The United States area table the settings choose (2006, 2008 or 2010; 0
// for another country). Every instance of a process must use the same one.
int UsAreaTable(const ResolvedMasking& resolved);

// "FR mask, flags 0x0001, VARCHAR(32), operands 0x1801=31 0x1807=2": what
// an instance gets, for --explain and messages. The key and the tweak are
// never shown: only that they are given.
std::string DescribeMasking(const ResolvedMasking& resolved);

}  // namespace hostkit

#endif
