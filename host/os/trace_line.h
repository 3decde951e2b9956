// Trace line formatting: turns one trace event into one readable text line.
//
// Lines start with a five-letter event tag padded to six columns, then the
// component, then the event's own text, e.g. "ENTRY QRNPNidS Init",
// "EXIT  QRNPNidS Init rc=0", "VAR   QRNPNidFrS iRownum=3",
// "TEXT  QRNPNidFrS Invalid separator". Strings are quoted, wide strings are
// written as UTF-8, pointers as 0x..., a null string or value as <NULL>.
#ifndef QRNP_HOST_OS_TRACE_LINE_H
#define QRNP_HOST_OS_TRACE_LINE_H

#include <cstdint>
#include <string>

namespace qrnp_trace {

// Appends "TAG   component" (the tag padded to six columns) to line.
void AppendHead(std::string& line, const char* pTag, const char* pComponent);

// Appends a narrow string as-is, or <NULL> when it is null.
void AppendText(std::string& line, const char* pText);

// Appends a wide string as UTF-8 (U+FFFD for a value that is no code point), or <NULL>.
void AppendWide(std::string& line, const wchar_t* pText);

// Appends "name=value" for a traced variable of KNLTraceKind iKind; a kind it
// does not know is written as "name=<kind N>". With bRedact a string, or a
// number of five or more digits, is written as "[26... 15 characters]": its
// first two characters only when it has more than four.
void AppendVariable(std::string& line, const char* pName, int32_t iKind, const void* pValue, bool bRedact);

}  // namespace qrnp_trace

#endif
