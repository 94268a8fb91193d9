#include "vornleads/data/numeracao.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <string>
#include <thread>

#include "data/host_settings_route.h"
#include "data/numeracao_internal.h"
#include "vornleads/data/geral.h"
#include "vornleads/error.h"

namespace vornleads {

namespace numeracao {

int64_t campoInteiro(const SqlRowSet& rows, const std::string& column) {
  size_t index = rows.columnIndex(column);
  return rows.empty() ? 0 : rows.rows.front().at(index).asInteger();
}

bool conflitoConcorrente(const DatabaseError& error) {
  std::string message = error.databaseMessage();
  std::transform(message.begin(), message.end(), message.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const char* sinal : {"update conflicts with concurrent update", "lock conflict", "deadlock",
                            "violation of primary or unique key"}) {
    if (message.find(sinal) != std::string::npos) return true;
  }
  return false;
}

std::string condicaoContador(int32_t empresa, int32_t revenda, const std::string& numerador,
                             const std::string& tabela) {
  return " where EMPRESA   = " + std::to_string(empresa) +
         " and   REVENDA   = " + std::to_string(revenda) + " and   NUMERADOR = '" + numerador +
         "'" + " and   TABELA    = '" + tabela + "'";
}

}  // namespace numeracao

namespace {

using numeracao::campoInteiro;
using numeracao::conflitoConcorrente;

constexpr int kTentativas = 100;
// A draw that keeps meeting a locked counter row gives up once this much time has passed, so
// that a row held by a transaction that will not end soon (the caller's own, or one that waits
// for the caller's) fails the draw instead of holding it: Firebird reports a lock time-out
// with the same words as a concurrent update, so the time tells them apart.
constexpr std::chrono::seconds kPrazoTentativas(8);

std::string citado(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    quoted += c;
    if (c == '\'') quoted += '\'';
  }
  return quoted + "'";
}

int32_t contadorOrdemServico(SqlConnection& connection, UpdateRoute& route, int32_t empresa,
                             int32_t revenda, const std::string& tabela,
                             const std::string& numerador) {
  const std::string campo = tabela == "OFI_PECA_OS" ? "PROXIMA_PECA" : "PROXIMO_SERVICO";
  const std::string condicao = " where EMPRESA  = " + std::to_string(empresa) +
                               " and   REVENDA  = " + std::to_string(revenda) +
                               " and   NRO_OS   = " + numerador;
  const std::string consulta = "select " + campo + " from OFI_ORDEM_SERVICO" + condicao;
  if (connection.query(consulta).empty()) return 0;
  route.execute("update OFI_ORDEM_SERVICO set    " + campo + " = " + campo + " + 1" + condicao);
  return static_cast<int32_t>(campoInteiro(connection.query(consulta), campo) - 1);
}

// One pass of the counter-table path. `proprio`: this routine begins and commits.
int32_t contadorTabela(SqlConnection& connection, UpdateRoute& route, int32_t empresa,
                       int32_t revenda, const std::string& tabela, const std::string& numerador,
                       int32_t quantidade, bool proprio) {
  const std::string condicao = numeracao::condicaoContador(empresa, revenda, numerador, tabela);
  const std::string sEmpresa = std::to_string(empresa);
  const std::string sRevenda = std::to_string(revenda);

  if (!connection.query("select PROXIMO_NUMERO from GER_NUMERADOR" + condicao).empty()) {
    RouteTransaction transacao(route, proprio);
    // The increment is written before the value is read back, so the row lock is held
    // from the first statement of the transaction.
    route.execute("update GER_NUMERADOR set PROXIMO_NUMERO = PROXIMO_NUMERO + " +
                  std::to_string(quantidade) + condicao);
    int64_t proximo = campoInteiro(
        connection.query("select PROXIMO_NUMERO from GER_NUMERADOR " + condicao), "PROXIMO_NUMERO");
    transacao.commit();
    return static_cast<int32_t>(proximo - quantidade);
  }

  if (tabela == "FAT_NFSE" && numerador == "LOTE") {
    // Service-invoice batches of a new branch continue the numbering of branch 1.
    SqlRowSet revenda1 = connection.query(
        " select PROXIMO_NUMERO   from GER_NUMERADOR  where EMPRESA   = " + sEmpresa +
        "    and REVENDA   = 1" + "    and NUMERADOR = " + citado(numerador) +
        "    and TABELA    = " + citado(tabela));
    const bool temRevenda1 = !revenda1.empty();
    const int64_t base = temRevenda1 ? campoInteiro(revenda1, "PROXIMO_NUMERO") : 1;
    RouteTransaction transacao(route, proprio);
    route.execute("insert into GER_NUMERADOR values(" + sEmpresa + "," + sRevenda + ",'" +
                  numerador + "'" + ",'" + tabela + "'" + "," + std::to_string(base + quantidade) +
                  ")");
    transacao.commit();
    return static_cast<int32_t>(base);
  }

  RouteTransaction transacao(route, proprio);
  route.execute("insert into GER_NUMERADOR values (" + sEmpresa + "," + sRevenda + ",'" +
                numerador + "'" + ",'" + tabela + "'" + "," +
                std::to_string(int64_t{quantidade} + 1) + ")");
  transacao.commit();
  // The block's size, not 1: callers of blocks have always read it this way.
  return quantidade;
}

}  // namespace

int32_t BuscaProximoNumero(SqlConnection& connection, int32_t empresa, int32_t revenda,
                           const std::string& tabela, const std::string& numerador,
                           int32_t quantidade, bool transacao) {
  const std::string dialeto = BuscaBanco(connection);
  UpdateRoute route(connection);
  const int32_t versao = VersaoSqlServer(connection, dialeto);

  if (tabela == "OFI_PECA_OS" || tabela == "OFI_SERVICO_OS") {
    return contadorOrdemServico(connection, route, empresa, revenda, tabela, numerador);
  }
  if (numeracao::usaSequencia(tabela, dialeto, versao)) {
    return numeracao::numeroSequencia(connection, route, dialeto, empresa, revenda, tabela,
                                      numerador, quantidade);
  }
  if (!transacao || route.remote()) {
    // transacao false: the caller's transaction holds the draw. Remote: the application
    // server begins and commits; a conflict there is its own to resolve.
    return contadorTabela(connection, route, empresa, revenda, tabela, numerador, quantidade,
                          transacao);
  }

  // The draw runs on the connection's autonomous(), begun and committed here, whatever
  // the caller has open: the counter row is locked only for the instant of the draw, and a
  // caller that rolls back leaves a gap, never a number handed out twice.
  SqlConnection& propria = connection.autonomous();
  UpdateRoute rotaPropria(propria);
  const auto inicio = std::chrono::steady_clock::now();
  for (int tentativa = 1;; ++tentativa) {
    try {
      return contadorTabela(propria, rotaPropria, empresa, revenda, tabela, numerador, quantidade,
                            true);
    } catch (const DatabaseError& error) {
      if (tentativa >= kTentativas || !conflitoConcorrente(error) ||
          std::chrono::steady_clock::now() - inicio >= kPrazoTentativas) {
        throw;
      }
    }
    // A short, growing pause lets the other drawer commit before the next snapshot.
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min(tentativa, 20)));
  }
}

}  // namespace vornleads
