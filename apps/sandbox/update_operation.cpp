// AtualizaLeads: a dealer's status update for one lead. Status -1 confirms that the lead was
// received (it then leaves the BuscaLeadsStatus replies); any other status becomes the lead's
// current status.
#include "operation_replies.h"

namespace vornleads::sandbox {
namespace {

Json answer(int codigo, const std::string& descricao, const std::string& mensagem,
            const char* retorno) {
  return Json{{"Status", statusMember(codigo, descricao)},
              {"Retorno", Json{{"Mensagem", mensagem}, {"Retorno", retorno}}}};
}

Json refusal(int codigo, const std::string& descricao) {
  return answer(codigo, descricao, descricao, "ERRO");
}

}  // namespace

Json answerUpdate(LeadStore& store, const Json& request) {
  const Json idLead = request.value("IdLead", Json());
  const std::string id = textOf(idLead);
  if (id.empty()) return refusal(kInvalidParameters, "IdLead não informado");
  const Json status = request.value("Status", Json());
  const auto code = leadIdOf(status);
  if (!code) return refusal(kInvalidParameters, "Status inválido para o lead " + id);
  if (textOf(request.value("Cpf", Json())).empty()) {
    return refusal(kMissingCpf, "CPF do vendedor não informado para o lead " + id);
  }
  if (*code == 9 && textOf(request.value("DataReagendamento", Json())).empty()) {
    return refusal(kMissingRescheduleDate, "Data de reagendamento não informada para o lead " + id);
  }

  switch (store.applyStatus(idLead, static_cast<double>(*code))) {
    case UpdateOutcome::kNotFound:
      return refusal(kLeadNotFound, "Lead " + id + " não encontrado");
    case UpdateOutcome::kConfirmed:
      return answer(0, "Sucesso", "Recebimento do lead " + id + " confirmado", "OK");
    case UpdateOutcome::kRecorded:
      break;
  }
  return answer(0, "Sucesso", "Status do lead " + id + " atualizado para " + std::to_string(*code),
                "OK");
}

}  // namespace vornleads::sandbox
