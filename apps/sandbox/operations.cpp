#include "operations.h"

#include <algorithm>
#include <array>

#include "operation_replies.h"

namespace vornleads::sandbox {
namespace {

constexpr std::array<const char*, 7> kOperations = {
    "BuscaHistLeads",   "BuscaNovosLeads",          "AtualizaLeads", "BuscaLeads", "BuscaLeadsData",
    "BuscaLeadsStatus", "CarregaUltimaCargaInicial"};

const char* listMemberOf(const std::string& operation) {
  if (operation == "BuscaNovosLeads") return "Novos";
  if (operation == "BuscaHistLeads") return "Historico";
  return "Leads";
}

}  // namespace

Json statusMember(int codigo, const std::string& descricao) {
  return Json{{"Codigo", codigo}, {"Descricao", descricao}, {"Versao", "1.0"}};
}

bool isServiceOperation(const std::string& name) {
  return std::any_of(kOperations.begin(), kOperations.end(),
                     [&name](const char* known) { return name == known; });
}

Json failureReply(const std::string& operation, int codigo, const std::string& descricao) {
  Json reply{{"Status", statusMember(codigo, descricao)}};
  if (operation == "AtualizaLeads") {
    reply["Retorno"] = Json{{"Mensagem", descricao}, {"Retorno", "ERRO"}};
  } else {
    reply[listMemberOf(operation)] = Json::array();
  }
  return reply;
}

Json answerCall(LeadStore& store, const std::string& operation, const std::string& parametros) {
  Json request;
  try {
    request = Json::parse(parametros);
  } catch (const Json::parse_error& error) {
    return failureReply(
        operation, kInvalidParameters,
        "Parâmetros inválidos: JSON malformado na posição " + std::to_string(error.byte));
  }
  if (!request.is_object()) {
    return failureReply(operation, kInvalidParameters,
                        "Parâmetros inválidos: esperado um objeto JSON");
  }
  Json reply = operation == "AtualizaLeads" ? answerUpdate(store, request)
                                            : answerFetch(store, operation, request);
  writeWholeNumbersAsIntegers(reply);
  return reply;
}

}  // namespace vornleads::sandbox
