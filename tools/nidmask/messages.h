// Messages as nidmask shows them: the host kit's English catalogue of the
// provider's messages and nidmask's own (host_messages.h), with {TOKEN}
// placeholders filled from the tokens captured with the message.
#ifndef NIDMASK_MESSAGES_H
#define NIDMASK_MESSAGES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit.h"

namespace nidmask {

// The text of a message number with its placeholders, or nullptr when
// neither catalogue has one.
const char* MessageTemplate(uint32_t iMessage);

// The message's text: placeholders replaced by the captured tokens ("?" for
// a token that was not captured). A number without a text renders as
// "message N", followed by its tokens as NAME=value. Unless bShowValues, a
// token that holds a value (SRCDATA) is shown as RedactedValue gives it.
std::string RenderMessage(const hostkit::Message& message, bool bShowValues);

// A value as messages show it by default: "[26... 15 characters]", its
// first two characters only when it has more than four.
std::string RedactedValue(const std::wstring& value);

// A name read from the data (a CSV header field, a key column's value) as
// messages show it: as it is when it holds fewer than five digits, which no
// identifier does, else redacted like a value unless bShowValues. A header
// may be the first record of a file without one.
std::string ShownName(std::string_view name, bool bShowValues);

// A token's text as messages and reports show it (redacted unless bShowValues).
std::string TokenText(const std::pair<int32_t, std::wstring>& token, bool bShowValues);

}  // namespace nidmask

#endif
