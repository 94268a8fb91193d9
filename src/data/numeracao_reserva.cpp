#include "vornleads/data/numeracao_reserva.h"

#include <algorithm>

#include "data/numeracao_internal.h"
#include "vornleads/data/geral.h"
#include "vornleads/data/numeracao.h"

namespace vornleads {

ReservaNumeros::ReservaNumeros(SqlConnection& connection) : connection_(connection) {}

bool ReservaNumeros::emBlocos(const std::string& tabela) {
  if (tabela == "OFI_PECA_OS" || tabela == "OFI_SERVICO_OS") return false;
  if (!dialeto_) {
    dialeto_ = BuscaBanco(connection_);
    versao_ = VersaoSqlServer(connection_, *dialeto_);
  }
  // A sequence's draw of n numbers is not one block when another connection draws from it at
  // the same moment; it costs no commit either.
  return !numeracao::usaSequencia(tabela, *dialeto_, versao_);
}

int32_t ReservaNumeros::proximo(int32_t empresa, int32_t revenda, const std::string& tabela,
                                const std::string& numerador) {
  Bloco& bloco = blocos_[Chave(empresa, revenda, tabela, numerador)];
  if (bloco.proximo < bloco.fim) return static_cast<int32_t>(bloco.proximo++);

  if (!emBlocos(tabela)) {
    ++sorteios_;
    return BuscaProximoNumero(connection_, empresa, revenda, tabela, numerador, 1, true);
  }
  // A counter row this object has not drawn from yet may be missing, and a new row gives one
  // number whatever the quantity asked for; once drawn from, the row exists for good.
  const int32_t tamanho = bloco.tamanho == 0 ? 1 : std::min(2 * bloco.tamanho, kBlocoMaximo);
  const int32_t primeiro =
      BuscaProximoNumero(connection_, empresa, revenda, tabela, numerador, tamanho, true);
  ++sorteios_;
  bloco.tamanho = tamanho;
  bloco.proximo = int64_t{primeiro} + 1;
  bloco.fim = int64_t{primeiro} + tamanho;
  return primeiro;
}

bool ReservaNumeros::reservado(int32_t empresa, int32_t revenda, const std::string& tabela,
                               const std::string& numerador) const {
  auto bloco = blocos_.find(Chave(empresa, revenda, tabela, numerador));
  return bloco != blocos_.end() && bloco->second.proximo < bloco->second.fim;
}

void ReservaNumeros::descarta(int32_t empresa, int32_t revenda, const std::string& tabela,
                              const std::string& numerador) {
  blocos_.erase(Chave(empresa, revenda, tabela, numerador));
}

}  // namespace vornleads
