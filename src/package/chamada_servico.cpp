#include "vornleads/package/chamada_servico.h"

#include <exception>
#include <memory>

#include "vornleads/package/envelope.h"
#include "vornleads/text/codepage.h"

namespace vornleads {

AnsiString ChamaServicoLeads(OperacaoServicoLeads operacao, const std::string& endereco,
                             int receiveTimeoutMs, const AnsiString& JSONEnvio) {
  try {
    auto client = std::make_shared<SoapHttpClient>();
    client->setReceiveTimeoutMs(receiveTimeoutMs);
    const auto service = GetIVornLeadsVW(false, endereco, client);
    if (!service) throw VornError("A interface IVornLeadsVWDLL não está registrada");
    return toAnsi(((*service).*operacao)(fromAnsi(JSONEnvio)));
  } catch (const std::exception& error) {
    return DLLMsgJSON(error.what(), 297);
  } catch (...) {
    return DLLMsgJSON("Erro desconhecido ao chamar o serviço de leads", 297);
  }
}

}  // namespace vornleads
