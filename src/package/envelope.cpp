#include "vornleads/package/envelope.h"

#include <nlohmann/json.hpp>

#include "vornleads/text/codepage.h"

namespace vornleads {

AnsiString DLLMsgJSON(const std::string& descricao, int32_t codigo) {
  using Json = nlohmann::ordered_json;
  Json status = Json::object();
  status["Versao"] = "1.0";
  status["Codigo"] = codigo;
  status["Descricao"] = descricao;
  Json envelope = Json::object();
  envelope["Status"] = std::move(status);
  // The replacing handler keeps the promise never to raise, even for broken UTF-8.
  return toAnsi(envelope.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace vornleads
