// vornleads resend: one pass over the unsent status updates (iniciaAtualizacao) of the --db
// database, through the library edition VornLeadsVW.dll of the host directory. Ends with a
// one-line summary; when a worker's error ends the pass early, the summary of what was done
// comes first and the error makes the exit status 1. SIGINT or SIGTERM ends the pass after the
// row in hand: the summary, then the stop line and exit status 1.
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "command.h"
#include "command_stop.h"
#include "summaries.h"
#include "terminal_progress.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/feedback/atualiza_leads_nao_enviados.h"
#include "vornleads/package/leads_library.h"

namespace vornleads::cli {
namespace {

std::string resumo(const ResendSummary& s) { return "resend: " + resendCounts(s); }

const RegisterCommand registration(40, [](CLI::App& app, CommandContext& context) {
  CLI::App* command =
      app.add_subcommand("resend", "one pass over the unsent updates (iniciaAtualizacao)");
  command->callback([&context] {
    const CommandStop stop("resend");
    const std::unique_ptr<SqlConnection> connection = context.openDatabase();
    const LeadsLibrary library;
    if (stop.report(context)) return;
    TAtualizaLeadsNaoEnviados pass(*connection);
    pass.IntegraLeadsVW = library.bind();
    const auto progress = std::make_shared<TerminalProgress>("resend: update", stop.signal().get());
    pass.setRunControl(progress);
    const LogFailureReport logFailures;
    pass.aoFalharLinha = [&progress](const std::string& linha) {
      progress->clear();
      std::cerr << "vornleads: resend: " << oneLine(linha) << std::endl;
    };
    try {
      pass.iniciaAtualizacao();
      progress->clear();
    } catch (const std::exception&) {
      progress->clear();
      std::cout << resumo(pass.summary()) << "\n";
      throw;
    }
    std::cout << resumo(pass.summary()) << std::endl;
    stop.report(context);
  });
});

}  // namespace
}  // namespace vornleads::cli
