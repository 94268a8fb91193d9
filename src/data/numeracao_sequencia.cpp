#include <string>

#include "data/numeracao_internal.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"

namespace vornleads {

namespace {

// StrToInt as the host reads it: optional sign, decimal digits, nothing else.
int32_t textoParaInteiro(const std::string& text) {
  size_t digits = (!text.empty() && (text[0] == '-' || text[0] == '+')) ? 1 : 0;
  bool valid = text.size() > digits && text.size() - digits <= 9;
  for (size_t i = digits; valid && i < text.size(); ++i) {
    valid = text[i] >= '0' && text[i] <= '9';
  }
  if (!valid) throw ConversionError("'" + text + "' is not a valid integer value");
  return static_cast<int32_t>(std::stol(text));
}

}  // namespace

int32_t VersaoSqlServer(SqlConnection& connection, const std::string& dialeto) {
  if (dialeto != "SQLSERVER") return -1;
  SqlRowSet rows = connection.query("select SERVERPROPERTY('productversion') VERSAO");
  std::string versao = rows.empty() ? std::string() : rows.value(0, "VERSAO").asString();
  size_t ponto = versao.find('.');
  if (ponto == std::string::npos) return -1;
  return textoParaInteiro(versao.substr(0, ponto));
}

namespace numeracao {

bool usaSequencia(const std::string& tabela, const std::string& dialeto, int32_t versao) {
  bool tabelaComSequencia =
      tabela == "GER_LOG_CADASTROS" || tabela == "GER_OPERACAO" || tabela == "CAC_CONTATO";
  return tabelaComSequencia && (dialeto == "ORACLE" || (dialeto == "SQLSERVER" && versao >= 11));
}

int32_t numeroSequencia(SqlConnection& connection, UpdateRoute& route, const std::string& dialeto,
                        int32_t empresa, int32_t revenda, const std::string& tabela,
                        const std::string& numerador, int32_t quantidade) {
  const std::string nome = tabela + "E" + std::to_string(empresa) + "R" + std::to_string(revenda);
  const bool oracle = dialeto == "ORACLE";
  const std::string consulta =
      oracle ? "select SEQUENCE_NAME from USER_SEQUENCES where SEQUENCE_NAME = '" + nome + "'"
             : "select NAME from SYS.SEQUENCES where NAME = '" + nome + "'";
  const std::string sorteio = oracle ? "select " + nome + ".nextval PROXIMO_NUMERO" + " from dual"
                                     : "select next value for " + nome + " PROXIMO_NUMERO";

  SqlRowSet rows = connection.query(consulta);
  if (!rows.empty()) {
    // With quantidade 0 nothing is drawn and the lookup's row, which has no PROXIMO_NUMERO,
    // is read: that field-not-found error is the expected answer to a draw of nothing.
    for (int32_t i = 0; i < quantidade; ++i) rows = connection.query(sorteio);
    return static_cast<int32_t>(campoInteiro(rows, "PROXIMO_NUMERO") - quantidade);
  }

  // The contact counter row of older databases may carry any NUMERADOR; its table decides.
  const std::string condicao = tabela == "CAC_CONTATO"
                                   ? " where EMPRESA   = " + std::to_string(empresa) +
                                         " and   REVENDA   = " + std::to_string(revenda) +
                                         " and   TABELA    = '" + tabela + "'"
                                   : condicaoContador(empresa, revenda, numerador, tabela);
  SqlRowSet contador = connection.query("select PROXIMO_NUMERO from GER_NUMERADOR" + condicao);
  const int64_t inicio = contador.empty() ? 1 : campoInteiro(contador, "PROXIMO_NUMERO") + 1;

  route.execute("create sequence " + nome + " minvalue 1" + " maxvalue 999999999" + " start with " +
                std::to_string(inicio) + " increment by 1" + " cache 20");
  // One value more than reserved keeps the sequence one ahead, which is what later calls
  // (last drawn minus quantidade) rely on.
  for (int64_t i = 0; i < int64_t{quantidade} + 1; ++i) connection.query(sorteio);
  return static_cast<int32_t>(inicio);
}

}  // namespace numeracao
}  // namespace vornleads
