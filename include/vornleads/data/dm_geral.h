// TdmGeral: the shared data container's requests to the DMS's own web API.
//
// The container works on a connection it does not own (the connection must outlive it) and
// reads through it; it never writes and never begins a transaction. One container serves one
// thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vornleads/data/client_dataset.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads {

class TdmGeral {
 public:
  explicit TdmGeral(SqlConnection& connection);
  TdmGeral(const TdmGeral&) = delete;
  TdmGeral& operator=(const TdmGeral&) = delete;

  // The dealership's API address (GER_REVENDA.URL_VORN_DMS) with every "VornDMSPrincipal"
  // replaced by "VornDMS" (the central service's address turned into the dealership's);
  // empty when the dealership is unknown.
  std::string ObterUrlApiVornDMS(int32_t Empresa, int32_t Revenda);

  // The user's LOGIN and SENHA (as stored), open on its first row. Without such a user the
  // dataset is empty and both fields read as empty text. The caller owns the dataset.
  std::unique_ptr<TClientDataSet> ObterLogin(int32_t Usuario);

  // One request to the dealership's API on behalf of Usuario: the address of Empresa/Revenda,
  // the user's LOGIN and DeCript(SENHA), and the three texts passed on unchanged, in order,
  // as RequisicaoVornDMSUtils's method, resource path and JSON body (see dms_api.h).
  // Returns the response body. An unknown user or dealership is not checked here: it yields
  // empty credentials or address and the request's own error (VornError).
  std::string RequisicaoVornDMS(const std::string& metodo, const std::string& recurso,
                                const std::string& corpoJson, int32_t Empresa, int32_t Revenda,
                                int32_t Usuario);

 private:
  SqlConnection& connection_;
};

}  // namespace vornleads
