// The promise to the dealership, measured: no lead lost, none given two contacts, no accepted
// update sent twice, whatever the service or a crash does. Runs the intake and the update
// pipeline through every fault the sandbox offers and through processes killed at random
// moments, lets the service recover (further intake cycles, resend passes), and prints per
// fault: runs, leads or updates expected, delivered, lost, duplicated.
//
//   fault_matrix [RUNS] [BIN_DIR]   (RUNS of the killed-process rows, default 8; BIN_DIR: the
//                                    directory holding vornleads, vornleads-sandbox and
//                                    VornLeadsVW.dll, default ../bin beside this program)
//
// Everything goes through the programs as a dealership runs them: vornleads against an
// embedded database and vornleads-sandbox on a loopback port.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "vornleads/data/sql_connection.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

constexpr int kLeads = 10;              // leads per run
constexpr int kReceiveTimeoutMs = 400;  // the clients' wait for the next bytes
constexpr const char* kModes[] = {"drop", "malformed", "http500", "soapfault", "delay", "reject"};

std::string output(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  char buffer[4096];
  size_t read = 0;
  while ((read = fread(buffer, 1, sizeof buffer, pipe)) > 0) text.append(buffer, read);
  pclose(pipe);
  return text;
}

// One row of the table.
struct Row {
  std::string pipeline, fault;
  int runs = 0, expected = 0, delivered = 0, lost = 0, duplicated = 0;
};

// A fresh DMS database, a sandbox and a host directory: one dealership.
class Dealership {
 public:
  explicit Dealership(const fs::path& bin) : bin_(bin), scratch_("fault-matrix") {
    fs::create_symlink(fs::absolute(bin / "VornLeadsVW.dll"), scratch_.path() / "VornLeadsVW.dll");
    bench_support::ScratchDir empty("fault-matrix-leads");
    std::ofstream(empty.path() / "leads.json") << "[]";
    sandbox_ = std::make_unique<bench_support::Sandbox>(bin / "vornleads-sandbox",
                                                        empty.path() / "leads.json");
    root_ = sandbox_->url().substr(0, sandbox_->url().find('/', 8));
    if (run("init-db --sample >/dev/null") != 0) throw std::runtime_error("init-db failed");
  }

  // The command line of vornleads with this dealership's settings.
  std::string command(const std::string& arguments) const {
    return "env VORNLEADS_RECEIVE_TIMEOUT_MS=" + std::to_string(kReceiveTimeoutMs) + " " +
           (bin_ / "vornleads").string() + " --db " + database() + " --endpoint " +
           sandbox_->url() + " --home " + scratch_.path().string() + " " + arguments;
  }
  int run(const std::string& arguments) const {
    const int raw = std::system((command(arguments) + " 2>/dev/null").c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  }
  // Starts vornleads and kills it (SIGKILL) after `after`; true when it was still running.
  bool runKilled(const std::string& arguments, std::chrono::milliseconds after) const {
    const pid_t pid = fork();
    if (pid == 0) {
      execl("/bin/sh", "sh", "-c", ("exec " + command(arguments) + " >/dev/null 2>&1").c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    std::this_thread::sleep_for(after);
    const bool running = waitpid(pid, nullptr, WNOHANG) == 0;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    return running;
  }

  Json sandbox(const std::string& route, const Json& body = nullptr) const {
    const std::string url = root_ + "/sandbox/" + route;
    if (body.is_null()) return Json::parse(output("curl -s " + url));
    const fs::path file = scratch_.path() / "request.json";
    std::ofstream(file) << body.dump();
    return Json::parse(output("curl -s -X POST --data-binary @" + file.string() + " " + url));
  }

  std::string database() const { return "firebird:" + (scratch_.path() / "dms.fdb").string(); }

  // Every ID_LEAD_VW with its number of links.
  std::map<std::string, int> links() const {
    std::map<std::string, int> count;
    auto db = vornleads::OpenConnection(database());
    for (const auto& row : db->query("SELECT ID_LEAD_VW FROM CAC_LEAD_CONTATO").rows) {
      ++count[row.at(0).asString()];
    }
    return count;
  }
  vornleads::SqlRowSet query(const std::string& sql) const {
    return vornleads::OpenConnection(database())->query(sql);
  }

 private:
  fs::path bin_;
  bench_support::ScratchDir scratch_;
  std::unique_ptr<bench_support::Sandbox> sandbox_;
  std::string root_;
};

// Tomorrow at ten, so that the contacts are recent enough for their updates to be sent.
std::string tomorrow() {
  const std::time_t t = std::time(nullptr) + 24 * 3600;
  std::tm local{};
  localtime_r(&t, &local);
  char text[32];
  std::strftime(text, sizeof text, "%d/%m/%Y 10:00:00", &local);
  return text;
}

Json lead(int id) {
  const std::string n = std::to_string(id);
  return {{"IdLead", n},
          {"DealerNumber", "1234"},
          {"Nome", "Cliente " + n},
          {"CpfCnpj", "6" + std::string(10 - n.size(), '0') + n},
          {"Email", "f" + n + "@exemplo.com.br"},
          {"Ddd", 11},
          {"Telefone", 930000000 + id},
          {"Modelo", "GOL"},
          {"DataIntencao", tomorrow()},
          {"Preco", "55000,00"},
          {"Origem", "Site"},
          {"Status", 0}};
}

Json fault(const std::string& operation, const std::string& mode, int count) {
  return {{"operation", operation},
          {"mode", mode},
          {"codigo", 150},
          {"ms", 3 * kReceiveTimeoutMs},
          {"count", count}};
}

// Intake cycles until one reads nothing more (at most five): what a host's schedule does.
void recoverIntake(const Dealership& dms) {
  for (int i = 0; i < 5 && dms.run("intake --retry-delay 0 >/dev/null") != 0; ++i) {
  }
  dms.run("intake --retry-delay 0 >/dev/null");
}

// Counts the leads [first, first + kLeads) into the row: delivered when linked once and
// confirmed, duplicated when linked more than once, lost otherwise.
void countLeads(const Dealership& dms, int first, Row& row) {
  const auto links = dms.links();
  std::map<std::string, bool> confirmed;
  for (const auto& stored : dms.sandbox("leads")) {
    confirmed[stored["IdLead"].get<std::string>()] = stored["confirmed"].get<bool>();
  }
  for (int id = first; id < first + kLeads; ++id) {
    const std::string key = std::to_string(id);
    const int n = links.count(key) ? links.at(key) : 0;
    ++row.expected;
    if (n > 1) {
      ++row.duplicated;
    } else if (n == 1 && confirmed[key]) {
      ++row.delivered;
    } else {
      ++row.lost;
    }
  }
}

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

// How long `arguments` takes on this machine, run once (not counted).
std::chrono::milliseconds timed(const Dealership& dms, const std::string& arguments) {
  const auto start = std::chrono::steady_clock::now();
  dms.run(arguments);
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start);
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

// The contacts of a clean intake of the leads [first, first + kLeads).
std::vector<std::pair<int, int>> contactsOf(const Dealership& dms, int first) {
  Json leads = Json::array();
  for (int i = 0; i < kLeads; ++i) leads.push_back(lead(first + i));
  dms.sandbox("leads", leads);
  recoverIntake(dms);
  std::vector<std::pair<int, int>> contacts;
  for (const auto& row :
       dms.query("SELECT CONTATO, ID_LEAD_VW FROM CAC_LEAD_CONTATO WHERE ID_LEAD_VW >= " +
                 std::to_string(first) + " AND ID_LEAD_VW < " + std::to_string(first + kLeads))
           .rows) {
    contacts.emplace_back(static_cast<int>(row.at(0).asInteger()),
                          static_cast<int>(row.at(1).asInteger()));
  }
  return contacts;
}

std::string updateArguments(int contato, int lead) {
  return "update --empresa 1 --revenda 1 --contato " + std::to_string(contato) + " --lead " +
         std::to_string(lead) + " --usuario 12 --status 10 >/dev/null";
}

// Resend passes until nothing is left unsent (at most five), then counts the updates of the
// given leads: delivered when the sandbox took status 10 exactly once beyond the faulted
// calls, duplicated when more often, lost when never.
void recoverAndCountUpdates(const Dealership& dms, const std::vector<std::pair<int, int>>& sent,
                            const std::map<int, int>& faulted, Row& row) {
  for (int i = 0; i < 5; ++i) {
    dms.run("resend >/dev/null");
    if (dms.query("SELECT COUNT(*) FROM CAC_ATUALIZACOES_LEADVW WHERE ENVIOU = 'N'")
            .rows.at(0)
            .at(0)
            .asInteger() == 0)
      break;
  }
  std::map<int, int> received;
  for (const auto& update : dms.sandbox("updates")) {
    if (update["Status"].get<int>() == 10) ++received[std::stoi(update["IdLead"].dump())];
  }
  for (const auto& [contato, leadId] : sent) {
    const int accepted = received[leadId] - (faulted.count(leadId) ? faulted.at(leadId) : 0);
    ++row.expected;
    if (accepted > 1) {
      ++row.duplicated;
    } else if (accepted == 1) {
      ++row.delivered;
    } else {
      ++row.lost;
    }
  }
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
            << std::setw(6) << "lost" << std::setw(12) << "duplicated"
            << "\n";
  for (const Row& r : rows) {
    std::cout << std::left << std::setw(9) << r.pipeline << std::setw(32) << r.fault << std::right
              << std::setw(6) << r.runs << std::setw(10) << r.expected << std::setw(11)
              << r.delivered << std::setw(6) << r.lost << std::setw(12) << r.duplicated << "\n";
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
    print(rows);
    int bad = 0;
    for (const Row& r : rows) bad += r.lost + r.duplicated;
    return bad == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "fault_matrix: " << error.what() << "\n";
    return 2;
  }
}
