#include "vornleads/intake/leads_vw_metodos.h"

#include <utility>

#include "vornleads/data/geral.h"
#include "vornleads/package/log_file.h"

namespace vornleads {

TLeadsVWMetodosClass::TLeadsVWMetodosClass(TAplicacaoLibrary& Aplicacao,
                                           SqlConnection& SQLConnection)
    : conexao_(SQLConnection),
      numeros_(SQLConnection),
      listaDN_(std::vector<std::string>{}),
      Aplicacao_(Aplicacao),
      clock_(systemClock()),
      pause_(systemPause()),
      control_(unattendedRun()) {
  if (Aplicacao_.banco.empty()) Aplicacao_.banco = conexao_.banco();
}

void TLeadsVWMetodosClass::setClock(std::shared_ptr<Clock> clock) {
  clock_ = clock ? std::move(clock) : systemClock();
}

void TLeadsVWMetodosClass::setPause(std::shared_ptr<Pause> pause) {
  pause_ = pause ? std::move(pause) : systemPause();
}

void TLeadsVWMetodosClass::setRunControl(std::shared_ptr<RunControl> control) {
  control_ = control ? std::move(control) : unattendedRun();
}

void TLeadsVWMetodosClass::gravaLog(const std::string& requisicao, const std::string& resposta) {
  // The failure is recorded for the host's reports; the cycle goes on as if it was written.
  LogFile(kLogBuscaLeads, clock_).recordExchange(requisicao, resposta);
}

}  // namespace vornleads
