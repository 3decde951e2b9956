// Bytes of files and databases to and from the wide strings the provider
// works on: ISO-8859-1 (one byte, one character) for single-byte column
// types, UTF-8 for wide ones and for SQLite text.
#ifndef NIDMASK_TEXT_CODEC_H
#define NIDMASK_TEXT_CODEC_H

#include <string>
#include <string_view>

#include "hostkit.h"

namespace nidmask {

enum class Encoding { Latin1, Utf8 };

// Decodes `bytes` into *pOut (its memory reused). False on an invalid UTF-8
// sequence (overlong forms, surrogates and values above U+10FFFF included).
bool DecodeText(std::string_view bytes, Encoding encoding, std::wstring* pOut);

// Appends `text` encoded to *pOut. Latin1 writes characters above U+00FF as
// '?' (the column converters never produce them); Utf8 writes code points
// that are not characters as U+FFFD.
void AppendText(std::wstring_view text, Encoding encoding, std::string* pOut);

// A value read from bytes (not NULL): ISO-8859-1 kept as the bytes (the
// cell's latin1), UTF-8 decoded into its text. False on invalid UTF-8, the
// value then empty.
bool SetValueText(std::string_view bytes, Encoding encoding, hostkit::CellValue* pValue);

// Appends a value's text encoded: its bytes as they are when it holds them
// as ISO-8859-1 and the encoding is that.
void AppendValueText(const hostkit::CellValue& value, Encoding encoding, std::string* pOut);

}  // namespace nidmask

#endif
