// The customer's telephones as both contact writers copy them into a new contact.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "vornleads/db/sql_value.h"

namespace vornleads {

struct TelefonesCliente {
  int64_t dddTelefone = 0;
  int64_t telefone = 0;
  int64_t dddCelular = 0;
  int64_t celular = 0;
};

// The four telephone columns of the first row of a FAT_CLIENTE query; nothing when the
// customer was not found.
inline std::optional<TelefonesCliente> telefonesDoCliente(const SqlRowSet& cliente) {
  if (cliente.empty()) return std::nullopt;
  const auto& linha = cliente.rows.front();
  auto coluna = [&](const char* nome) { return linha.at(cliente.columnIndex(nome)).asInteger(); };
  return TelefonesCliente{coluna("DDD_TELEFONE"), coluna("TELEFONE"), coluna("DDD_CELULAR"),
                          coluna("CELULAR")};
}

// How many characters the number's decimal text has (the column-width guards count these).
inline std::size_t digitos(int64_t value) { return std::to_string(value).size(); }

}  // namespace vornleads
