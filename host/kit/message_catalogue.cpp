// English texts of the provider's messages: the catalogue, keyed by the
// QRNP_MSG_* names. The compiler checks that every message of
// QRNP_MESSAGE_LIST has exactly one text, in ascending order.
#include "message_catalogue.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace hostkit {

namespace {

struct Entry {
    uint32_t iMessage;
    const char* pText;
};

constexpr Entry kCatalogue[] = {
    {QRNP_MSG_INVALID_METHOD_CODE, "the service method is neither mask (5126) nor random (5127); the row is rejected"},
    {QRNP_MSG_NO_CONVERSION_BLOCK, "the column definition has no conversion block"},
    {QRNP_MSG_REQUEST_NOT_SUPPORTED, "information request {INFO_REQUEST} is not supported"},
    {QRNP_MSG_BUFFER_TOO_SMALL, "the value does not fit the destination column"},
    {QRNP_MSG_NOT_A_NUMBER, "the value is not a number that fits the column"},
    {QRNP_MSG_EMPTY_CHARACTER_VALUE, "the value is empty; it is passed through unchanged"},
    {QRNP_MSG_EMPTY_NUMERIC_VALUE, "the value is empty or zero; it is passed through unchanged"},
    {QRNP_MSG_NO_MEMORY, "not enough memory for the {COUNTRY} working buffer ({PROVIDER})"},
    {QRNP_MSG_BAD_ALLOC_SIZE, "a buffer of less than one byte was requested"},
    {QRNP_MSG_BLOCK_ACQUIRE_FAILED, "the provider's state block could not be acquired"},
    {QRNP_MSG_NO_COUNTRY_INITIALISED, "no country module could be initialised"},
    {QRNP_MSG_DATATYPE_NOT_SUPPORTED, "column {COLNAME} has data type {SRC_DATATYPE}, which the {COUNTRY} module does not support"},
    {QRNP_MSG_NOT_INITIALISED, "the provider is not initialised"},
    {QRNP_MSG_SOURCE_CELL_MISSING, "the row has no source cell at column index {COLINDEX}"},
    {QRNP_MSG_INVALID_METHOD, "invalid service method {METHOD}"},
    {QRNP_MSG_ROWSET_EMPTY, "the rowset is empty (row count {ROW_COUNT}, first row {ROWS_LIST})"},
    {QRNP_MSG_INVALID_SEPARATOR_OPTION, "separator option {SEP} is not valid for {COUNTRY}"},
    {QRNP_MSG_INVALID_PARTS_OPTION, "the parts-to-mask option names no part of a {COUNTRY} identifier"},
    {QRNP_MSG_SRC_COLUMN_INDEX, "source column index {COLINDEX} is out of range: the rows have {ROWDEFINE_COUNT} columns"},
    {QRNP_MSG_COUNTRY_NOT_INITIALISED, "the {COUNTRY} module is not initialised"},
    {QRNP_MSG_HEAP_CREATE_FAILED, "the provider's heap could not be created"},
    {QRNP_MSG_HEAP_DISCARD_FAILED, "the provider's heap could not be released"},
    {QRNP_MSG_DEST_BUFFER_MISSING, "the destination buffer is missing"},
    {QRNP_MSG_SOURCE_ONLY_SPACES, "the value holds only blanks; it is passed through unchanged"},
    {QRNP_MSG_SOURCE_CONVERSION, "the value could not be read as text ({COUNTRY})"},
    {QRNP_MSG_INVALID_LENGTH, "the value {SRCDATA} has {SRCLEN} characters, which is not a valid length for a {COUNTRY} identifier"},
    {QRNP_MSG_INVALID_SEPARATOR, "the value {SRCDATA} has a separator that is not valid in a {COUNTRY} identifier"},
    {QRNP_MSG_INVALID_SOURCE_DATA, "the value {SRCDATA} holds a character that is not valid in a {COUNTRY} identifier"},
    {QRNP_MSG_NULL_SOURCE, "the value is NULL; the result is NULL"},
    {QRNP_MSG_UNKNOWN_COUNTRY, "the country switch names no known country (FR, IT, UK, ES, US or CA)"},
    {QRNP_MSG_DEST_CONVERSION, "the {COUNTRY} result could not be written in the column's type"},
    {QRNP_MSG_COLUMN_PRECISION, "a precision of {SRCLEN} digits for data type {SRC_DATATYPE} is not supported for {COUNTRY}"},
    {QRNP_MSG_FR_INIT_FAILED, "the France module could not be initialised"},
    {QRNP_MSG_FR_INVALID_SEX, "the value {SRCDATA} has an invalid sex digit (1, 2, 7 or 8)"},
    {QRNP_MSG_FR_INVALID_DEPT, "the value {SRCDATA} has an invalid department"},
    {QRNP_MSG_FR_INVALID_MONTH, "the value {SRCDATA} has an invalid month of birth"},
    {QRNP_MSG_FR_INVALID_COMMUNE, "the value {SRCDATA} names a commune that its department does not have"},
    {QRNP_MSG_FR_INVALID_KEY, "the value {SRCDATA} has a wrong check key"},
    {QRNP_MSG_ES_INIT_FAILED, "the Spain module could not be initialised"},
    {QRNP_MSG_ES_INVALID_SUFFIX, "the value {SRCDATA} has a wrong control letter"},
    {QRNP_MSG_IT_INIT_FAILED, "the Italy module could not be initialised"},
    {QRNP_MSG_IT_INVALID_NAME, "the value {SRCDATA} has a character other than a letter in its name codes"},
    {QRNP_MSG_IT_INVALID_REPLACEMENT, "the value {SRCDATA} has a replacement letter outside L-V in a digit position"},
    {QRNP_MSG_IT_INVALID_SOURCE_DATA, "the value {SRCDATA} holds a character that is not valid in an Italy identifier"},
    {QRNP_MSG_IT_INVALID_FAMILY_NAME, "the value {SRCDATA} has an invalid family-name code"},
    {QRNP_MSG_IT_INVALID_FIRST_NAME, "the value {SRCDATA} has an invalid first-name code"},
    {QRNP_MSG_IT_INVALID_BIRTH_DATE, "the value {SRCDATA} has an invalid birth date"},
    {QRNP_MSG_IT_INVALID_REGION, "the value {SRCDATA} has an invalid region code"},
    {QRNP_MSG_IT_INVALID_CHECK, "the value {SRCDATA} has a wrong check character"},
    {QRNP_MSG_IT_MASK_FAILED, "the value {SRCDATA} could not be masked"},
    {QRNP_MSG_UK_INIT_FAILED, "the UK module could not be initialised"},
    {QRNP_MSG_UK_INVALID_FLAGS, "the UK form option selects neither the 3-part nor the 5-part form"},
    {QRNP_MSG_UK_INVALID_PREFIX, "the value {SRCDATA} has an invalid prefix"},
    {QRNP_MSG_UK_INVALID_NUMBER, "the value {SRCDATA} has an invalid number part"},
    {QRNP_MSG_UK_INVALID_SUFFIX, "the value {SRCDATA} has an invalid suffix (A, B, C or D)"},
    {QRNP_MSG_UK_INVALID_DEST_FORMAT, "a separated output form needs a separator character"},
    {QRNP_MSG_UK_METHOD_FORM_MISMATCH, "the UK form option does not agree with the method"},
    {QRNP_MSG_US_INIT_FAILED, "the US module could not be initialised"},
    {QRNP_MSG_US_INVALID_AREA, "the value {SRCDATA} has an invalid area number"},
    {QRNP_MSG_US_AREA_NOT_IN_USE, "the value {SRCDATA} has an area number that is not in use"},
    {QRNP_MSG_US_INVALID_GROUP, "the value {SRCDATA} has an invalid group number"},
    {QRNP_MSG_US_INVALID_SERIAL, "the value {SRCDATA} has an invalid serial number"},
    {QRNP_MSG_US_INVALID_FLAGS, "the US options {FLAG} name two area tables at once"},
    {QRNP_MSG_CA_INIT_FAILED, "the Canada module could not be initialised"},
    {QRNP_MSG_CA_INVALID_SIN, "the value {SRCDATA} is not a valid Social Insurance Number"},
};

constexpr bool IsSortedAndUnique() {
    for (size_t i = 1; i < std::size(kCatalogue); ++i)
        if (kCatalogue[i - 1].iMessage >= kCatalogue[i].iMessage) return false;
    return true;
}
static_assert(IsSortedAndUnique(), "the catalogue is looked up by binary search: ascending, one text a number");

constexpr bool HasText(uint32_t iMessage) {
    for (const Entry& entry : kCatalogue)
        if (entry.iMessage == iMessage) return true;
    return false;
}
#define QRNP_CHECK_TEXT(name) static_assert(HasText(name), #name " has no text in the catalogue");
QRNP_MESSAGE_LIST(QRNP_CHECK_TEXT)
#undef QRNP_CHECK_TEXT
#define QRNP_COUNT_MESSAGE(name) +1
static_assert(std::size(kCatalogue) == 0 QRNP_MESSAGE_LIST(QRNP_COUNT_MESSAGE), "a text for a message not listed");
#undef QRNP_COUNT_MESSAGE

}  // namespace

const char* MessageTemplate(uint32_t iMessage) {
    const auto it = std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), iMessage,
                                     [](const Entry& entry, uint32_t n) { return entry.iMessage < n; });
    return it != std::end(kCatalogue) && it->iMessage == iMessage ? it->pText : nullptr;
}

std::vector<uint32_t> CatalogueNumbers() {
    std::vector<uint32_t> numbers;
    for (const Entry& entry : kCatalogue) numbers.push_back(entry.iMessage);
    return numbers;
}

std::string FillTemplate(const char* pTemplate, const std::function<std::string(const std::string&)>& tokenText) {
    std::string text;
    for (const char* p = pTemplate; *p != '\0';) {
        const char* pClose = *p == '{' ? std::strchr(p, '}') : nullptr;
        if (pClose == nullptr) {
            text += *p++;
            continue;
        }
        text += tokenText(std::string(p + 1, pClose));
        p = pClose + 1;
    }
    return text;
}

}  // namespace hostkit
