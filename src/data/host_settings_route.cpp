#include "data/host_settings_route.h"

#include "vornleads/error.h"

namespace vornleads {

UpdateRoute::UpdateRoute(SqlConnection& local) : local_(local) {
  HostSettings settings = hostSettings();
  if (!modoRemoto(settings)) return;
  if (!settings.VarConexaoSC) {
    throw VornError("Tecnologia DATASNAP sem conexão com o servidor de aplicação (VarConexaoSC)");
  }
  remote_ = settings.VarConexaoSC;
}

void UpdateRoute::execute(const std::string& sql) {
  if (!remote_) {
    local_.execute(sql);
    return;
  }
  if (!remote_->ExecutaDML(sql)) {
    throw VornError("O servidor de aplicação não executou o comando:\r\n" + sql);
  }
}

void UpdateRoute::begin() {
  if (remote_) {
    remote_->IniciaTransacao();
  } else {
    local_.beginTransaction();
  }
}

void UpdateRoute::commit() {
  if (remote_) {
    remote_->ComitaTransacao();
  } else {
    local_.commit();
  }
}

void UpdateRoute::rollback() {
  if (remote_) {
    remote_->RollbackTransacao();
  } else {
    local_.rollback();
  }
}

RouteTransaction::RouteTransaction(UpdateRoute& route, bool active) : route_(route), open_(active) {
  if (open_) route_.begin();
}

RouteTransaction::~RouteTransaction() {
  if (!open_) return;
  try {
    route_.rollback();
  } catch (const std::exception&) {
    // Already unwinding from the error that matters; a failed rollback ends the transaction
    // on the server side anyway.
  }
}

void RouteTransaction::commit() {
  if (!open_) return;
  route_.commit();
  open_ = false;
}

}  // namespace vornleads
