// The status envelope with which the facade answers for itself:
//   {"Status":{"Versao":"1.0","Codigo":<codigo>,"Descricao":<descricao>}}
// compact (no blanks or line breaks), members in that order, converted to the boundary code
// page (<vornleads/text/codepage.h>). Quotes, backslashes and control characters in descricao
// are escaped as JSON requires; other characters stay literal, and those the code page lacks
// become '?'. Invalid UTF-8 in descricao becomes U+FFFD first. Never raises.
//
// Codes in use: 0 success ("Ok"), 202 configuration not written, 297 invalid parameters or a
// failed service call, 299 update of a contact more than 90 days old.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/types.h"

namespace vornleads {

AnsiString DLLMsgJSON(const std::string& descricao, int32_t codigo);

}  // namespace vornleads
