// Notification of a rejected update: one internal message of the host per configured user.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "vornleads/db/sql_value.h"
#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_vw.h"

namespace vornleads {
namespace {

std::vector<std::string> separaPorVirgula(const std::string& lista) {
  std::vector<std::string> itens;
  if (lista.empty()) return itens;
  std::string::size_type inicio = 0;
  while (true) {
    const auto virgula = lista.find(',', inicio);
    itens.push_back(lista.substr(inicio, virgula - inicio));
    if (virgula == std::string::npos) return itens;
    inicio = virgula + 1;
  }
}

}  // namespace

void TAtualizaLeadsVW::enviaMensagemErro() {
  if (!envioExternoMensagem) return;
  const TParametroPreparaAtualizaLeadVW& p = *parametros_;

  // A branch without configured users still notifies user 0; the host relies on that.
  // clang-format off
  const std::string usuarios =
      conexao_.executaSQLString("SELECT COALESCE(USUARIOS_NOTIF_CONTATO_VEI,'0') "
                                "  FROM CAC_PARAMETRO "
                                " WHERE EMPRESA = " + std::to_string(p.empresa) +
                                "   AND REVENDA = " + std::to_string(p.revenda));
  // clang-format on
  const std::string texto =
      "Erro ao enviar atualização de Lead VW para o contato " + std::to_string(p.contato);

  // An entry that is no number raises ConversionError and ends the loop: the users before it
  // have been notified, and the send stage records the error.
  for (const std::string& usuario : separaPorVirgula(usuarios)) {
    const int64_t destino = SqlValue::text(usuario).asInteger();
    if (destino < std::numeric_limits<int32_t>::min() ||
        destino > std::numeric_limits<int32_t>::max()) {
      throw ConversionError("\"" + usuario + "\" is not a valid integer value");
    }
    envioExternoMensagem(0, static_cast<int32_t>(destino), "Erro integração Leads VW", texto);
  }
}

}  // namespace vornleads
