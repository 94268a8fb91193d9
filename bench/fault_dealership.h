// One dealership of the fault matrix (a DMS database, a sandbox, a host directory), the leads it
// is given and the counting of what came of them: what every row of the matrix shares.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench_support.h"
#include "vornleads/db/sql_connection.h"

namespace fault_matrix {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int kLeads = 10;              // leads per run
constexpr int kReceiveTimeoutMs = 400;  // the clients' wait for the next bytes
constexpr const char* kModes[] = {"drop", "malformed", "http500", "soapfault", "delay", "reject"};

inline std::string output(const std::string& command) {
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
  int aborted = 0;  // programs that ended by an abort (SIGABRT) instead of an exit
};

// A fresh DMS database, a sandbox and a host directory: one dealership.
class Dealership {
 public:
  // database: a URI to work on (created elsewhere with the sample branch); by default an
  // embedded file of its own made with init-db --sample.
  explicit Dealership(const fs::path& bin, std::string database = "")
      : bin_(bin), database_(std::move(database)), scratch_("fault-matrix") {
    fs::create_symlink(fs::absolute(bin / "VornLeadsVW.dll"), scratch_.path() / "VornLeadsVW.dll");
    bench_support::ScratchDir empty("fault-matrix-leads");
    std::ofstream(empty.path() / "leads.json") << "[]";
    sandbox_ = std::make_unique<bench_support::Sandbox>(bin / "vornleads-sandbox",
                                                        empty.path() / "leads.json");
    root_ = sandbox_->url().substr(0, sandbox_->url().find('/', 8));
    if (database_.empty() && run("init-db --sample >/dev/null") != 0)
      throw std::runtime_error("init-db failed");
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
  // Starts vornleads in the background, its output thrown away.
  pid_t spawn(const std::string& arguments) const {
    const pid_t pid = fork();
    if (pid == 0) {
      execl("/bin/sh", "sh", "-c", ("exec " + command(arguments) + " >/dev/null 2>&1").c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    return pid;
  }
  // The exit status of a spawned vornleads, 128 + the signal that ended it.
  static int finish(pid_t pid) {
    int raw = 0;
    waitpid(pid, &raw, 0);
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  }
  // Starts vornleads and kills it (SIGKILL) after `after`; true when it was still running.
  bool runKilled(const std::string& arguments, std::chrono::milliseconds after) const {
    const pid_t pid = spawn(arguments);
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

  std::string database() const {
    return database_.empty() ? "firebird:" + (scratch_.path() / "dms.fdb").string() : database_;
  }

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
  std::string database_;
  bench_support::ScratchDir scratch_;
  std::unique_ptr<bench_support::Sandbox> sandbox_;
  std::string root_;
};

// Tomorrow at ten, so that the contacts are recent enough for their updates to be sent.
inline std::string tomorrow() {
  const std::time_t t = std::time(nullptr) + 24 * 3600;
  std::tm local{};
  localtime_r(&t, &local);
  char text[32];
  std::strftime(text, sizeof text, "%d/%m/%Y 10:00:00", &local);
  return text;
}

inline Json lead(int id) {
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

inline Json fault(const std::string& operation, const std::string& mode, int count) {
  return {{"operation", operation},
          {"mode", mode},
          {"codigo", 150},
          {"ms", 3 * kReceiveTimeoutMs},
          {"count", count}};
}

// Intake cycles until one reads nothing more (at most five): what a host's schedule does.
inline void recoverIntake(const Dealership& dms) {
  for (int i = 0; i < 5 && dms.run("intake --retry-delay 0 >/dev/null") != 0; ++i) {
  }
  dms.run("intake --retry-delay 0 >/dev/null");
}

// Counts the leads [first, first + kLeads) into the row: delivered when linked once and
// confirmed, duplicated when linked more than once, lost otherwise.
inline void countLeads(const Dealership& dms, int first, Row& row) {
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

// How long `arguments` takes on this machine, run once (not counted).
inline std::chrono::milliseconds timed(const Dealership& dms, const std::string& arguments) {
  const auto start = std::chrono::steady_clock::now();
  dms.run(arguments);
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start);
}

// The contacts of a clean intake of the leads [first, first + kLeads).
inline std::vector<std::pair<int, int>> contactsOf(const Dealership& dms, int first) {
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

inline std::string updateArguments(int contato, int lead) {
  return "update --empresa 1 --revenda 1 --contato " + std::to_string(contato) + " --lead " +
         std::to_string(lead) + " --usuario 12 --status 10 >/dev/null";
}

// Resend passes until nothing is left unsent (at most five), then counts the updates of the
// given leads: delivered when the sandbox took status 10 exactly once beyond the faulted
// calls, duplicated when more often, lost when never.
inline void recoverAndCountUpdates(const Dealership& dms, const std::vector<std::pair<int, int>>& sent,
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

}  // namespace fault_matrix
