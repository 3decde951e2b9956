// Message texts, kept in ascending order of their numbers.
#include "messages.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "column_types.h"
#include "host_messages.h"

namespace nidmask {

namespace {

struct Entry {
    uint32_t iMessage;
    const char* pText;
};

constexpr Entry kCatalogue[] = {
    {11, "the service method is neither mask (5126) nor random (5127); the row is rejected"},
    {26, "the column definition has no conversion block"},
    {63, "information request {INFO_REQUEST} is not supported"},
    {64, "the value does not fit the destination column"},
    {66, "the value is not a number that fits the column"},
    {74, "the value is empty; it is passed through unchanged"},
    {75, "the value is empty or zero; it is passed through unchanged"},
    {106, "not enough memory for the {COUNTRY} working buffer ({PROVIDER})"},
    {107, "a buffer of less than one byte was requested"},
    {4352, "the provider's state block could not be acquired"},
    {4353, "no country module could be initialised"},
    {4354, "column {COLNAME} has data type {SRC_DATATYPE}, which the {COUNTRY} module does not support"},
    {4355, "the provider is not initialised"},
    {4356, "the row has no source cell at column index {COLINDEX}"},
    {4357, "invalid service method {METHOD}"},
    {4358, "the rowset is empty (row count {ROW_COUNT}, first row {ROWS_LIST})"},
    {4360, "separator option {SEP} is not valid for {COUNTRY}"},
    {4362, "the parts-to-mask option names no part of a {COUNTRY} identifier"},
    {4363, "source column index {COLINDEX} is out of range: the rows have {ROWDEFINE_COUNT} columns"},
    {4364, "the {COUNTRY} module is not initialised"},
    {4365, "the provider's heap could not be created"},
    {4366, "the provider's heap could not be released"},
    {4402, "the destination buffer is missing"},
    {4403, "the value holds only blanks; it is passed through unchanged"},
    {4404, "the value could not be read as text ({COUNTRY})"},
    {4405, "the value {SRCDATA} has {SRCLEN} characters, which is not a valid length for a {COUNTRY} identifier"},
    {4406, "the value {SRCDATA} has a separator that is not valid in a {COUNTRY} identifier"},
    {4407, "the value {SRCDATA} holds a character that is not valid in a {COUNTRY} identifier"},
    {4408, "the value is NULL; the result is NULL"},
    {4409, "the country switch names no known country (FR, IT, UK, ES, US or CA)"},
    {4410, "the {COUNTRY} result could not be written in the column's type"},
    {4412, "a precision of {SRCLEN} digits for data type {SRC_DATATYPE} is not supported for {COUNTRY}"},
    {4453, "the France module could not be initialised"},
    {4454, "the value {SRCDATA} has an invalid sex digit (1, 2, 7 or 8)"},
    {4455, "the value {SRCDATA} has an invalid department"},
    {4456, "the value {SRCDATA} has an invalid month of birth"},
    {4457, "the value {SRCDATA} names a commune that its department does not have"},
    {4458, "the value {SRCDATA} has a wrong check key"},
    {4478, "the Spain module could not be initialised"},
    {4479, "the value {SRCDATA} has a wrong control letter"},
    {4503, "the Italy module could not be initialised"},
    {4504, "the value {SRCDATA} has a character other than a letter in its name codes"},
    {4505, "the value {SRCDATA} has a replacement letter outside L-V in a digit position"},
    {4506, "the value {SRCDATA} holds a character that is not valid in an Italy identifier"},
    {4507, "the value {SRCDATA} has an invalid family-name code"},
    {4508, "the value {SRCDATA} has an invalid first-name code"},
    {4509, "the value {SRCDATA} has an invalid birth date"},
    {4510, "the value {SRCDATA} has an invalid region code"},
    {4511, "the value {SRCDATA} has a wrong check character"},
    {4512, "the value {SRCDATA} could not be masked"},
    {4528, "the UK module could not be initialised"},
    {4529, "the UK form option selects neither the 3-part nor the 5-part form"},
    {4530, "the value {SRCDATA} has an invalid prefix"},
    {4531, "the value {SRCDATA} has an invalid number part"},
    {4532, "the value {SRCDATA} has an invalid suffix (A, B, C or D)"},
    {4533, "a separated output form needs a separator character"},
    {4534, "the UK form option does not agree with the method"},
    {4553, "the US module could not be initialised"},
    {4554, "the value {SRCDATA} has an invalid area number"},
    {4555, "the value {SRCDATA} has an area number that is not in use"},
    {4556, "the value {SRCDATA} has an invalid group number"},
    {4557, "the value {SRCDATA} has an invalid serial number"},
    {4558, "the US options {FLAG} name two area tables at once"},
    {4578, "the Canada module could not be initialised"},
    {4579, "the value {SRCDATA} is not a valid Social Insurance Number"},
};

static_assert(std::is_sorted(std::begin(kCatalogue), std::end(kCatalogue),
                             [](const Entry& a, const Entry& b) { return a.iMessage < b.iMessage; }),
              "the catalogue is looked up by binary search");

}  // namespace

const char* MessageTemplate(uint32_t iMessage) {
    if (const char* pHost = HostMessageTemplate(iMessage)) return pHost;
    const auto it = std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), iMessage,
                                     [](const Entry& entry, uint32_t n) { return entry.iMessage < n; });
    return it != std::end(kCatalogue) && it->iMessage == iMessage ? it->pText : nullptr;
}

std::vector<uint32_t> CatalogueNumbers() {
    std::vector<uint32_t> numbers;
    for (const Entry& entry : kCatalogue) numbers.push_back(entry.iMessage);
    return numbers;
}

std::string RedactedValue(const std::wstring& value) {
    constexpr size_t kShown = 2;
    std::string text = "[";
    if (value.size() > 2 * kShown) text += hostkit::ToUtf8(value.substr(0, kShown)) + "... ";
    return text + std::to_string(value.size()) + (value.size() == 1 ? " character]" : " characters]");
}

std::string TokenText(const std::pair<int32_t, std::wstring>& token, bool bShowValues) {
    if (!bShowValues && token.first == QRNP_TOKID_SRCDATA) return RedactedValue(token.second);
    return hostkit::ToUtf8(token.second);
}

std::string RenderMessage(const hostkit::Message& message, bool bShowValues) {
    const char* pTemplate = MessageTemplate(message.iMessage);
    if (pTemplate == nullptr) {
        std::string text = "message " + std::to_string(message.iMessage);
        for (size_t i = 0; i < message.tokens.size(); ++i) {
            text += i == 0 ? " (" : ", ";
            text += hostkit::TokenName(message.tokens[i].first) + "=" + TokenText(message.tokens[i], bShowValues);
        }
        if (!message.tokens.empty()) text += ")";
        return text;
    }
    std::string text;
    for (const char* p = pTemplate; *p != '\0';) {
        const char* pClose = *p == '{' ? std::strchr(p, '}') : nullptr;
        if (pClose == nullptr) {
            text += *p++;
            continue;
        }
        const std::string name(p + 1, pClose);
        std::string value = "?";
        for (const auto& token : message.tokens) {
            if (hostkit::TokenName(token.first) == name) {
                value = TokenText(token, bShowValues);
                break;
            }
        }
        // Type codes read better with their names: "9 (INTEGER)".
        if (name.find("DATATYPE") != std::string::npos && value.find_first_not_of("0123456789") == std::string::npos &&
            !value.empty() && value.size() < 6) {
            const std::string typeName = ColumnTypeName(static_cast<int16_t>(std::stoi(value)));
            if (typeName != value) value += " (" + typeName + ")";
        }
        text += value;
        p = pClose + 1;
    }
    return text;
}

}  // namespace nidmask
