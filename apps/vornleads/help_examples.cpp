// An example at the foot of every command's --help. Registered last, so that every command
// exists when the examples are attached; a command not built in is skipped.
#include <string>
#include <utility>

#include "command.h"

namespace vornleads::cli {
namespace {

const std::pair<const char*, const char*> kExamples[] = {
    {"init-db", "vornleads --db /var/lib/vornleads/dms.fdb init-db --sample"},
    {"intake", "vornleads --db /var/lib/vornleads/dms.fdb --home /opt/vornleads intake"},
    {"update",
     "vornleads update --empresa 1 --revenda 1 --contato 10 --lead 4711 --usuario 12 "
     "--status 9 --reagendamento \"30/06/2026 10:00:00\""},
    {"resend", "vornleads --db /var/lib/vornleads/dms.fdb resend"},
    {"call",
     "echo '{\"DNs\":\"1234\",\"Status\":\"0\",\"Nome\":\"Loja\"}' | "
     "vornleads call BuscaLeadsStatus -"},
    {"serve",
     "vornleads --db /var/lib/vornleads/dms.fdb --home /opt/vornleads serve "
     "--intake-every 300 --resend-every 900 --status-port 9100"},
    {"leads", "vornleads leads --since 2026-01-01 --limit 20"},
    {"updates", "vornleads updates --unsent --lead 4711 --wide"},
    {"log", "vornleads log --day 2026-03-07 --lead 4711 --json"},
    {"check", "sudo -u vornleads vornleads check"},
};

const RegisterCommand registration(1000, [](CLI::App& app, CommandContext& /*context*/) {
  app.footer("Example:\n  vornleads --db dms.fdb leads --json\nSee COMMAND --help for more.");
  for (const auto& [name, example] : kExamples) {
    CLI::App* command = nullptr;
    try {
      command = app.get_subcommand(name);
    } catch (const CLI::OptionNotFound&) {
      continue;
    }
    command->footer(std::string("Example:\n  ") + example);
  }
});

}  // namespace
}  // namespace vornleads::cli
