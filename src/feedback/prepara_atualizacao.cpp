// Preparation of one status update: the rules that decide whether it is sent, and the request.
#include <exception>
#include <string>

#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

constexpr char kFormatoDataVW[] = "dd/mm/yyyy hh:nn:ss";
constexpr int kStatusReagendamento = 9;
constexpr int kMesesMaximoReagendamento = 6;

// A lead whose last journalled status is one of these has reached an end (or a state VW
// manages itself); nothing after it is sent. 10 and 1 are left out on purpose.
bool statusEncerraEnvios(int32_t status) { return (status >= 2 && status <= 9) || status == 11; }

}  // namespace

void TAtualizaLeadsVW::preparaAtualizacao() {
  TParametroPreparaAtualizaLeadVW& p = *parametros_;
  mensagemErro_.clear();
  realizaEnvio_ = true;
  TEnviaAtualizaLeadClass& envio = envioLead_.emplace();

  if (p.codigoAtualizacao == kStatusReagendamento) {
    const TDateTime agendamento = StrToDateTime(p.dataReagendamento);
    if (agendamento < agora()) {
      usaIntegracao_ = false;
      return;
    }
    if (MonthsBetween(agora(), agendamento) > kMesesMaximoReagendamento) {
      throw VornError("Não é possível reagendar para um período maior que 6 meses");
    }
    envio.DataReagendamento = FormatDateTime(kFormatoDataVW, agendamento);
  }

  envio.DataAtualizacao =
      FormatDateTime(kFormatoDataVW, p.reenvio ? StrToDateTime(p.dataAtualizacaoReenvio) : agora());
  envio.Status = p.codigoAtualizacao;
  envio.IdLead = p.idLead;
  if (!(envio.IdLead > 0)) {
    usaIntegracao_ = false;
    return;
  }
  // The connection wrapper is a member built with the object, so the host's "Conexão não
  // definida" check has nothing to catch here.

  // clang-format off
  usaIntegracao_ =
      conexao_.executaSQLString("SELECT UTILIZA_INTEGRACAO_LEADVW "
                                "  FROM CAC_PARAMETRO "
                                " WHERE EMPRESA = " + std::to_string(p.empresa) +
                                "   AND REVENDA = " + std::to_string(p.revenda)) == "S";
  // clang-format on
  if (!usaIntegracao_) return;

  if (p.codigoAtualizacao < 0) {
    usaIntegracao_ = false;
    return;
  }

  if (!p.reenvio) {
    verificaStatusAnterior();
    if (!usaIntegracao_) return;
  }

  leCpfVendedor();
  verificaBiblioteca();

  // Written even when sending is no longer allowed, so that the reason is journalled.
  gravaAtualizacao(true);
}

TDateTime TAtualizaLeadsVW::retornaDataContato() {
  const TParametroPreparaAtualizaLeadVW& p = *parametros_;
  // clang-format off
  const auto contato =
      conexao_.RetornaDataset("select DTA_CONTATO, DTA_NOVO_CONTATO "
                              "  from CAC_CONTATO "
                              " where EMPRESA = " + std::to_string(p.empresa) +
                              "   and REVENDA = " + std::to_string(p.revenda) +
                              "   and CONTATO = " + std::to_string(p.contato));
  // clang-format on
  const SqlValue& novoContato = contato->FieldByName("DTA_NOVO_CONTATO");
  return novoContato.isNull() ? contato->FieldByName("DTA_CONTATO").asDateTime()
                              : novoContato.asDateTime();
}

void TAtualizaLeadsVW::verificaStatusAnterior() {
  const std::string idLead = FloatToStr(envioLead_->IdLead);
  // clang-format off
  const int32_t ultimoStatus = conexao_.executaSQLInteger(
      "SELECT STATUS_LEAD "
      "  FROM CAC_ATUALIZACOES_LEADVW "
      " WHERE ID_LEAD_VW = " + idLead +
      "   AND SEQUENCIA = (SELECT MAX(SEQUENCIA) "
      "                      FROM CAC_ATUALIZACOES_LEADVW "
      "                     WHERE ID_LEAD_VW = " + idLead +
      "                    )");
  // clang-format on
  constexpr int32_t kSemLinha = -1;  // the wrapper's answer when the lead has no journal row
  if (ultimoStatus == kSemLinha) return;
  if (ultimoStatus == parametros_->codigoAtualizacao || statusEncerraEnvios(ultimoStatus)) {
    usaIntegracao_ = false;
  }
}

void TAtualizaLeadsVW::leCpfVendedor() {
  const TParametroPreparaAtualizaLeadVW& p = *parametros_;
  // clang-format off
  const std::string cpf =
      conexao_.executaSQLString("SELECT CPF "
                                "  FROM FAT_VENDEDOR "
                                " WHERE EMPRESA = " + std::to_string(p.empresa) +
                                "   AND REVENDA = " + std::to_string(p.revenda) +
                                "   AND USUARIO = " + std::to_string(p.usuarioAtualizacao));
  // clang-format on
  if (cpf.empty() || cpf == "0") {
    mensagemErro_ += "Contato originado de lead VW sem CPF informado para o vendedor do usuário " +
                     std::to_string(p.usuarioAtualizacao) + ". " +
                     "Favor informar o CPF para continuar com a operação." + "\r\n";
    realizaEnvio_ = false;
  }
  envioLead_->Cpf = cpf;
}

bool TAtualizaLeadsVW::verificaBiblioteca() {
  try {
    if (!bibliotecaPresente()) {
      mensagemErro_ += kMensagemBibliotecaAusente;
      realizaEnvio_ = false;
    }
  } catch (const std::exception& error) {
    // A directory that cannot be determined or read is a reason not to send, not a failure
    // of the update.
    mensagemErro_ = error.what();
    realizaEnvio_ = false;
  }
  return realizaEnvio_;
}

}  // namespace vornleads
