// vornleads leads [--lead ID] [--since YYYY-MM-DD] [--limit N] [--json] [--wide]: the lead
// links (CAC_LEAD_CONTATO) with their contact, the contact's customer and situation, and the
// integration flag; --since keeps the contacts dated on or after that day. Read-only, ordered
// by lead; with --limit, the N newest contacts, newest first. SIGINT or SIGTERM: nothing
// shown, the stop line, exit status 1.
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "command.h"
#include "command_stop.h"
#include "view_options.h"
#include "view_table.h"
#include "vornleads/data/geral.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads::cli {
namespace {

struct LeadsOptions {
  std::optional<int64_t> lead;
  ViewOptions view;
};

std::string leadsSql(const LeadsOptions& options, const std::string& dialect) {
  std::string where;
  if (options.lead) where += " AND L.ID_LEAD_VW = " + std::to_string(*options.lead);
  if (!options.view.since.empty()) {
    where += " AND C.DTA_CONTATO >= " + DataHoraPSql(parseIsoDate(options.view.since), dialect);
  }
  // clang-format off
  return "SELECT L.ID_LEAD_VW, L.EMPRESA, L.REVENDA, L.CONTATO, C.DTA_CONTATO, C.CLIENTE, "
         "       F.NOME, C.SITUACAO, L.INTEGRANDO "
         "  FROM CAC_LEAD_CONTATO L "
         "  LEFT JOIN CAC_CONTATO C ON C.EMPRESA = L.EMPRESA AND C.REVENDA = L.REVENDA "
         "                         AND C.CONTATO = L.CONTATO "
         "  LEFT JOIN FAT_CLIENTE F ON F.CLIENTE = C.CLIENTE "
         " WHERE 1 = 1" + where +
         " ORDER BY L.ID_LEAD_VW, L.EMPRESA, L.REVENDA";
  // clang-format on
}

const RegisterCommand registration(60, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<LeadsOptions>();
  CLI::App* command = app.add_subcommand(
      "leads", "the lead links with contact, customer, situation and integration flag");
  command->add_option("--lead", options->lead, "only this VW lead identifier");
  addViewOptions(*command, options->view, true);
  command->callback([options, &context] {
    const CommandStop stop("leads");
    const std::unique_ptr<SqlConnection> connection = context.openDatabase();
    const SqlRowSet rows = connection->query(leadsSql(*options, BuscaBanco(*connection)));
    ViewTable table({"ID_LEAD_VW", "EMPRESA", "REVENDA", "CONTATO", "DTA_CONTATO", "CLIENTE",
                     "NOME", "SITUACAO", "INTEGRANDO"},
                    {"NOME"});
    for (size_t i = 0; i < rows.rows.size(); ++i) table.add(rows, i);
    if (options->view.limit) table.keepNewest("DTA_CONTATO", *options->view.limit);
    if (stop.report(context)) return;
    table.print(std::cout, options->view.json, tableWidth(options->view));
  });
});

}  // namespace
}  // namespace vornleads::cli
