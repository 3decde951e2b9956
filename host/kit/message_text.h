// Messages as hosts show them: the provider's English catalogue
// (message_catalogue.h) and the hosts' own messages (host_messages.h), with
// {TOKEN} placeholders filled from the tokens captured with the message, and
// values redacted unless asked for in clear. nidmask and the PostgreSQL
// extension render through here, so a message reads the same in both.
#ifndef QRNP_HOSTKIT_MESSAGE_TEXT_H
#define QRNP_HOSTKIT_MESSAGE_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit.h"

namespace hostkit {

// The text of a message number with its placeholders: a host message's, else
// the provider's; nullptr when neither catalogue has one.
const char* AnyMessageTemplate(uint32_t iMessage);

// The message's text: placeholders replaced by the captured tokens ("?" for
// a token that was not captured). A number without a text renders as
// "message N", followed by its tokens as NAME=value. Unless bShowValues, a
// token that holds a value (SRCDATA) is shown as RedactedValue gives it.
std::string RenderMessage(const Message& message, bool bShowValues);

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

}  // namespace hostkit

#endif
