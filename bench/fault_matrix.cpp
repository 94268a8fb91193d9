// The promise to the dealership, measured: no lead lost, none given two contacts, no accepted
// update sent twice, whatever the service or a crash does. Runs the intake and the update
// pipeline through every fault the sandbox offers and through processes killed at random
// moments, through a database server killed under them and a row another session holds, lets
// the service recover (further intake cycles, resend passes), and prints per fault: runs, leads
// or updates expected, delivered, lost, duplicated, and programs that aborted.
//
//   fault_matrix [RUNS] [BIN_DIR]   (RUNS of the killed-process rows, default 8; BIN_DIR: the
//                                    directory holding vornleads, vornleads-sandbox and
//                                    VornLeadsVW.dll, default ../bin beside this program)
//
// Everything goes through the programs as a dealership runs them: vornleads against an
// embedded database (or a Firebird server of its own for the server rows) and
// vornleads-sandbox on a loopback port.
#include <iomanip>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "fault_dealership.h"
#include "fault_database.h"

namespace {

using namespace fault_matrix;

Row intakeFault(const fs::path& bin, const std::string& operation, const std::string& mode) {
  Row row{"intake", mode + " on " + operation};
  Dealership dms(bin);
  dms.sandbox("leads", [] {
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) leads.push_back(lead(1000 + i));
    return leads;
  }());
  // The fault meets the first calls of the cycle; the cycle repeats, then the schedule goes on.
  dms.sandbox("faults", fault(operation, mode, 3));
  dms.run("intake --retry-delay 0 >/dev/null");
  recoverIntake(dms);
  row.runs = 1;
  countLeads(dms, 1000, row);
  return row;
}

Row intakeKilled(const fs::path& bin, int runs, std::mt19937& random) {
  Row row{"intake", "process killed mid-cycle"};
  Dealership dms(bin);
  Json warmUp = Json::array();
  for (int i = 0; i < kLeads; ++i) warmUp.push_back(lead(1900 + i));
  dms.sandbox("leads", warmUp);
  // The kill lands anywhere from the process start to the end of a whole cycle.
  std::uniform_int_distribution<int> moment(
      0, static_cast<int>(timed(dms, "intake --retry-delay 0 >/dev/null").count()));
  for (int r = 0; r < runs; ++r) {
    const int first = 2000 + 100 * r;
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) leads.push_back(lead(first + i));
    dms.sandbox("leads", leads);
    row.runs +=
        dms.runKilled("intake --retry-delay 0", std::chrono::milliseconds(moment(random))) ? 1 : 0;
    recoverIntake(dms);
    countLeads(dms, first, row);
  }
  return row;
}

// Three intakes started together on the same leads, as several hosts' schedules may do.
Row intakesTogether(const fs::path& bin, int runs) {
  Row row{"intake", "three intakes at once"};
  Dealership dms(bin);
  for (int r = 0; r < runs; ++r) {
    const int first = 5000 + 100 * r;
    Json leads = Json::array();
    for (int i = 0; i < kLeads; ++i) leads.push_back(lead(first + i));
    dms.sandbox("leads", leads);
    const std::string one = "(" + dms.command("intake --retry-delay 0") + " >/dev/null 2>&1) & ";
    std::system(("(" + one + one + one + "wait)").c_str());
    ++row.runs;
    recoverIntake(dms);
    countLeads(dms, first, row);
  }
  return row;
}

Row updateFault(const fs::path& bin, const std::string& mode) {
  Row row{"update", mode + " on AtualizaLeads"};
  Dealership dms(bin);
  const auto contacts = contactsOf(dms, 3000);
  dms.sandbox("faults", fault("AtualizaLeads", mode, static_cast<int>(contacts.size())));
  std::map<int, int> faulted;
  for (const auto& [contato, leadId] : contacts) {
    dms.run(updateArguments(contato, leadId));
    faulted[leadId] = 1;  // every first send meets the fault
  }
  row.runs = 1;
  recoverAndCountUpdates(dms, contacts, faulted, row);
  return row;
}

Row updateKilled(const fs::path& bin, std::mt19937& random) {
  Row row{"update", "process killed mid-update"};
  Dealership dms(bin);
  auto contacts = contactsOf(dms, 4000);
  std::uniform_int_distribution<int> moment(
      0, static_cast<int>(
             timed(dms, updateArguments(contacts.back().first, contacts.back().second)).count()));
  contacts.pop_back();  // its update was the measure
  std::vector<std::pair<int, int>> journalled;
  for (const auto& [contato, leadId] : contacts) {
    row.runs +=
        dms.runKilled(updateArguments(contato, leadId), std::chrono::milliseconds(moment(random)))
            ? 1
            : 0;
    // An update whose process died before its journal row was committed was never taken in:
    // its host sees the failure and decides. Only journalled updates are owed to VW.
    if (!dms.query("SELECT 1 FROM CAC_ATUALIZACOES_LEADVW WHERE ID_LEAD_VW = " +
                   std::to_string(leadId))
             .empty()) {
      journalled.emplace_back(contato, leadId);
    }
  }
  recoverAndCountUpdates(dms, journalled, {}, row);
  return row;
}

void print(const std::vector<Row>& rows) {
  std::cout << std::left << std::setw(9) << "pipeline" << std::setw(32) << "fault" << std::right
            << std::setw(6) << "runs" << std::setw(10) << "expected" << std::setw(11) << "delivered"
            << std::setw(6) << "lost" << std::setw(12) << "duplicated" << std::setw(8) << "aborts"
            << "\n";
  for (const Row& r : rows) {
    std::cout << std::left << std::setw(9) << r.pipeline << std::setw(32) << r.fault << std::right
              << std::setw(6) << r.runs << std::setw(10) << r.expected << std::setw(11)
              << r.delivered << std::setw(6) << r.lost << std::setw(12) << r.duplicated
              << std::setw(8) << r.aborted << "\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 8;
    const fs::path bin = argc > 2 ? fs::path(argv[2])
                                  : fs::read_symlink("/proc/self/exe").parent_path() / ".." / "bin";
    std::mt19937 random(20261123);
    std::vector<Row> rows;
    for (const char* operation : {"BuscaLeadsStatus", "AtualizaLeads"}) {
      for (const char* mode : kModes) rows.push_back(intakeFault(bin, operation, mode));
    }
    rows.push_back(intakeKilled(bin, runs, random));
    rows.push_back(intakesTogether(bin, runs));
    for (const char* mode : kModes) rows.push_back(updateFault(bin, mode));
    rows.push_back(updateKilled(bin, random));
#ifdef VORNLEADS_FAULT_MATRIX_SERVER
    rows.push_back(intakeServerKilled(bin, runs, random));
    rows.push_back(updateServerKilled(bin, random));
#endif
    rows.push_back(intakeRowHeld(bin, runs));
    print(rows);
    int bad = 0;
    for (const Row& r : rows) bad += r.lost + r.duplicated + r.aborted;
    return bad == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "fault_matrix: " << error.what() << "\n";
    return 2;
  }
}
