#include <string>
#include <vector>

#include "data/telefones_cliente.h"
#include "vornleads/data/geral.h"
#include "vornleads/data/novo_contato.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/text/datetime.h"

namespace vornleads::Geral {

namespace {

const char* const kColunas =
    "EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, ATIVO_PASSIVO, "
    "DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
    "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
    "ORIGEM_TRAFEGO, TIPO_TRAFEGO, ORIGEM, CONTATO_ORIGEM, MES_AGENDAMENTO, ANO_AGENDAMENTO, "
    "DDD_1, TELEFONE_1, MELHOR_TELEFONE, DDD_2, TELEFONE_2, CAMPANHA, "
    "CODIGO_LEAD_NA_RENAULT, CODIGO_LEAD_NA_ORIGEM, STATUS_LEADS, NUMERO_DN, "
    "EH_CLIENTE_RENAULT, DTA_LEADS_ORIGEM, SITUACAO_CONTEMPLACAO, HORARIO_ATENDIMENTO, "
    "TIPO_ATENDIMENTO, PRE_VENDA";

// The lead columns from CAMPANHA to PRE_VENDA.
constexpr int kColunasLead = 11;

}  // namespace

int32_t NovoContato(SqlConnection& connection, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Departamento, int32_t TipoContato,
                    int32_t SubTipoContato, int32_t UsuarioAbriu, int32_t UsuarioEncaminhado,
                    int32_t Cliente, int32_t FormaContato, int32_t OrigemTrafego, int32_t Empresa,
                    int32_t Revenda, TDateTime DtaContato) {
  const std::string banco = BuscaBanco(connection);
  const int32_t contato =
      BuscaProximoNumero(connection, Empresa, Revenda, "CAC_CONTATO", "CONTATO", 1, true);
  if (contato == 0) return 0;

  const SqlRowSet cliente = connection.query(
      "select NOME, DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR, CLIENTE_VIP, "
      "USU_INDICOU_VIP, DDD_FAX, FAX from FAT_CLIENTE where CLIENTE = " +
      std::to_string(Cliente));

  // A zero date has no literal the databases accept; reading the rendered literal back as a
  // date-time refuses it with the platform's conversion error before anything is written.
  if (DtaContato == 0) StrToDateTime(DataHoraPSql(DtaContato, banco));

  auto numero = [&](int64_t value) { return AddSQL(std::to_string(value), "N", banco); };
  auto texto = [&](const std::string& value) { return AddSQL(value, "A", banco); };
  const std::string nulo = AddSQL("", "N", banco);

  std::string valores = numero(Empresa) + numero(Revenda) + numero(contato) +
                        AddSQL(DateTimeToStr(DtaContato), "H", banco) + texto(Situacao) +
                        texto(DesContato) + texto(AtivoPassivo) + numero(Departamento) +
                        numero(TipoContato) + numero(SubTipoContato) + numero(UsuarioAbriu) +
                        numero(UsuarioEncaminhado) + numero(UsuarioEncaminhado) + numero(Cliente) +
                        numero(FormaContato) + numero(OrigemTrafego) + nulo + texto(Origem) + nulo +
                        nulo + nulo;

  if (const auto telefones = telefonesDoCliente(cliente); !telefones) {
    for (int i = 0; i < 5; ++i) valores += nulo;
  } else {
    const auto [dddTelefone, telefone, dddCelular, celular] = *telefones;
    // The 8-digit guards follow the width of the contact's telephone columns.
    valores += dddTelefone >= 1 ? numero(dddTelefone) : nulo;
    if (telefone >= 1) {
      valores += digitos(telefone) < 9 ? numero(telefone) : nulo;
      valores += numero(1);
    } else {
      valores += nulo + nulo;
    }
    valores += dddCelular >= 1 ? numero(dddCelular) : nulo;
    valores += celular > 0 && digitos(celular) < 9 ? numero(celular) : nulo;
  }
  for (int i = 0; i < kColunasLead; ++i) valores += nulo;

  valores.pop_back();  // AddSQL ends every value with ","
  connection.execute(std::string("insert into CAC_CONTATO  (") + kColunas + ") values (" + valores +
                     ")");
  return contato;
}

}  // namespace vornleads::Geral
