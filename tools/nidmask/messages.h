// The host's message catalogue: an English text for every message number
// the provider raises, with {TOKEN} placeholders (token names without their
// QRNP_TOKID_ prefix) filled from the tokens captured with the message.
#ifndef NIDMASK_MESSAGES_H
#define NIDMASK_MESSAGES_H

#include <cstdint>
#include <string>
#include <vector>

#include "hostkit.h"

namespace nidmask {

// The text of a message number with its placeholders, or nullptr when the
// catalogue has none.
const char* MessageTemplate(uint32_t iMessage);

// Every message number the catalogue knows, ascending.
std::vector<uint32_t> CatalogueNumbers();

// The message's text: placeholders replaced by the captured tokens ("?" for
// a token that was not captured). A number without a text renders as
// "message N", followed by its tokens as NAME=value.
std::string RenderMessage(const hostkit::Message& message);

}  // namespace nidmask

#endif
