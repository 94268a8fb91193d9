// The library edition "VornLeadsVW.dll": one C entry through which the workers reach the leads
// service, each call answered by a facade of the library's own.
//
// IntegraLeadsVW(pCodigoServico, JSONEnvio) takes the service number and the request JSON
// (8-bit, boundary code page; null counts as empty) and returns the reply JSON in a buffer
// allocated here, which the caller hands back to IntegraLeadsVW_Libera. Numbers:
// 1 BuscaLeads, 2 AtualizaLeads, 3 BuscaLeadsData, 4 BuscaLeadsStatus,
// 5 CarregaUltimaCargaInicial, 6 BuscaHistLeads, 7 BuscaNovosLeads; any other number answers
// the status envelope 297 naming it. Replies and failures are exactly the facade's: every
// failure is the envelope 297 with its message. No exception crosses the C boundary; the
// result is null only when memory is exhausted.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <sstream>
#include <string>

#include "vornleads/package/chamada_servico.h"
#include "vornleads/package/envelope.h"
#include "vornleads/package/udm_vornleadsvw.h"

#define VORNLEADS_EXPORT extern "C" __attribute__((visibility("default")))

namespace vornleads {
namespace {

AnsiString despacha(int32_t pCodigoServico, const AnsiString& JSONEnvio) {
  TdmVornLeadsVW fachada;
  switch (pCodigoServico) {
    case 1:
      return fachada.BuscaLeads(JSONEnvio);
    case 2:
      return fachada.AtualizaLeads(JSONEnvio);
    case 3:
      return fachada.BuscaLeadsData(JSONEnvio);
    case 4:
      return fachada.BuscaLeadsStatus(JSONEnvio);
    case 5:
      return fachada.CarregaUltimaCargaInicial(JSONEnvio);
    // The facade has no methods for these two; the call is the one its methods make.
    case 6:
      return ChamaServicoLeads(&IVornLeadsVWDLL::BuscaHistLeads, fachada.endereco(),
                               fachada.receiveTimeoutMs(), JSONEnvio);
    case 7:
      return ChamaServicoLeads(&IVornLeadsVWDLL::BuscaNovosLeads, fachada.endereco(),
                               fachada.receiveTimeoutMs(), JSONEnvio);
    default: {
      // Not std::to_string: its inline digit table is a GNU unique symbol, which would pin the
      // library in memory and keep dlclose from unloading it.
      std::ostringstream mensagem;
      mensagem << "Serviço " << pCodigoServico
               << " desconhecido em IntegraLeadsVW (os serviços vão de 1 a 7)";
      return DLLMsgJSON(mensagem.str(), 297);
    }
  }
}

char* copiaC(const std::string& texto) {
  auto* copia = static_cast<char*>(std::malloc(texto.size() + 1));
  if (copia) std::memcpy(copia, texto.c_str(), texto.size() + 1);
  return copia;
}

}  // namespace
}  // namespace vornleads

VORNLEADS_EXPORT char* IntegraLeadsVW(int32_t pCodigoServico, const char* JSONEnvio) {
  using namespace vornleads;
  try {
    return copiaC(despacha(pCodigoServico, JSONEnvio ? JSONEnvio : ""));
  } catch (const std::exception& error) {
    // The facade never raises; what is left is memory or construction trouble.
    try {
      return copiaC(DLLMsgJSON(error.what(), 297));
    } catch (...) {
      return nullptr;
    }
  } catch (...) {
    return nullptr;
  }
}

VORNLEADS_EXPORT void IntegraLeadsVW_Libera(char* resposta) { std::free(resposta); }
