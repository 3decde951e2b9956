// RFC 4180 quoting.
#include "csv_field.h"

namespace nidmask {

void AppendCsvField(std::string_view value, bool bQuote, std::string* pOut, char cDelimiter) {
    const char special[] = {cDelimiter, '"', '\r', '\n', '\0'};
    if (!bQuote && value.find_first_of(special) == std::string_view::npos) {
        pOut->append(value);
        return;
    }
    *pOut += '"';
    for (const char c : value) {
        if (c == '"') *pOut += '"';
        *pOut += c;
    }
    *pOut += '"';
}

}  // namespace nidmask
