// The routing lookups: where a lead goes (company and branch of its dealer number), who is told
// and opens the contact, what kind of contact it is and which seller registers new customers.
// They only read, inside the lead's transaction; each one that finds nothing fails the lead.
#include <string>

#include "intake/conversoes.h"
#include "intake/sql_texto.h"
#include "vornleads/data/formata_string.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads {
namespace {

using intake::falhaLead;

std::string empresaRevenda(const TContatoLeadVW& lead) {
  return std::to_string(lead.empresa) + "." + std::to_string(lead.revenda);
}

VornError parametroCAC(const TContatoLeadVW& lead, const std::string& rotulo) {
  return VornError(falhaLead(lead.leadID) + "Parâmetro [" + rotulo +
                   "] não definido nos parâmetros de CRM da empresa/revenda " +
                   empresaRevenda(lead));
}

VornError parametroVeiculo(const TContatoLeadVW& lead, const std::string& rotulo) {
  return VornError(falhaLead(lead.leadID) + "Parâmetro [" + rotulo +
                   "] não definido nos parâmetros de veículo da empresa/revenda " +
                   empresaRevenda(lead));
}

}  // namespace

bool TLeadsVWMetodosClass::campoNuloOuVazio(const SqlValue& campo) {
  return campo.isNull() || campo.asString().empty();
}

void TLeadsVWMetodosClass::buscaEmpresaRevendaLead(int32_t DN, TContatoLeadVW& lead) {
  const std::string numero = intake::literal(FormataString(std::to_string(DN), "00000"));
  auto revenda = conexao_.RetornaDataset(
      "SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = " + numero, "", "");
  if (revenda->IsEmpty()) {
    throw VornError(falhaLead(lead.leadID) + "DN " + std::to_string(DN) +
                    " não encontrado no banco de dados");
  }
  lead.empresa = static_cast<int32_t>(revenda->FieldByName("EMPRESA").asInteger());
  lead.revenda = static_cast<int32_t>(revenda->FieldByName("REVENDA").asInteger());
}

void TLeadsVWMetodosClass::buscaParametrosCAC(TContatoLeadVW& lead) {
  auto parametros = conexao_.RetornaDataset(
      "SELECT USUARIOS_NOTIF_CONTATO_VEI,        ORIGEM_TRAFEGO_LEADVW   FROM CAC_PARAMETRO  "
      "WHERE EMPRESA = " +
          std::to_string(lead.empresa) + "   AND REVENDA = " + std::to_string(lead.revenda),
      "", "");
  const SqlValue& usuarios = parametros->FieldByName("USUARIOS_NOTIF_CONTATO_VEI");
  const SqlValue& origem = parametros->FieldByName("ORIGEM_TRAFEGO_LEADVW");
  if (campoNuloOuVazio(usuarios)) throw parametroCAC(lead, "Usuário destino do correio");
  if (campoNuloOuVazio(origem)) throw parametroCAC(lead, "Origem de tráfego para Leads VW");

  // Only the first user of the list is told; the others are left to the CRM's own routing.
  const std::string lista = usuarios.asString();
  lead.usuarioCorreio = intake::TextoParaInteiro(lista.substr(0, lista.find(',')));
  lead.origemTrafego = static_cast<int32_t>(origem.asInteger());

  // The seller's CPF is read twice; the second reading decides.
  bool cpfValido = false;
  if (!buscarCPFUsuarioCorreio(lead).empty()) cpfValido = buscarCPFUsuarioCorreio(lead) != "0";
  if (!cpfValido) {
    throw VornError(falhaLead(lead.leadID) + "CPF para o vendedor do usuário " +
                    std::to_string(lead.usuarioCorreio) + " não cadastrado na empresa/revenda " +
                    empresaRevenda(lead));
  }
}

std::string TLeadsVWMetodosClass::buscarCPFUsuarioCorreio(const TContatoLeadVW& lead) {
  return conexao_.executaSQLString(
      "SELECT CPF   FROM FAT_VENDEDOR  WHERE EMPRESA = " + std::to_string(lead.empresa) +
      "   AND REVENDA = " + std::to_string(lead.revenda) +
      "   AND USUARIO = " + std::to_string(lead.usuarioCorreio));
}

void TLeadsVWMetodosClass::buscaParametrosVeiculos(TContatoLeadVW& lead) {
  auto parametros = conexao_.RetornaDataset(
      "select TIPO_CONTATO,        SUB_TIPO_CONTATO,        DEPARTAMENTO   from VEI_PARAMETRO  "
      "where EMPRESA = " +
          std::to_string(lead.empresa) + "   and REVENDA = " + std::to_string(lead.revenda),
      "", "");
  const SqlValue& tipo = parametros->FieldByName("TIPO_CONTATO");
  const SqlValue& subTipo = parametros->FieldByName("SUB_TIPO_CONTATO");
  const SqlValue& departamento = parametros->FieldByName("DEPARTAMENTO");
  if (campoNuloOuVazio(tipo)) throw parametroVeiculo(lead, "Tipo de Contato");
  if (campoNuloOuVazio(subTipo)) throw parametroVeiculo(lead, "Subtipo de contato");
  if (campoNuloOuVazio(departamento)) throw parametroVeiculo(lead, "Departamento");
  lead.tipoContato = static_cast<int32_t>(tipo.asInteger());
  lead.subTipoContato = static_cast<int32_t>(subTipo.asInteger());
  lead.departamento = static_cast<int32_t>(departamento.asInteger());
}

void TLeadsVWMetodosClass::buscaFormaContatoWeb(TContatoLeadVW& lead) {
  // Type 1 is the e-mail contact form; it is kept per company, not per branch.
  lead.formaContato =
      conexao_.executaSQLInteger("SELECT FORMA_CONTATO   FROM CAC_FORMA_CONTATO  WHERE EMPRESA = " +
                                 std::to_string(lead.empresa) + "   AND TIPO_FORMA_CONTATO = 1");
  if (lead.formaContato < 0) {
    throw VornError(falhaLead(lead.leadID) +
                    "Não existe forma de contato do tipo E-mail não cadastrada na empresa " +
                    std::to_string(lead.empresa));
  }
}

void TLeadsVWMetodosClass::buscaVendedorAdministrador(TContatoLeadVW& lead) {
  // New customers are registered under the seller of user 0, the administrator.
  lead.vendedorInclusao = conexao_.executaSQLInteger(
      "SELECT VENDEDOR   FROM FAT_VENDEDOR  WHERE EMPRESA = " + std::to_string(lead.empresa) +
      "   AND REVENDA = " + std::to_string(lead.revenda) + "   AND USUARIO = 0");
  if (lead.vendedorInclusao < 0) {
    throw VornError(falhaLead(lead.leadID) +
                    "Vendedor para o usuário 0 não cadastrado na empresa/revenda " +
                    empresaRevenda(lead));
  }
}

std::string TLeadsVWMetodosClass::buscaCodigoModelo(int32_t empresa, const std::string& descricao) {
  return conexao_.executaSQLString(
      "SELECT MODELO   FROM VEI_MODELO  WHERE DES_MODELO = " + intake::literal(descricao) +
      "   AND EMPRESA = " + std::to_string(empresa));
}

}  // namespace vornleads
