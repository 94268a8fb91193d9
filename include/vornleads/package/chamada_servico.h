// One request to the leads service as the facade makes it: a fresh SOAP client with the given
// receive time-out, bound by GetIVornLeadsVW(false, endereco, client), the 8-bit argument
// converted from and the reply converted back to the boundary code page.
//
// Never raises: the reply comes back unchanged (neither parsed nor checked), and every failure
// (connection refused, time-out, HTTP error, SOAP fault, conversion) becomes the status
// envelope with code 297 and the error's own message. An empty endereco means the interface's
// local default endpoint. The client is released when the call ends, whatever its outcome.
#pragma once

#include <string>

#include "vornleads/service/ivornleadsvw.h"
#include "vornleads/types.h"

namespace vornleads {

// One of the seven operations, e.g. &IVornLeadsVWDLL::BuscaLeadsStatus.
using OperacaoServicoLeads = std::string (IVornLeadsVWDLL::*)(const std::string& Parametros);

// The receive time-out the facade sets before every call: 3 minutes.
inline constexpr int kTempoRecebimentoServicoMs = 180000;

AnsiString ChamaServicoLeads(OperacaoServicoLeads operacao, const std::string& endereco,
                             int receiveTimeoutMs, const AnsiString& JSONEnvio);

}  // namespace vornleads
