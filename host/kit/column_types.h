// The column types nidmask can present to the provider: their names, and
// what kind of values they hold.
#ifndef QRNP_HOSTKIT_COLUMN_TYPES_H
#define QRNP_HOSTKIT_COLUMN_TYPES_H

#include <cstdint>
#include <string>

namespace hostkit {

// "CHAR", "varchar", ... or a decimal / 0x-hex number (passed unchecked).
// False when the text is neither.
bool ParseColumnType(const std::string& text, int16_t* pType);

// The type's name ("VARCHAR"), or its number as text.
std::string ColumnTypeName(int16_t sType);

// The names accepted by ParseColumnType, for help texts.
const char* ColumnTypeNames();

// Kinds of column type.
bool IsNumericType(int16_t sType);     // INTEGER, U_INTEGER, U_LONG_LONG, DECIMAL_PKD, VARNUM
bool IsWideType(int16_t sType);        // WCHAR, WVARCHAR, WVARCHAR_SZ: UTF-8 in files
bool IsFixedWidthType(int16_t sType);  // CHAR, WCHAR: blank padded to the column length

}  // namespace hostkit

#endif
