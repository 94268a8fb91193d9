#include "vornleads/intake/fecha_contato.h"

#include <exception>
#include <string>

#include "intake/sql_texto.h"
#include "vornleads/data/geral.h"
#include "vornleads/data/numeracao.h"
#include "vornleads/error.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {

int32_t FechaContatoCRM(SqlConnection& connection, const FechamentoContato& fechamento) {
  try {
    const std::string banco = BuscaBanco(connection);
    const int32_t versao = VersaoSqlServer(connection, banco);
    const std::string chave = std::to_string(fechamento.empresa) + "." +
                              std::to_string(fechamento.revenda) + "." +
                              std::to_string(fechamento.contato);
    const int64_t linhas = connection.execute(
        "UPDATE CAC_CONTATO SET SITUACAO = 'F', DTA_FECHAMENTO = " +
        DataHoraPSql(fechamento.dataFechamento, banco) + ", " + kColunaSituacaoFechamento + " = " +
        intake::literal(fechamento.resultado) +
        " WHERE EMPRESA = " + std::to_string(fechamento.empresa) +
        " AND REVENDA = " + std::to_string(fechamento.revenda) +
        " AND CONTATO = " + std::to_string(fechamento.contato));
    if (linhas == 0) throw VornError("Contato " + chave + " não encontrado");
    return versao;
  } catch (const std::exception& erro) {
    throw VornError("Erro ao encerrar o contato para o lead " + std::to_string(fechamento.leadID) +
                    "\r\n" + boundedMessage(erro));
  }
}

}  // namespace vornleads
