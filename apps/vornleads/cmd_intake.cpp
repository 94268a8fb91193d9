// vornleads intake [--retry-delay MS]: one intake cycle (buscarLeads) on the --db database,
// through the library edition VornLeadsVW.dll of the host directory. SIGINT or SIGTERM ends
// it after the lead in hand (the pause before a repeated cycle cut short): the summary of what
// was done, then the stop line and exit status 1.
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "command.h"
#include "command_stop.h"
#include "summaries.h"
#include "terminal_progress.h"
#include "vornleads/data/aplicacao.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/package/leads_library.h"

namespace vornleads::cli {
namespace {

struct IntakeOptions {
  int retryDelay = 30000;
};

std::string resumo(const TotaisIntake& t) {
  return "intake: " + intakeCounts(t) + ", " + std::to_string(t.ciclos) +
         (t.ciclos == 1 ? " cycle" : " cycles");
}

const RegisterCommand registration(20, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<IntakeOptions>();
  CLI::App* command =
      app.add_subcommand("intake", "one intake cycle (buscarLeads) through the library edition");
  CLI::Option* retryDelay = addRetryDelayOption(*command, options->retryDelay);
  command->callback([options, retryDelay, &context] {
    options->retryDelay = retryDelayIn(*retryDelay, options->retryDelay, context.settings);
    const CommandStop stop("intake");
    const std::unique_ptr<SqlConnection> connection = context.openDatabase();
    const LeadsLibrary library;
    if (stop.report(context)) return;
    TAplicacaoLibrary aplicacao;
    TLeadsVWMetodosClass worker(aplicacao, *connection);
    worker.IntegraLeadsVW = library.bind();
    worker.setIntervaloRepeticao(options->retryDelay);
    worker.setPause(stop.signal());
    const auto progress = std::make_shared<TerminalProgress>("intake: lead", stop.signal().get());
    worker.setRunControl(progress);
    const LogFailureReport logFailures;
    worker.aoFalharLead = [&progress](const FalhaLead& falha) {
      progress->clear();
      std::cerr << "vornleads: intake: " << leadFailureLine(falha) << std::endl;
    };
    try {
      worker.buscarLeads();
      progress->clear();
    } catch (const std::exception&) {
      progress->clear();
      // The leads committed before the failure stay committed: say what was done, then fail.
      if (worker.totais().leadsLidos > 0) std::cout << resumo(worker.totais()) << "\n";
      throw;
    }
    std::cout << resumo(worker.totais()) << std::endl;
    stop.report(context);
  });
});

}  // namespace
}  // namespace vornleads::cli
