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

// A lead item as the sandbox serves it, for dealer 1234 and the 10th of June 2025, with its
// members replaced by `changes`.
inline SandboxProcess::Json leadItem(
    int id, const SandboxProcess::Json& changes = SandboxProcess::Json::object()) {
  const std::string number = std::to_string(id);
  SandboxProcess::Json item = {{"IdLead", number},
                               {"DealerNumber", "1234"},
                               {"Nome", "Cliente " + number},
                               {"CpfCnpj", "4" + std::string(10 - number.size(), '0') + number},
                               {"Email", "c" + number + "@exemplo.com.br"},
                               {"Ddd", 11},
                               {"Telefone", 910000000 + id},
                               {"Modelo", "GOL"},
                               {"DataIntencao", "10/06/2025 10:00:00"},
                               {"Preco", "55000,00"},
                               {"Origem", "Site"},
                               {"Status", 0}};
  for (const auto& [name, change] : changes.items()) item[name] = change;
  return item;
}

class FeedbackCliTest : public ::testing::Test {
 protected:
  using Json = SandboxProcess::Json;

  // A sandbox serving HTTPS when `tls` is given.
  explicit FeedbackCliTest(std::optional<SandboxTls> tls = std::nullopt)
      : db_(database_.connect()), sandbox_({}, std::chrono::seconds(30), std::move(tls)) {
    std::filesystem::create_symlink(binDir() / "VornLeadsVW.dll", home_ / "VornLeadsVW.dll");
  }

  // bin/vornleads with the test's database, sandbox (or `endpoint`) and host directory;
  // arguments already quoted for the shell.
  CliRun vornleads(const std::string& arguments, const std::filesystem::path& home = {},
                   const std::string& endpoint = "") {
    return vornleadsBare("--db " + database_.uri() + " --endpoint " +
                         (endpoint.empty() ? sandbox_.url() : endpoint) + " --home " +
                         (home.empty() ? home_.path() : home).string() + " " + arguments);
  }

  // bin/vornleads with nothing but the arguments given, after `environment_`
  // ("NAME=value ...").
  CliRun vornleadsBare(const std::string& arguments) {
    const std::string command = environment_ + " " + (binDir() / "vornleads").string() + " " +
                                arguments + " >" + (scratch_ / "out").string() + " 2>" +
                                (scratch_ / "err").string();
    const int raw = std::system(command.c_str());
    CliRun run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = readFile(scratch_ / "out");
    run.err = readFile(scratch_ / "err");
    return run;
  }

  // Contact `contato` of branch 1.1, dated `diasAtras` days ago, linked to lead `lead`, which
  // the sandbox knows by its number (and dealer) only, when `inSandbox`.
  void addLeadContact(int contato, int lead, int diasAtras = 3, bool inSandbox = true) {
    db_->execute(
        "INSERT INTO CAC_CONTATO (EMPRESA, REVENDA, CONTATO, DTA_CONTATO, "
        "USUARIO_ENCAMINHADO) VALUES (1, 1, " +
        std::to_string(contato) + ", CURRENT_TIMESTAMP - " + std::to_string(diasAtras) + ", 12)");
    db_->execute(
        "INSERT INTO CAC_LEAD_CONTATO (EMPRESA, REVENDA, CONTATO, ID_LEAD_VW, INTEGRANDO) "
        "VALUES (1, 1, " +
        std::to_string(contato) + ", " + std::to_string(lead) + ", 'S')");
    if (inSandbox) {
      sandbox_.addLeads(
          Json::array({{{"IdLead", std::to_string(lead)}, {"DealerNumber", "01234"}}}));
    }
  }

  // A journal row of `lead` not yet sent, dated yesterday, by user 12.
  void addUnsentRow(int lead, int sequencia, int status, const std::string& reagendamento = "NULL",
                    const std::string& descricao = "") {
    db_->execute(
        "INSERT INTO CAC_ATUALIZACOES_LEADVW (ID_LEAD_VW, SEQUENCIA, STATUS_LEAD, "
        "DTA_REAGENDAMENTO, DTA_ATUALIZACAO, ENVIOU, CODIGO_ERRO, DESCRICAO_ERRO, USUARIO) "
        "VALUES (" +
        std::to_string(lead) + ", " + std::to_string(sequencia) + ", " + std::to_string(status) +
        ", " + reagendamento + ", CURRENT_TIMESTAMP - 1, 'N', 297, '" + descricao + "', 12)");
  }

  int64_t count(const std::string& sql) { return db_->query(sql).rows[0][0].asInteger(); }

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
