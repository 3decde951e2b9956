// Writing one CSV field.
#ifndef NIDMASK_CSV_FIELD_H
#define NIDMASK_CSV_FIELD_H

#include <string>
#include <string_view>

namespace nidmask {

// Appends `value` as a CSV field: quoted (quotes doubled) when bQuote is set
// or the value holds the delimiter, a quote, CR or LF.
void AppendCsvField(std::string_view value, bool bQuote, std::string* pOut, char cDelimiter = ',');

}  // namespace nidmask

#endif
