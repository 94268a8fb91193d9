#include "data/customer_code.h"

#include <string>

#include "data/host_settings_route.h"
#include "data/numeracao_internal.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/data/numeracao_reserva.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

constexpr int kTentativas = 20;
const char* const kContador =
    "Erro no numerador de clientes (GER_NUMERADOR EMPRESA 0, REVENDA 0, NUMERADOR 'CLIENTE', "
    "TABELA 'FAT_CLIENTE'): ";

int64_t maiorCliente(SqlConnection& leitura) {
  return leitura.query("select max(CLIENTE) MAIOR from FAT_CLIENTE").value(0, "MAIOR").asInteger();
}

// As the caller's transaction sees FAT_CLIENTE.
bool clienteExiste(SqlConnection& connection, int32_t cliente) {
  return !connection
              .query("select CLIENTE from FAT_CLIENTE where CLIENTE = " + std::to_string(cliente))
              .empty();
}

// Puts the counter past `maior` when it is missing, null or behind. A concurrent drawer may
// have created or moved it in the meantime; its conflict only means that the caller reads
// again.
void adiantaContador(SqlConnection& leitura, UpdateRoute& route, int64_t maior) {
  const std::string condicao = numeracao::condicaoContador(0, 0, "CLIENTE", "FAT_CLIENTE");
  const std::string proximo = std::to_string(maior + 1);
  SqlRowSet contador = leitura.query("select PROXIMO_NUMERO from GER_NUMERADOR" + condicao);
  try {
    if (contador.empty()) {
      route.execute("insert into GER_NUMERADOR values (0,0,'CLIENTE','FAT_CLIENTE'," + proximo +
                    ")");
    } else if (contador.value(0, "PROXIMO_NUMERO").isNull() ||
               contador.value(0, "PROXIMO_NUMERO").asInteger() <= maior) {
      route.execute("update GER_NUMERADOR set PROXIMO_NUMERO = " + proximo + condicao +
                    " and (PROXIMO_NUMERO is null or PROXIMO_NUMERO <= " + std::to_string(maior) +
                    ")");
    }
  } catch (const DatabaseError& error) {
    if (!numeracao::conflitoConcorrente(error)) throw;
  }
}

// Puts the counter past every customer FAT_CLIENTE holds, in one transaction of its own on
// `leitura` (one commit for the two reads and the repair).
void reparaContador(SqlConnection& leitura) {
  UpdateRoute route(leitura);
  if (leitura.inTransaction()) {  // a caller working on the autonomous connection itself
    adiantaContador(leitura, route, maiorCliente(leitura));
    return;
  }
  Transaction reparo(leitura);
  adiantaContador(leitura, route, maiorCliente(leitura));
  reparo.commit();
}

}  // namespace

int32_t nextCustomerCode(SqlConnection& connection, ReservaNumeros& reserva) {
  try {
    for (int tentativa = 0; tentativa < kTentativas; ++tentativa) {
      // Each block starts above every customer committed when it is drawn.
      if (!reserva.reservado(0, 0, "FAT_CLIENTE", "CLIENTE")) {
        reparaContador(connection.autonomous());
      }
      const int32_t codigo = reserva.proximo(0, 0, "FAT_CLIENTE", "CLIENTE");
      // Another program may have written customers since the block was drawn: the table has
      // then passed the rest of the block as well.
      if (!clienteExiste(connection, codigo)) return codigo;
      reserva.descarta(0, 0, "FAT_CLIENTE", "CLIENTE");
    }
    throw VornError("todos os códigos sorteados já existem em FAT_CLIENTE");
  } catch (const VornError& error) {
    throw VornError(kContador + std::string(error.what()));
  }
}

int32_t nextCustomerCode(SqlConnection& connection) {
  ReservaNumeros reserva(connection);
  return nextCustomerCode(connection, reserva);
}

}  // namespace vornleads
