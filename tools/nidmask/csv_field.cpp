// RFC 4180 quoting.
#include "csv_field.h"

namespace nidmask {

void AppendCsvField(std::string_view value, bool bQuote, std::string* pOut, char cDelimiter) {
    // Every byte that needs quoting is '"' or below, or the delimiter: one
    // test a byte for the rest.
    for (size_t i = 0; !bQuote && i < value.size(); ++i) {
        const char c = value[i];
        if (static_cast<unsigned char>(c) <= '"' || c == cDelimiter)
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
