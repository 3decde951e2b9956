// RFC 4180 quoting.
#include "csv_field.h"

namespace nidmask {

void AppendCsvField(std::string_view value, bool bQuote, std::string* pOut, char cDelimiter) {
    for (size_t i = 0; !bQuote && i < value.size(); ++i) {
        const char c = value[i];
        bQuote = c == cDelimiter || c == '"' || c == '\r' || c == '\n';
    }
    if (!bQuote) {
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
