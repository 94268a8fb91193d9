// Shared set-up of the update and resend command tests: a sample DMS database, a sandbox of
// the test's own, a host directory holding VornLeadsVW.dll, and bin/vornleads run against
// them as a separate program.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "support/firebird_db.h"
#include "support/paths.h"
#include "support/sandbox_process.h"

namespace vornleads::test {

struct CliRun {
  int status = -1;
  std::string out;
  std::string err;
};

class FeedbackCliTest : public ::testing::Test {
 protected:
  using Json = SandboxProcess::Json;

  // A sandbox serving HTTPS when `tls` is given.
  explicit FeedbackCliTest(std::optional<SandboxTls> tls = std::nullopt)
      : db_(database_.connect()), sandbox_({}, std::chrono::seconds(30), std::move(tls)) {
    std::filesystem::create_symlink(binDir() / "VornLeadsVW.dll", home_ / "VornLeadsVW.dll");
  }

  // bin/vornleads with the test's database, sandbox (or `endpoint`) and host directory, and
  // `environment_` ("NAME=value ...") before it; arguments already quoted for the shell.
  CliRun vornleads(const std::string& arguments, const std::filesystem::path& home = {},
                   const std::string& endpoint = "") {
    const std::string command =
        environment_ + " " + (binDir() / "vornleads").string() + " --db " + database_.uri() +
        " --endpoint " + (endpoint.empty() ? sandbox_.url() : endpoint) + " --home " +
        (home.empty() ? home_.path() : home).string() + " " + arguments + " >" +
        (scratch_ / "out").string() + " 2>" + (scratch_ / "err").string();
    const int raw = std::system(command.c_str());
    CliRun run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = readFile(scratch_ / "out");
    run.err = readFile(scratch_ / "err");
    return run;
  }

  // Contact `contato` of branch 1.1, dated `diasAtras` days ago, linked to lead `lead`, which
  // the sandbox knows.
  void addLeadContact(int contato, int lead, int diasAtras = 3) {
    db_->execute(
        "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, "
        "USUARIO_ENCAMINHADO) VALUES (1, 1, " +
        std::to_string(contato) + ", CURRENT_TIMESTAMP - " + std::to_string(diasAtras) + ", 12)");
    db_->execute(
        "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
        "VALUES (1, 1, " +
        std::to_string(contato) + ", " + std::to_string(lead) + ", 'S')");
    sandbox_.addLeads(Json::array({{{"IdLead", std::to_string(lead)}, {"DealerNumber", "01234"}}}));
  }

  // ENVIOU, CODIGO_ERRO and DESCRICAO_ERRO of every journal row of a lead, one line each.
  std::string journal(int lead) {
    const SqlRowSet rows = db_->query(
        "SELECT SEQUENCIA, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO FROM CAC_ATUALIZACOES_LEADVW "
        "WHERE ID_LEAD_VW = " +
        std::to_string(lead) + " ORDER BY SEQUENCIA");
    std::string text;
    for (size_t i = 0; i < rows.rows.size(); ++i) {
      text += rows.value(i, "SEQUENCIA").asString() + " " + rows.value(i, "ENVIOU").asString() +
              " " +
              (rows.value(i, "CODIGO_ERRO").isNull() ? "null"
                                                     : rows.value(i, "CODIGO_ERRO").asString()) +
              " " + rows.value(i, "DESCRICAO_ERRO").asString() + "\n";
    }
    return text;
  }

  std::string environment_;
  TestDatabase database_{true};
  std::unique_ptr<SqlConnection> db_;
  SandboxProcess sandbox_;
  TempDir home_{"vornleads-cli-home"};
  TempDir scratch_{"vornleads-cli-run"};
};

}  // namespace vornleads::test
