#include <string>

#include "data/telefones_cliente.h"
#include "vornleads/data/geral.h"
#include "vornleads/data/novo_contato.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads::Dados {

namespace {

const char* const kColunas =
    "EMPRESA, REVENDA, CONTATO, DTA_CONTATO, SITUACAO, DES_CONTATO, ATIVO_PASSIVO, "
    "DEPARTAMENTO, TIPO_CONTATO, SUB_TIPO_CONTATO, USUARIO_ABRIU, "
    "USUARIO_ENCAMINHADO_ORIGINAL, USUARIO_ENCAMINHADO, CLIENTE, FORMA_CONTATO, "
    "ORIGEM_TRAFEGO, ORIGEM, DDD_1, TELEFONE_1, MELHOR_TELEFONE, DDD_2, TELEFONE_2, "
    "TIPO_TRAFEGO";

std::string citado(const std::string& value) { return "'" + value + "'"; }

std::string numeroOuNulo(bool escreve, int64_t value) {
  return escreve ? std::to_string(value) : "null";
}

struct Valores {
  std::string texto;
  void add(const std::string& valor) { texto += (texto.empty() ? "" : ", ") + valor; }
  void add(int64_t valor) { add(std::to_string(valor)); }
};

int32_t novoContato(SqlConnection& connection, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Empresa, int32_t Revenda,
                    int32_t Departamento, int32_t TipoContato, int32_t SubTipoContato,
                    int32_t UsuarioAbriu, int32_t UsuarioEncaminhado, int32_t Cliente,
                    int32_t FormaContato, int32_t OrigemTrafego, int32_t TipoTrafego,
                    std::string& sql) {
  const std::string banco = BuscaBanco(connection);
  const SqlRowSet cliente = connection.query(
      "select DDD_TELEFONE, TELEFONE, DDD_CELULAR, CELULAR from FAT_CLIENTE  where CLIENTE = " +
      std::to_string(Cliente));
  const TDateTime agora = DataHora(connection);
  const int32_t contato =
      BuscaProximoNumero(connection, Empresa, Revenda, "CAC_CONTATO", "CONTATO", 1, true);
  if (contato == 0) return 0;

  Valores valores;
  valores.add(Empresa);
  valores.add(Revenda);
  valores.add(contato);
  valores.add(DataHoraPSql(agora, banco));
  valores.add(citado(Situacao));
  valores.add(citado(DesContato));
  valores.add(citado(AtivoPassivo));
  valores.add(Departamento);
  valores.add(TipoContato);
  valores.add(SubTipoContato);
  valores.add(UsuarioAbriu);
  valores.add(UsuarioEncaminhado);
  valores.add(UsuarioEncaminhado);
  valores.add(Cliente);
  valores.add(FormaContato);
  valores.add(OrigemTrafego);
  valores.add(citado(Origem));
  if (const auto telefones = telefonesDoCliente(cliente); !telefones) {
    for (int i = 0; i < 5; ++i) valores.add("null");
  } else {
    const auto [dddTelefone, telefone, dddCelular, celular] = *telefones;
    // Not the full form's limits: this form's callers write 10-digit landlines and
    // 11-digit mobiles, and the limits guard exactly those widths.
    valores.add(numeroOuNulo(dddTelefone >= 1, dddTelefone));
    valores.add(numeroOuNulo(telefone >= 1 && digitos(telefone) < 10, telefone));
    valores.add(numeroOuNulo(telefone >= 1, 1));
    valores.add(numeroOuNulo(dddCelular >= 1, dddCelular));
    valores.add(numeroOuNulo(celular >= 1 && digitos(celular) < 11, celular));
  }
  valores.add(numeroOuNulo(TipoTrafego >= 1, TipoTrafego));

  sql = std::string("INSERT INTO CAC_CONTATO (") + kColunas + ")  VALUES (" + valores.texto + ")";
  connection.execute(sql);
  return contato;
}

}  // namespace

TDateTime DataHora(SqlConnection& connection) {
  const std::string consulta =
      BuscaBanco(connection) == "ORACLE"
          ? "select TO_CHAR(SYSDATE, 'DD/MM/YYYY HH24:MI:SS') from GER_DBVERSAO where VERSAO > "
            "' '"
          : "SELECT CURRENT_TIMESTAMP Campo1 from GER_DBVERSAO where VERSAO is not null";
  const SqlRowSet rows = connection.query(consulta);
  if (rows.empty() || rows.columns.empty()) {
    throw VornError("Não foi possível ler a data e hora do servidor: GER_DBVERSAO sem registro");
  }
  return rows.rows.front().front().asDateTime();
}

int32_t NovoContato(SqlConnection& connection, TDateTime /*DtaContato*/,
                    const std::string& Situacao, const std::string& DesContato,
                    const std::string& AtivoPassivo, const std::string& Origem, int32_t Empresa,
                    int32_t Revenda, int32_t Departamento, int32_t TipoContato,
                    int32_t SubTipoContato, int32_t UsuarioAbriu, int32_t UsuarioEncaminhado,
                    int32_t Cliente, int32_t FormaContato, int32_t OrigemTrafego,
                    int32_t TipoTrafego, std::string& sql) {
  try {
    return novoContato(connection, Situacao, DesContato, AtivoPassivo, Origem, Empresa, Revenda,
                       Departamento, TipoContato, SubTipoContato, UsuarioAbriu, UsuarioEncaminhado,
                       Cliente, FormaContato, OrigemTrafego, TipoTrafego, sql);
  } catch (const DatabaseError& error) {
    throw VornError("Erro NovoContato: " + error.databaseMessage() + " [" + error.statement() +
                    "]");
  }
}

int32_t NovoContato(SqlConnection& connection, TDateTime DtaContato, const std::string& Situacao,
                    const std::string& DesContato, const std::string& AtivoPassivo,
                    const std::string& Origem, int32_t Empresa, int32_t Revenda,
                    int32_t Departamento, int32_t TipoContato, int32_t SubTipoContato,
                    int32_t UsuarioAbriu, int32_t UsuarioEncaminhado, int32_t Cliente,
                    int32_t FormaContato, int32_t OrigemTrafego, int32_t TipoTrafego) {
  std::string sql;
  return NovoContato(connection, DtaContato, Situacao, DesContato, AtivoPassivo, Origem, Empresa,
                     Revenda, Departamento, TipoContato, SubTipoContato, UsuarioAbriu,
                     UsuarioEncaminhado, Cliente, FormaContato, OrigemTrafego, TipoTrafego, sql);
}

}  // namespace vornleads::Dados
