// The rows of the fault matrix where the database misbehaves: a Firebird server killed
// (SIGKILL) and started again while vornleads works on it, and a row another session holds
// while the intake needs it.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fault_dealership.h"
#ifdef VORNLEADS_FAULT_MATRIX_SERVER
#include "support/firebird_server.h"
#endif

namespace fault_matrix {

#ifdef VORNLEADS_FAULT_MATRIX_SERVER

// Starts `arguments`, kills the server after a random moment of `span`, starts it again and
// waits for the program; counts an abort into the row.
inline void killServerUnder(const Dealership& dms, vornleads::test::FirebirdServer& server,
                            const std::string& arguments, std::chrono::milliseconds span,
                            std::mt19937& random, Row& row) {
  std::uniform_int_distribution<long> moment(0, span.count());
  const pid_t pid = dms.spawn(arguments);
  std::this_thread::sleep_for(std::chrono::milliseconds(moment(random)));
  server.kill();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  server.start();
  ++row.runs;
  if (Dealership::finish(pid) == 128 + SIGABRT) ++row.aborted;
}

inline Row intakeServerKilled(const fs::path& bin, int runs, std::mt19937& random) {
  Row row{"intake", "database server killed"};
  vornleads::test::FirebirdServer server;
  const Dealership dms(bin, server.createDatabase("dms.fdb"));
  Json warmUp = Json::array();
  for (int i = 0; i < kLeads; ++i) warmUp.push_back(lead(6900 + i));
  dms.sandbox("leads", warmUp);
  const auto span = timed(dms, "intake --retry-delay 0 >/dev/null");
  for (int r = 0; r < runs; ++r) {
    const int first = 7000 + 100 * r;
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) leads.push_back(lead(first + i));
    dms.sandbox("leads", leads);
    killServerUnder(dms, server, "intake --retry-delay 0", span, random, row);
    recoverIntake(dms);
    countLeads(dms, first, row);
  }
  return row;
}

inline Row updateServerKilled(const fs::path& bin, std::mt19937& random) {
  Row row{"update", "database server killed"};
  vornleads::test::FirebirdServer server;
  const Dealership dms(bin, server.createDatabase("dms.fdb"));
  auto contacts = contactsOf(dms, 7500);
  const auto span = timed(dms, updateArguments(contacts.back().first, contacts.back().second));
  contacts.pop_back();  // its update was the measure
  std::vector<std::pair<int, int>> journalled;
  for (const auto& [contato, leadId] : contacts) {
    killServerUnder(dms, server, updateArguments(contato, leadId), span, random, row);
    // As for a killed process: only journalled updates are owed to VW.
    if (!dms.query("SELECT 1 FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = " +
                   std::to_string(leadId))
             .empty())
      journalled.emplace_back(contato, leadId);
  }
  recoverAndCountUpdates(dms, journalled, {}, row);
  return row;
}

#endif  // VORNLEADS_FAULT_MATRIX_SERVER

// A DMS user registering a customer holds an uncommitted FAT_CLIENTE row at the code the
// intake draws next, and leaves the screen after a few seconds.
inline Row intakeRowHeld(const fs::path& bin, int runs) {
  Row row{"intake", "customer row held 3 s"};
  const Dealership dms(bin);
  for (int r = 0; r < runs; ++r) {
    const int first = 8000 + 100 * r;
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) leads.push_back(lead(first + i));
    dms.sandbox("leads", leads);
    auto holder = vornleads::OpenConnection(dms.database());
    const int64_t next =
        std::max(holder->query("SELECT COALESCE(MAX(CLIENTE), 0) + 1 FROM FAT_CLIENTE")
                     .rows.at(0)
                     .at(0)
                     .asInteger(),
                 holder
                     ->query("SELECT COALESCE(MAX(PROXIMO_NUMERO), 1) FROM GER_NUMERADOR WHERE "
                             "NUMERADOR = 'CLIENTE' AND TABELA = 'FAT_CLIENTE'")
                     .rows.at(0)
                     .at(0)
                     .asInteger());
    holder->beginTransaction();
    holder->execute("INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (" + std::to_string(next) +
                    ", 'CADASTRO EM ABERTO')");
    const pid_t pid = dms.spawn("intake --retry-delay 0");
    std::this_thread::sleep_for(std::chrono::seconds(3));
    holder->rollback();
    ++row.runs;
    if (Dealership::finish(pid) == 128 + SIGABRT) ++row.aborted;
    recoverIntake(dms);
    countLeads(dms, first, row);
  }
  return row;
}

}  // namespace fault_matrix
