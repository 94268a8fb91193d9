#include "vornleads/package/udm_vornleadsvw.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "vornleads/error.h"
#include "vornleads/package/configuracao.h"
#include "vornleads/package/envelope.h"
#include "vornleads/package/log_file.h"
#include "vornleads/service/records_status.h"
#include "vornleads/text/codepage.h"

namespace vornleads {

TdmVornLeadsVW* dmVornLeadsVW = nullptr;

namespace {

// The text a JSON value stands for: a string's own text, a number or boolean as written,
// nothing for null, objects and arrays.
std::string textValue(const nlohmann::ordered_json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number() || value.is_boolean()) return value.dump();
  return "";
}

// VORNLEADS_RECEIVE_TIMEOUT_MS, when it holds a positive number of milliseconds, stands in for
// the built-in receive time-out. It is how an operator or a test shortens the wait of the
// library edition, whose facades the host never sees.
int tempoRecebimentoInicial() {
  const char* texto = std::getenv("VORNLEADS_RECEIVE_TIMEOUT_MS");
  if (texto == nullptr || *texto == '\0') return kTempoRecebimentoServicoMs;
  char* fim = nullptr;
  const long valor = std::strtol(texto, &fim, 10);
  if (*fim != '\0' || valor <= 0 || valor > kTempoRecebimentoServicoMs) {
    return kTempoRecebimentoServicoMs;
  }
  return static_cast<int>(valor);
}

}  // namespace

TdmVornLeadsVW::TdmVornLeadsVW() : receiveTimeoutMs_(tempoRecebimentoInicial()) {
  DataModuleCreate();
}

void TdmVornLeadsVW::DataModuleCreate() { sPvEndereco = AcessaINI("Proxy"); }

// This edition keeps no session state from the host: the workers get their connection and
// context from the host directly.
void TdmVornLeadsVW::inicializaDM(SqlConnection* /*conexao*/) {}
void TdmVornLeadsVW::AtualizaTAplicacao(const TAplicacaoLibrary* /*aplicacao*/,
                                        SqlConnection* /*conexao*/, int32_t /*sessao*/) {}
void TdmVornLeadsVW::finalizaDM() {}

AnsiString TdmVornLeadsVW::chamaServico(OperacaoServicoLeads operacao,
                                        const AnsiString& JSON) const {
  return ChamaServicoLeads(operacao, sPvEndereco, receiveTimeoutMs_, JSON);
}

AnsiString TdmVornLeadsVW::AtualizaLeads(const AnsiString& JSON) {
  return chamaServico(&IVornLeadsVWDLL::AtualizaLeads, JSON);
}
AnsiString TdmVornLeadsVW::BuscaLeads(const AnsiString& JSON) {
  return chamaServico(&IVornLeadsVWDLL::BuscaLeads, JSON);
}
AnsiString TdmVornLeadsVW::BuscaLeadsData(const AnsiString& JSON) {
  return chamaServico(&IVornLeadsVWDLL::BuscaLeadsData, JSON);
}
AnsiString TdmVornLeadsVW::BuscaLeadsStatus(const AnsiString& JSON) {
  return chamaServico(&IVornLeadsVWDLL::BuscaLeadsStatus, JSON);
}
AnsiString TdmVornLeadsVW::CarregaUltimaCargaInicial(const AnsiString& JSON) {
  return chamaServico(&IVornLeadsVWDLL::CarregaUltimaCargaInicial, JSON);
}

AnsiString TdmVornLeadsVW::AlteraEnderecoServico(const AnsiString& JSON) {
  nlohmann::ordered_json parametros;
  try {
    parametros = nlohmann::ordered_json::parse(toAscii(fromAnsi(JSON)));
  } catch (const nlohmann::json::parse_error& error) {
    // error.byte counts from 1: the character at which the text stopped being JSON.
    throw VornError("AlteraEnderecoServico: o texto recebido não é JSON válido (posição " +
                    std::to_string(error.byte) + ")");
  } catch (const nlohmann::json::out_of_range&) {
    // The parser's only other refusal: a number beyond the range of a double.
    throw VornError("AlteraEnderecoServico: o texto recebido traz um número fora do intervalo");
  }
  if (!parametros.is_object()) {
    throw VornError("AlteraEnderecoServico: o JSON recebido não é um objeto");
  }
  const auto novoEndereco = parametros.find("NovoEndereco");
  if (novoEndereco == parametros.end()) return DLLMsgJSON("Parâmetros JSON inválidos!", 297);

  // The endpoint changes before it is recorded, so it holds even when the file is not written.
  sPvEndereco = textValue(*novoEndereco);
  if (GravaINI("Proxy", sPvEndereco)) return DLLMsgJSON("Ok", 0);
  return DLLMsgJSON("Erro ao registrar solicitação!", 202);
}

std::string TdmVornLeadsVW::Busca_LeadsVW() { return TStatusClass().AsJSON(); }

std::string TdmVornLeadsVW::Atualiza_LeadsVW(const std::string& /*parametro*/) {
  return TStatusClass().AsJSON();
}

std::string TdmVornLeadsVW::AtualizaNaoEnviados_LeadsVW() { return TStatusClass().AsJSON(); }

AnsiString TdmVornLeadsVW::Integra_VornLeadsVW(int32_t /*metodo*/, const AnsiString& /*JSON*/) {
  return toAnsi(TStatusClass().AsJSON());
}

AnsiString TdmVornLeadsVW::DLLMsgJSON(const std::string& Descricao, int32_t Codigo) const {
  return vornleads::DLLMsgJSON(Descricao, Codigo);
}

std::string TdmVornLeadsVW::AcessaINI(const std::string& chave) const {
  return vornleads::AcessaINI(chave);
}

bool TdmVornLeadsVW::GravaINI(const std::string& chave, const std::string& valor) const {
  return vornleads::GravaINI(chave, valor);
}

void TdmVornLeadsVW::gravaLog(const std::string& funcao, const std::string& texto,
                              const std::string& situacao) const {
  LogFile(kLogFachada).appendFacade(funcao, texto, situacao);
}

}  // namespace vornleads
