#include "vornleads/data/dm_geral.h"

#include "vornleads/data/dms_api.h"

namespace vornleads {

TdmGeral::TdmGeral(SqlConnection& connection) : connection_(connection) {}

std::string TdmGeral::ObterUrlApiVornDMS(int32_t Empresa, int32_t Revenda) {
  const SqlRowSet rows =
      connection_.query(" select URL_VORN_DMS       from GER_REVENDA            where EMPRESA = " +
                        std::to_string(Empresa) + "   and REVENDA = " + std::to_string(Revenda));
  if (rows.empty()) return "";
  std::string url = rows.value(0, "URL_VORN_DMS").asString();
  // The stored address is the central service's; the dealership's API answers under the
  // shorter name, so the replacement only ever goes this way.
  const std::string principal = "VornDMSPrincipal";
  const std::string local = "VornDMS";
  for (size_t at = url.find(principal); at != std::string::npos;
       at = url.find(principal, at + local.size())) {
    url.replace(at, principal.size(), local);
  }
  return url;
}

std::unique_ptr<TClientDataSet> TdmGeral::ObterLogin(int32_t Usuario) {
  return std::make_unique<TClientDataSet>(connection_.query(
      " Select LOGIN, SENHA From GER_USUARIO Where USUARIO = " + std::to_string(Usuario)));
}

std::string TdmGeral::RequisicaoVornDMS(const std::string& metodo, const std::string& recurso,
                                        const std::string& corpoJson, int32_t Empresa,
                                        int32_t Revenda, int32_t Usuario) {
  std::string login;
  std::string senha;
  {
    const auto usuario = ObterLogin(Usuario);
    login = usuario->FieldByName("LOGIN").asString();
    senha = DeCript(usuario->FieldByName("SENHA").asString());
  }
  const std::string url = ObterUrlApiVornDMS(Empresa, Revenda);
  return RequisicaoVornDMSUtils(url, metodo, recurso, corpoJson, login, senha, Usuario, nullptr);
}

}  // namespace vornleads
