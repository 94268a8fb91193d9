// The lead's integration flag, CAC_LEAD_CONTATO.INTEGRANDO: "S" while updates of the lead are
// sent to VW, "N" once they must stop for good.
#include <string>

#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/text/datetime.h"

namespace vornleads {

bool TAtualizaLeadsVW::leadEstaIntegrando(double idLead) {
  const TParametroPreparaAtualizaLeadVW& p = *parametros_;
  // clang-format off
  return conexao_.executaSQLString("select INTEGRANDO "
                                   "  from CAC_LEAD_CONTATO "
                                   " where EMPRESA = " + std::to_string(p.empresa) +
                                   "   and REVENDA = " + std::to_string(p.revenda) +
                                   "   and CONTATO = " + std::to_string(p.contato) +
                                   "   and ID_LEAD_VW = " + FloatToStr(idLead)) == "S";
  // clang-format on
}

void TAtualizaLeadsVW::marcaLeadParaNaoIntegrar() {
  const TParametroPreparaAtualizaLeadVW& p = *parametros_;
  // clang-format off
  conexao_.executaDML("update CAC_LEAD_CONTATO "
                      "   set INTEGRANDO = 'N' "
                      " where EMPRESA = " + std::to_string(p.empresa) +
                      "   and REVENDA = " + std::to_string(p.revenda) +
                      "   and CONTATO = " + std::to_string(p.contato) +
                      "   and ID_LEAD_VW = " + std::to_string(p.idLead));
  // clang-format on
}

}  // namespace vornleads
