// vornleads updates [--unsent] [--lead ID] [--since YYYY-MM-DD] [--limit N] [--json] [--wide]:
// the rows of the update journal (CAC_ATUALIZACOES_LEADVW), ordered by lead and sequence.
// --unsent shows exactly the rows the next resend pass will pick up, in the order it will send
// them; --since keeps the rows dated on or after that day; --limit the N newest, newest first.
// Read-only. SIGINT or SIGTERM: nothing shown, the stop line, exit status 1.
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "command.h"
#include "command_stop.h"
#include "view_options.h"
#include "view_table.h"
#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/data/geral.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/feedback/unsent_selection.h"

namespace vornleads::cli {
namespace {

struct UpdatesOptions {
  bool unsent = false;
  std::optional<int64_t> lead;
  ViewOptions view;
};

std::string updatesSql(const UpdatesOptions& options, const std::string& dialect) {
  std::string where;
  if (options.lead) where += " AND ID_LEAD_VW = " + std::to_string(*options.lead);
  if (!options.view.since.empty()) {
    where += " AND DTA_ATUALIZACAO >= " + DataHoraPSql(parseIsoDate(options.view.since), dialect);
  }
  return "SELECT ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, "
         "DESCRICAO_ERRO, USUARIO FROM CAC_ATUALIZACOES_LEADVW WHERE 1 = 1" +
         where + " ORDER BY ID_LEAD_VW, SEQUENCIA";
}

const RegisterCommand registration(61, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<UpdatesOptions>();
  CLI::App* command = app.add_subcommand(
      "updates", "the update journal: sequence, status, ENVIOU, error code and description");
  command->add_flag("--unsent", options->unsent, "only what the next resend pass will send");
  command->add_option("--lead", options->lead, "only this VW lead identifier");
  addViewOptions(*command, options->view, true);
  command->callback([options, &context] {
    const CommandStop stop("updates");
    const std::unique_ptr<SqlConnection> connection = context.openDatabase();
    const SqlRowSet rows = connection->query(updatesSql(*options, BuscaBanco(*connection)));
    ViewTable table({"ID_LEAD_VW", "SEQUENCIA", "STATUS_LEAD", "DTA_ATUALIZACAO", "ENVIOU",
                     "CODIGO_ERRO", "DESCRICAO_ERRO", "USUARIO"},
                    {"DESCRICAO_ERRO"});
    if (!options->unsent) {
      for (size_t i = 0; i < rows.rows.size(); ++i) table.add(rows, i);
    } else {
      std::map<std::pair<int64_t, int64_t>, size_t> byKey;
      for (size_t i = 0; i < rows.rows.size(); ++i) {
        byKey[{rows.value(i, "ID_LEAD_VW").asInteger(), rows.value(i, "SEQUENCIA").asInteger()}] =
            i;
      }
      TConexaoSimplificada conexao(*connection);
      for (const JournalKey& key : unsentUpdates(conexao)) {
        const auto found = byKey.find({key.idLead, key.sequencia});
        if (found != byKey.end()) table.add(rows, found->second);
      }
    }
    if (options->view.limit) table.keepNewest("DTA_ATUALIZACAO", *options->view.limit);
    if (stop.report(context)) return;
    table.print(std::cout, options->view.json, tableWidth(options->view));
  });
});

}  // namespace
}  // namespace vornleads::cli
