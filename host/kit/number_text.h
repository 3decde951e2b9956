// Numbers written on the command line: decimal, or hexadecimal after "0x".
#ifndef QRNP_HOSTKIT_NUMBER_TEXT_H
#define QRNP_HOSTKIT_NUMBER_TEXT_H

#include <cstdint>
#include <string>

namespace hostkit {

// Reads the whole of `text` as an unsigned number no greater than iMax.
// False for empty text, any other character, or a value above iMax.
bool ParseUnsigned(const std::string& text, uint64_t iMax, uint64_t* pValue);

}  // namespace hostkit

#endif
