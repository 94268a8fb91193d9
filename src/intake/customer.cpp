// The lead's customer: found by tax number, e-mail or phone, in that order, or registered as a
// prospect. Both run inside the lead's transaction, so a failed lead leaves no prospect behind.
#include <string>

#include "intake/sql_texto.h"
#include "vornleads/data/cliente_prospect.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

// Length in UTF-16 code units, as the tax number's length has always been counted.
size_t comprimento(const std::string& utf8) {
  size_t unidades = 0;
  for (unsigned char c : utf8) {
    if ((c & 0xC0) != 0x80) unidades += c >= 0xF0 ? 2 : 1;
  }
  return unidades;
}

// 11 characters make a CPF (a person); anything else, the empty text included, is taken as a
// CNPJ (a firm). The number is used as VW sent it, punctuation included.
bool ehCPF(const std::string& cpfcnpj) { return comprimento(cpfcnpj) == 11; }

}  // namespace

int32_t TLeadsVWMetodosClass::retornaCliente(const TContatoLeadVW& lead) {
  const std::string documento = intake::literal(lead.cpfcnpj);
  int32_t cliente = conexao_.executaSQLInteger(
      ehCPF(lead.cpfcnpj)
          ? "SELECT CLIENTE   FROM FAT_PESSOA_FISICA FPF  WHERE FPF.CPF = " + documento
          : "SELECT CLIENTE   FROM FAT_PESSOA_JURIDICA FPJ  WHERE FPJ.CGC = " + documento);

  if (cliente == -1 && !lead.email.empty()) {
    const std::string email = intake::literal(lead.email);
    cliente = conexao_.executaSQLInteger(
        "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((E_MAIL_CASA = " + email + ")" +
        "    OR (E_MAIL_TRABALHO = " + email + "))");
  }

  if (cliente == -1 && lead.DDD > 0 && lead.telefone > 0) {
    const std::string ddd = std::to_string(lead.DDD);
    const std::string telefone = std::to_string(lead.telefone);
    cliente = conexao_.executaSQLInteger(
        "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((DDD_CELULAR = " + ddd + "   AND CELULAR = " +
        telefone + ")" + "    OR (DDD_TELEFONE = " + ddd + "   AND TELEFONE = " + telefone + "))");
  }
  return cliente;
}

int32_t TLeadsVWMetodosClass::cadastraCliente(const TContatoLeadVW& lead) {
  const int32_t cliente =
      GravaClienteProspect(conexao_.retornaSQLConnection(), agora(), lead.empresa, lead.revenda,
                           lead.vendedorInclusao, lead.DDD, lead.telefone, 0, 0, 0, 0,
                           upperCase(lead.nome), "", "", "", "", "", "", "", lead.email, -1, &numeros_);
  if (cliente < 1) {
    throw VornError(intake::falhaLead(lead.leadID) + "Não foi possível cadastrar o cliente\r\n" +
                    Dados::MensagemErroException);
  }

  if (ehCPF(lead.cpfcnpj)) {
    TInsert pessoa("FAT_PESSOA_FISICA", conexao_.banco());
    pessoa.AddCampo("CLIENTE", cliente);
    pessoa.AddCampo("CPF", lead.cpfcnpj);
    pessoa.AddCampo("CONTADOR", 0);
    conexao_.executaDML(MontaSQLInsert(pessoa));
  } else {
    TInsert pessoa("FAT_PESSOA_JURIDICA", conexao_.banco());
    pessoa.AddCampo("CLIENTE", cliente);
    pessoa.AddCampo("CGC", lead.cpfcnpj);
    pessoa.AddCampo("INDICADOR_INSCRICAO_ESTADUAL", 3);
    // A single blank, not an empty text, as firms without a state registration are written.
    pessoa.AddCampo("INSCRICAO_ESTADUAL", " ");
    pessoa.AddCampo("CONTADOR", 0);
    conexao_.executaDML(MontaSQLInsert(pessoa));
  }
  return cliente;
}

}  // namespace vornleads
