// TdmVornLeadsVW: the facade through which a host uses the leads integration, one object per
// host session. Its service methods forward one JSON request (8-bit, boundary code page) to the
// leads service and return the reply unchanged; the other entries are placeholders kept for
// the host's entry contract.
//
// - Service methods (AtualizaLeads, BuscaLeads, BuscaLeadsData, BuscaLeadsStatus,
//   CarregaUltimaCargaInicial) never raise: each failure is the status envelope 297 with the
//   error's message (see chamada_servico.h). Each call uses a fresh client and endereco().
// - AlteraEnderecoServico({"NovoEndereco":url}) sets endereco() at once, then records it with
//   GravaINI("Proxy", url): envelope 0 "Ok", or 202 "Erro ao registrar solicitação!" when the
//   file could not be written (the new endpoint stays in force for this object either way).
//   Without "NovoEndereco", or with one that is not text (null, a number, an object): envelope
//   297 "Parâmetros JSON inválidos!", endpoint unchanged.
//   Text that is not a JSON object raises VornError. Characters outside ASCII become '?'
//   before parsing.
// - A new facade starts from AcessaINI("Proxy"), the built-in endpoint: a recorded endpoint
//   does not survive the object.
// - The database connection and application context given to inicializaDM and
//   AtualizaTAplicacao are not used or kept by this edition; the facade owns nothing of the host.
// One thread at a time per facade; facades share no state.
#pragma once

#include <cstdint>
#include <string>

#include "vornleads/package/chamada_servico.h"
#include "vornleads/types.h"

namespace vornleads {

class SqlConnection;
struct TAplicacaoLibrary;

class TdmVornLeadsVW {
 public:
  // Runs DataModuleCreate.
  TdmVornLeadsVW();

  // The creation handler: the endpoint becomes AcessaINI("Proxy").
  void DataModuleCreate();

  // Accepted and ignored in this edition.
  void inicializaDM(SqlConnection* conexao);
  void AtualizaTAplicacao(const TAplicacaoLibrary* aplicacao, SqlConnection* conexao,
                          int32_t sessao);
  void finalizaDM();

  AnsiString AtualizaLeads(const AnsiString& JSON);
  AnsiString BuscaLeads(const AnsiString& JSON);
  AnsiString BuscaLeadsData(const AnsiString& JSON);
  AnsiString BuscaLeadsStatus(const AnsiString& JSON);
  AnsiString CarregaUltimaCargaInicial(const AnsiString& JSON);

  AnsiString AlteraEnderecoServico(const AnsiString& JSON);

  // Placeholders: the JSON of a fresh TStatusClass, {"Codigo":0,"Descricao":"","Versao":""}.
  std::string Busca_LeadsVW();
  std::string Atualiza_LeadsVW(const std::string& parametro);
  std::string AtualizaNaoEnviados_LeadsVW();
  AnsiString Integra_VornLeadsVW(int32_t metodo, const AnsiString& JSON);

  // The package routines, as members of the facade (envelope.h, configuracao.h).
  AnsiString DLLMsgJSON(const std::string& Descricao, int32_t Codigo) const;
  std::string AcessaINI(const std::string& chave) const;
  bool GravaINI(const std::string& chave, const std::string& valor) const;
  // Adds an entry to the facade's log, "logVornLeadsVWDLL_" + date + ".txt" in the host
  // directory. Raises VornError when the file cannot be written.
  void gravaLog(const std::string& funcao, const std::string& texto,
                const std::string& situacao) const;

  // The endpoint every service call of this object uses.
  const std::string& endereco() const { return sPvEndereco; }
  // The HTTP receive time-out set before each call: 180000 ms, or the environment variable
  // VORNLEADS_RECEIVE_TIMEOUT_MS at construction when it holds a shorter positive value, or
  // what a host or test sets here.
  int receiveTimeoutMs() const { return receiveTimeoutMs_; }
  void setReceiveTimeoutMs(int milliseconds) { receiveTimeoutMs_ = milliseconds; }

 private:
  AnsiString chamaServico(OperacaoServicoLeads operacao, const AnsiString& JSON) const;

  std::string sPvEndereco;
  // Declared for the session, never assigned.
  [[maybe_unused]] SqlConnection* sqlConnection = nullptr;
  [[maybe_unused]] const TAplicacaoLibrary* Aplicacao = nullptr;
  [[maybe_unused]] int32_t sessao = 0;
  int receiveTimeoutMs_ = kTempoRecebimentoServicoMs;
};

// For the host; VornLeads itself never assigns it.
extern TdmVornLeadsVW* dmVornLeadsVW;

}  // namespace vornleads
