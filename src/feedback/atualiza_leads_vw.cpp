// The pipeline of one status update: validity, preparation, local answer or send, outcome.
#include "vornleads/feedback/atualiza_leads_vw.h"

#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "vornleads/error.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/text/codepage.h"
#include "vornleads/text/datetime.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

constexpr int kDiasValidadeLead = 90;
constexpr char kMensagemForaValidade[] =
    "Este lead está fora do prazo de validade (90 dias) e não será mais enviado para a VW";
constexpr char kMensagemSemIntegracao[] = "Contato não faz parte da integração";
constexpr char kPrefixoErroEnvio[] = "Erro ao enviar atualização para a VW: ";

bool codigoDesligaLead(double codigo) { return codigo == 207 || codigo == 208 || codigo == 209; }

// The service's AtualizaLeads replies always carry their Retorno (null at least); the library
// edition's own answer to a call that did not reach the service (refused connection,
// time-out, HTTP error, SOAP fault) is the status envelope alone.
bool respostaDoServico(const std::string& resposta) {
  const auto json = nlohmann::json::parse(resposta, nullptr, false);
  return json.is_object() && json.contains("Retorno");
}

}  // namespace

TAtualizaLeadsVW::TAtualizaLeadsVW(SqlConnection& connection)
    : conexao_(connection), clock_(systemClock()) {}

void TAtualizaLeadsVW::setClock(std::shared_ptr<Clock> clock) {
  clock_ = clock ? std::move(clock) : systemClock();
}

std::optional<TRetornoAtualizaLeadClass> TAtualizaLeadsVW::realizaAtualizacao(
    TParametroPreparaAtualizaLeadVW& parametros) {
  parametros_ = &parametros;
  std::optional<TRetornoAtualizaLeadClass> resultado;
  bool foraDaValidade = false;

  sPbMensagemAtu_ = "1";
  if (!IntegraLeadsVW) throw VornError("Função IntegraLeadsVW não definida");

  sPbMensagemAtu_ = "2";
  try {
    if (DaysBetween(agora(), retornaDataContato()) > kDiasValidadeLead) {
      sPbMensagemAtu_ = "2.0";
      foraDaValidade = true;
      marcaLeadParaNaoIntegrar();
    } else {
      sPbMensagemAtu_ = "2.1";
      if (leadEstaIntegrando(parametros.idLead)) preparaAtualizacao();
      sPbMensagemAtu_ = "2.2";
    }
  } catch (const std::exception& error) {
    // The caller sees a plain error with the original text, whatever its kind was.
    envioLead_.reset();
    throw VornError(boundedMessage(error));
  }

  sPbMensagemAtu_ = "3";
  if (!usaIntegracao_) return respostaLocal(foraDaValidade);

  sPbMensagemAtu_ = "7";
  // The reason is in the journal row written by the preparation.
  if (!realizaEnvio_) return std::nullopt;

  sPbMensagemAtu_ = "8";
  inicializaCOM();
  try {
    enviaAtualizacao();
    sPbMensagemAtu_ = "12";
    resultado = retornoAtualizacao_;
    enviado_ = true;
  } catch (const std::exception& error) {
    realizaEnvio_ = false;
    mensagemErro_ = kPrefixoErroEnvio + boundedMessage(error);
  } catch (...) {
    // A bridge that throws something other than an exception still must not leave the row
    // looking delivered.
    realizaEnvio_ = false;
    mensagemErro_ = kPrefixoErroEnvio + std::string("unknown exception");
  }
  sPbMensagemAtu_ += "-" + mensagemErro_;
  gravaAtualizacao(false);
  return resultado;
}

void TAtualizaLeadsVW::enviaAtualizacao() {
  sPbMensagemAtu_ = "9";
  const std::string resposta =
      fromAnsi(IntegraLeadsVW(kServicoAtualizaLeads, toAnsi(envioLead_->AsJSON())));

  sPbMensagemAtu_ = "10";
  retornoAtualizacao_.emplace();
  retornoAtualizacao_->AssignFromJSON(resposta);
  respostaDaVW_ = respostaDoServico(resposta);

  sPbMensagemAtu_ = "11";
  gravaLogEnvio();

  // A reply without a status says nothing about delivery: it must not pass for an acceptance.
  if (!retornoAtualizacao_->Status) throw VornError("Resposta da VW sem Status");
  if (retornoAtualizacao_->Status->Codigo > 0) {
    if (codigoDesligaLead(retornoAtualizacao_->Status->Codigo)) marcaLeadParaNaoIntegrar();
    enviaMensagemErro();
  }
}

TAtualizaLeadsVW::Desfecho TAtualizaLeadsVW::desfecho() const {
  // Only a send stage that ended with the service's own reply reached VW; the journal row was
  // written from the same state (gravaAtualizacao), so the two agree.
  if (!enviado_ || !respostaDaVW_ || !realizaEnvio_ || !retornoAtualizacao_ ||
      !retornoAtualizacao_->Status) {
    return Desfecho::NaoEnviado;
  }
  return retornoAtualizacao_->Status->Codigo > 0 ? Desfecho::Recusado : Desfecho::Aceito;
}

TRetornoAtualizaLeadClass TAtualizaLeadsVW::respostaLocal(bool foraDaValidade) {
  sPbMensagemAtu_ = "4";
  TRetornoAtualizaLeadClass resposta;
  TStatusClass& status = resposta.Status.emplace();
  sPbMensagemAtu_ = "5";
  if (!parametros_->reenvio) {
    status.Codigo = 0;
  } else {
    status.Codigo = foraDaValidade ? 299 : 297;
  }
  sPbMensagemAtu_ = "6";
  status.Descricao = foraDaValidade ? kMensagemForaValidade : kMensagemSemIntegracao;
  status.Versao = "1.0";
  return resposta;
}

}  // namespace vornleads
