// vornleads update: one status update of a lead contact (realizaAtualizacao) on the --db
// database, sent through the library edition VornLeadsVW.dll of the host directory.
//
// Standard output: the reply JSON (VW's, the library edition's own answer when VW could not be
// reached, or the local answer when the update is not part of the integration); nothing when
// the update was journalled but not sent. Standard error: one line naming the lead and the
// contact and saying what became of the update: "sent" whenever VW accepted it (whatever
// else failed beside, such as its log entry, which is reported on a line of its own),
// "rejected by VW", or "not sent" with the reason (journalled for resend to retry).
// Exit status: 0 when VW accepted it or it is answered locally with code 0; 1 otherwise, and
// when the update raised an error. Rejections are reported to the branch's users on standard
// error, this host's message box.
// SIGINT or SIGTERM lets the update in hand finish (sent and journalled, or journalled
// unsent), then ends the command with the stop line and exit status 1; before the update has
// begun, nothing is sent or journalled.
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "command.h"
#include "command_stop.h"
#include "summaries.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"
#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/package/leads_library.h"

namespace vornleads::cli {
namespace {

struct UpdateOptions {
  TParametroPreparaAtualizaLeadVW parametros;
};

// The journalled reason ends with a line break of its own.
std::string semQuebraFinal(std::string texto) {
  while (!texto.empty() && (texto.back() == '\n' || texto.back() == '\r')) texto.pop_back();
  return texto;
}

void avisaUsuario(int32_t, int32_t destino, const std::string& assunto, const std::string& texto) {
  std::cerr << "vornleads: message to user " << destino << ": " << assunto << ": " << texto << "\n";
}

const RegisterCommand registration(30, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<UpdateOptions>();
  TParametroPreparaAtualizaLeadVW& p = options->parametros;
  CLI::App* command = app.add_subcommand(
      "update", "one status update of a lead contact (realizaAtualizacao); prints the reply JSON");
  command->add_option("--empresa", p.empresa, "company")->required();
  command->add_option("--revenda", p.revenda, "branch")->required();
  command->add_option("--contato", p.contato, "CRM contact number")->required();
  command->add_option("--lead", p.idLead, "VW lead identifier")->required();
  command->add_option("--usuario", p.usuarioAtualizacao, "DMS user who made the change")
      ->required();
  command->add_option("--status", p.codigoAtualizacao, "new VW lead status (9: rescheduling)")
      ->required();
  command->add_option("--reagendamento", p.dataReagendamento,
                      "new appointment, dd/mm/yyyy hh:nn:ss (status 9)");
  CLI::Option* resend =
      command->add_flag("--resend", p.reenvio, "resend of the journal row --sequencia");
  CLI::Option* sequencia =
      command->add_option("--sequencia", p.sequenciaReenvio, "journal sequence to resend");
  CLI::Option* data = command->add_option("--data-atualizacao", p.dataAtualizacaoReenvio,
                                          "date of the original change, dd/mm/yyyy hh:nn:ss");
  resend->needs(sequencia)->needs(data);
  sequencia->needs(resend);
  data->needs(resend);

  command->callback([options, &context] {
    const CommandStop stop("update");
    const std::unique_ptr<SqlConnection> connection = context.openDatabase();
    const LeadsLibrary library;
    if (stop.report(context)) return;
    TAtualizaLeadsVW worker(*connection);
    worker.IntegraLeadsVW = library.bind();
    worker.envioExternoMensagem = avisaUsuario;
    // The outcome line first; the stop line, when a signal came, after it.
    [&] {
      const LogFailureReport logFailures;
      const TParametroPreparaAtualizaLeadVW& p = options->parametros;
      const std::string update = "update of lead " + std::to_string(p.idLead) + " (contato " +
                                 std::to_string(p.empresa) + "." + std::to_string(p.revenda) + "." +
                                 std::to_string(p.contato) + ")";
      std::optional<TRetornoAtualizaLeadClass> resposta;
      try {
        resposta = worker.realizaAtualizacao(options->parametros);
      } catch (const std::exception& error) {
        throw VornError(update + ": " + error.what());
      }
      if (resposta) std::cout << resposta->AsJSON() << "\n";
      switch (worker.desfecho()) {
        case TAtualizaLeadsVW::Desfecho::Aceito:
          std::cerr << "vornleads: " << update << " sent, journal row " << p.sequenciaReenvio << "\n";
          return;
        case TAtualizaLeadsVW::Desfecho::Recusado:
          std::cerr << "vornleads: " << update << " rejected by VW: código "
                    << resposta->Status->Codigo << ": " << oneLine(resposta->Status->Descricao)
                    << "\n";
          context.exitCode = 1;
          return;
        case TAtualizaLeadsVW::Desfecho::NaoEnviado:
          break;
      }
      if (!worker.usaIntegracao() && resposta && resposta->Status) {
        // Answered locally: not part of the integration, nothing journalled.
        if (resposta->Status->Codigo > 0) {
          std::cerr << "vornleads: " << update
                    << " not sent: " << oneLine(resposta->Status->Descricao) << "\n";
          context.exitCode = 1;
        }
        return;
      }
      std::string motivo = semQuebraFinal(worker.mensagemErro());
      if (motivo.empty() && resposta && resposta->Status) motivo = resposta->Status->Descricao;
      std::cerr << "vornleads: " << update << " journalled, not sent: " << oneLine(motivo) << "\n";
      context.exitCode = 1;
    }();
    stop.report(context);
  });
});

}  // namespace
}  // namespace vornleads::cli
