// ReservaNumeros: record numbers taken from the DMS counters a block at a time, so that a worker
// numbering many records pays one counter transaction per block instead of one per record.
//
// One object per worker and connection; not thread-safe. proximo() hands out one number of a
// counter (the same counter, per company, branch, table and numbered field, that
// BuscaProximoNumero draws from). For a counter of the counter table GER_NUMERADOR it reserves
// a block with BuscaProximoNumero(connection, ..., quantidade, true) in a transaction of its own,
// committed before the first number of the block is handed out, and hands the block out one
// number at a time. The first block of each counter holds one number (it also creates a missing
// counter row, whose first draw can only give one number); each later block twice the previous
// one, up to kBlocoMaximo. Counters that cannot give blocks (database sequences, service-order
// counters) are drawn one number per call with BuscaProximoNumero, as before.
//
// What a DMS user sees:
//   - uniqueness: every number handed out lies in a block the counter committed to this object
//     alone, so no two objects, connections or processes ever hand out the same number, and a
//     crash never causes a number to be handed out twice;
//   - gaps: the numbers of a block not yet handed out when the object is destroyed (the end of an
//     intake cycle, a stop, a crash) are never used, nor is the number of a record whose
//     transaction rolls back. Because blocks grow from one, a worker that numbers n records
//     leaves at most min(n, kBlocoMaximo - 1) unused numbers per counter;
//   - order: one object's numbers rise. Objects working at the same time (two intake processes,
//     the DMS's own programs) take disjoint blocks, so numbers are not in creation order across
//     them: a record written later by one may carry a lower number than one written earlier by
//     another.
//
// Errors: those of BuscaProximoNumero reach the caller; the number being drawn is not handed out
// and the object stays usable.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "vornleads/db/sql_connection.h"

namespace vornleads {

class ReservaNumeros {
 public:
  static constexpr int32_t kBlocoMaximo = 20;

  // connection must outlive this object.
  explicit ReservaNumeros(SqlConnection& connection);
  ReservaNumeros(const ReservaNumeros&) = delete;
  ReservaNumeros& operator=(const ReservaNumeros&) = delete;

  // The next number of the counter.
  int32_t proximo(int32_t empresa, int32_t revenda, const std::string& tabela,
                  const std::string& numerador);

  // True when a number of this counter is in hand (proximo will not draw).
  bool reservado(int32_t empresa, int32_t revenda, const std::string& tabela,
                 const std::string& numerador) const;

  // Gives up the numbers in hand of this counter (they become a gap); the next block starts over
  // from one number. For callers that find numbers of the block already taken elsewhere.
  void descarta(int32_t empresa, int32_t revenda, const std::string& tabela,
                const std::string& numerador);

  // Counter draws made so far (blocks and single draws).
  int64_t sorteios() const { return sorteios_; }

 private:
  using Chave = std::tuple<int32_t, int32_t, std::string, std::string>;
  struct Bloco {
    int64_t proximo = 0;  // next number to hand out
    int64_t fim = 0;      // one past the last number in hand
    int32_t tamanho = 0;  // size of the last block drawn
  };

  bool emBlocos(const std::string& tabela);

  SqlConnection& connection_;
  std::map<Chave, Bloco> blocos_;
  std::optional<std::string> dialeto_;
  int32_t versao_ = -1;
  int64_t sorteios_ = 0;
};

}  // namespace vornleads
