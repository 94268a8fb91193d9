// A new CRM contact for a lead: the contact row, its lead link, the vehicle interest and the
// internal message to the notified user, all in the lead's transaction.
#include <exception>
#include <string>

#include "intake/sql_texto.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {

void TLeadsVWMetodosClass::verificaContato(TContatoLeadVW& lead) {
  auto contato = conexao_.RetornaDataset(
      "SELECT CCO.*   FROM CAC_CONTATO CCO, CAC_LEAD_CONTATO CLC  WHERE CLC.EMPRESA = " +
          std::to_string(lead.empresa) + "   AND CLC.REVENDA = " + std::to_string(lead.revenda) +
          "   AND CLC.ID_LEAD_VW = " + std::to_string(lead.leadID) +
          "   AND CCO.EMPRESA = CLC.EMPRESA " + "   AND CCO.REVENDA = CLC.REVENDA " +
          "   AND CCO.CONTATO = CLC.CONTATO ",
      "CAC_CONTATO", "");
  if (contato->IsEmpty()) {
    verificaReagendamento(lead);
  } else {
    editaContato(*contato, lead);
  }
}

void TLeadsVWMetodosClass::incluiContato(TContatoLeadVW& lead) {
  buscaVendedorAdministrador(lead);
  buscaParametrosVeiculos(lead);
  buscaFormaContatoWeb(lead);
  buscaParametrosCAC(lead);

  lead.codigoCliente = retornaCliente(lead);
  if (lead.codigoCliente < 0) lead.codigoCliente = cadastraCliente(lead);

  try {
    lead.codigoContato =
        BuscaProximoNumeroTran(lead.empresa, lead.revenda, 1, "CONTATO", "CAC_CONTATO");
  } catch (const std::exception& erro) {
    throw VornError("Erro ao integrar lead " + std::to_string(lead.leadID) + "\r\n" +
                    boundedMessage(erro));
  }

  const std::string telefone = std::to_string(lead.DDD) + "-" + std::to_string(lead.telefone);
  TInsert contato("CAC_CONTATO", conexao_.banco());
  contato.AddCampo("EMPRESA", lead.empresa);
  contato.AddCampo("REVENDA", lead.revenda);
  contato.AddCampo("CONTATO", lead.codigoContato);
  contato.AddCampoDataHora("DTA_CONTATO", lead.dataIntencao);
  contato.AddCampo("SITUACAO", "A");
  contato.AddCampo("DES_CONTATO", "CONTATO CRIADO A PARTIR DE LEAD VW\r\nMODELO: " + lead.modelo +
                                      "\r\n" + "TELEFONE: " + telefone + "\r\n" +
                                      "E-MAIL: " + lead.email);
  contato.AddCampo("ATIVO_PASSIVO", "P");
  contato.AddCampo("DEPARTAMENTO", lead.departamento);
  contato.AddCampo("TIPO_CONTATO", lead.tipoContato);
  contato.AddCampo("SUB_TIPO_CONTATO", lead.subTipoContato);
  contato.AddCampo("USUARIO_ABRIU", 0);
  contato.AddCampo("USUARIO_ENCAMINHADO_ORIGINAL", 0);
  contato.AddCampo("USUARIO_ENCAMINHADO", 0);
  contato.AddCampo("CLIENTE", lead.codigoCliente);
  contato.AddCampo("FORMA_CONTATO", lead.formaContato);
  contato.AddCampo("ORIGEM", "V");
  contato.AddCampo("ORIGEM_INTEGRACAO", "S");
  contato.AddCampo("EMAIL", lead.email);
  contato.AddCampo("DDD_1", lead.DDD);
  contato.AddCampo("TELEFONE_1", lead.telefone);
  contato.AddCampo("ORIGEM_TRAFEGO", lead.origemTrafego);
  conexao_.executaDML(MontaSQLInsert(contato));

  incluiLeadContato(lead);
  incluiInteresse(lead);
  incluiMensagem(lead);
  desfecho_ = Desfecho::Criado;
}

void TLeadsVWMetodosClass::incluiInteresse(const TContatoLeadVW& lead) {
  // Interest numbers are drawn from company 1, branch 1 for every company: the CRM numbers
  // them in one series.
  const int32_t interesse = BuscaProximoNumeroTran(1, 1, 1, "INTERESSE", "CAC_INTERESSE");
  TInsert linha("CAC_INTERESSE", conexao_.banco());
  linha.AddCampo("INTERESSE", interesse);
  linha.AddCampo("EMPRESA", lead.empresa);
  linha.AddCampo("REVENDA", lead.revenda);
  linha.AddCampo("CONTATO", lead.codigoContato);
  linha.AddCampo("MODELO", buscaCodigoModelo(lead.empresa, lead.modelo));
  linha.AddCampo("QTD_PRETENDIDA", 1);
  linha.AddCampo("POSSIBILIDADE_FECHAR", 2);
  linha.AddCampo("PRETENDIDO_NU", "N");
  linha.AddCampo("PRECO", lead.PrecoPretendido);
  linha.AddCampo("TIPO_MOEDA", "R");
  conexao_.executaDML(MontaSQLInsert(linha));
}

void TLeadsVWMetodosClass::incluiMensagem(const TContatoLeadVW& lead) {
  TInsert mensagem("GER_MENSAGEM", conexao_.banco());
  mensagem.AddCampoDataHora("DTA_MENSAGEM", agora());
  mensagem.AddCampo("USUARIO_ORIGEM", 0);
  mensagem.AddCampo("USUARIO_DESTINO", lead.usuarioCorreio);
  mensagem.AddCampo("ASSUNTO", "Novo Contato Lead");
  // The text names the customer, not the contact number.
  mensagem.AddCampo("MENSAGEM", "Incluído contato " + std::to_string(lead.empresa) + "." +
                                    std::to_string(lead.revenda) + " para o cliente " +
                                    std::to_string(lead.codigoCliente) + ": " + lead.nome);
  mensagem.AddCampo("SITUACAO", "N");
  conexao_.executaDML(MontaSQLInsert(mensagem));
}

int32_t TLeadsVWMetodosClass::BuscaProximoNumeroTran(int32_t empresa, int32_t revenda,
                                                     int32_t quantidade, const std::string& coluna,
                                                     const std::string& tabela) {
  int32_t numero = 0;
  try {
    // Drawn and committed on its own: the counter row is not held while the lead is written,
    // so concurrent intakes (or the DMS) never wait on it; a lead rolled back leaves a gap.
    // Single numbers come from the worker's blocks, one counter commit per block.
    numero = quantidade == 1 ? numeros_.proximo(empresa, revenda, tabela, coluna)
                             : BuscaProximoNumero(conexao_.retornaSQLConnection(), empresa, revenda,
                                                  tabela, coluna, quantidade, true);
  } catch (const std::exception& erro) {
    throw VornError("Erro ao buscar o próximo numero da tabela " + tabela + "\r\n" +
                    boundedMessage(erro));
  }
  if (numero < 1) {
    throw VornError("Erro ao buscar o próximo numero da tabela " + tabela +
                    "\r\nO numerador devolveu " + std::to_string(numero));
  }
  return numero;
}

}  // namespace vornleads
