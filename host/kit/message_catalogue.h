// The provider's messages in English, for every host: a text per message
// number with {TOKEN} placeholders (token names without their QRNP_TOKID_
// prefix), filled from the tokens captured with the message.
#ifndef QRNP_HOSTKIT_MESSAGE_CATALOGUE_H
#define QRNP_HOSTKIT_MESSAGE_CATALOGUE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <qrnp/qrnp.h>

namespace hostkit {

// The text of a message number with its placeholders, or nullptr when the
// provider has no such message.
const char* MessageTemplate(uint32_t iMessage);

// Every message number the catalogue knows, ascending.
std::vector<uint32_t> CatalogueNumbers();

// The template with each {NAME} replaced by tokenText(NAME).
std::string FillTemplate(const char* pTemplate, const std::function<std::string(const std::string&)>& tokenText);

}  // namespace hostkit

#endif
