// Intake throughput: one intake cycle (TLeadsVWMetodosClass::buscarLeads through the library
// edition and the sandbox on loopback) over 1,000 and 5,000 new leads into a fresh embedded
// Firebird database, beside the very same SQL statements (recorded during the cycle with their
// transactions, those of the record counters on the connection's autonomous() included: all the
// SQL an intake must run) replayed directly on another fresh database.
//
//   intake_bench [--sizes 1000,5000] [--bin DIR] [--async] [--home DIR]
//       --sizes: lead counts; --bin: the directory holding vornleads-sandbox and VornLeadsVW.dll
//       (default ../bin beside this program); --async: the databases write asynchronously
//       (gfix -write async) instead of the default forced writes, which on most disks make each
//       commit cost far more than everything else;
//       --home DIR: the host directory (log files, VornLeadsVW.dll), by default beside the
//       databases in a scratch directory under TMPDIR
//
// Printed per size: leads per second, the time split (bridge calls, SQL, the rest), the ratio
// of the intake's time per lead to the direct statements' (target <= 1.2), and the transactions
// the database started per lead on each side (Firebird's own count: every one a commit at the
// disk with forced writes); at the end the ratio of time per lead between the largest and the
// smallest size (target <= 1.1).
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "bench_support.h"
#include "statement_recorder.h"
#include "vornleads/data/aplicacao.h"
#include "vornleads/db/schema.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/package/leads_library.h"

namespace {

namespace fs = std::filesystem;
using bench_support::RecordingForwarder;
using bench_support::Sandbox;
using bench_support::ScratchDir;
using bench_support::Shape;
using bench_support::since;
using bench_support::Steady;
using bench_support::transactionsStarted;

// `count` new leads of dealer number `dealer`, each with a customer of its own.
void writeLeads(std::ostream& out, int first, int count, const std::string& dealer) {
  for (int id = first; id < first + count; ++id) {
    const std::string n = std::to_string(id);
    out << (id == first ? "" : ",") << R"({"IdLead":")" << n << R"(","DealerNumber":")" << dealer
        << R"(","Nome":"Cliente )" << n << R"(","CpfCnpj":"4)" << std::string(10 - n.size(), '0')
        << n << R"(","Email":"c)" << n << R"(@exemplo.com.br","Ddd":11,"Telefone":)"
        << 910000000 + id << R"(,"Modelo":"GOL","DataIntencao":"10/06/2025 10:00:00",)"
        << R"("Preco":"55000,00","Origem":"Site","Mensagem":"Quero um test drive",)"
        << R"("Showroom":"Centro","PreferenciaContato":"WhatsApp","Status":0})";
  }
}

struct Run {
  int leads = 0;
  double intake = 0;
  double bridge = 0;
  double sql = 0;
  double direct = 0;
  int64_t intakeCommits = 0;   // transactions the database started during the intake
  int64_t directCommits = 0;   // and during the replay
  int64_t writingCommits = 0;  // of the recorded transactions that wrote (both sides alike)
  std::map<std::string, Shape> shapes;  // of the direct replay
};

// Firebird writes every changed page to disk synchronously at each commit ("forced writes",
// the default of a new database); with asynchronous writes the disk leaves the figures.
bool gEscritaAssincrona = false;

// A fresh sample database whose dealership has the given dealer number.
std::unique_ptr<vornleads::SqlConnection> freshDatabase(const fs::path& file,
                                                        const std::string& dealer) {
  vornleads::CreateDatabase(file.string(), true);
  if (gEscritaAssincrona) {
    const std::string gfix = "gfix -user SYSDBA -write async '" + file.string() + "'";
    if (std::system(gfix.c_str()) != 0) throw std::runtime_error("failed: " + gfix);
  }
  auto db = vornleads::OpenConnection(file.string());
  db->execute("UPDATE VWB_PARAMETRO SET NUMERO_DN = '" + dealer + "'");
  return db;
}

Run measure(const fs::path& dir, const vornleads::TIntegraLeadsVW& bridge, int leads,
            const std::string& dealer) {
  Run run;
  run.leads = leads;
  auto db = freshDatabase(dir / ("intake-" + dealer + ".fdb"), dealer);
  RecordingForwarder recorder(*db);

  vornleads::TAplicacaoLibrary aplicacao;
  vornleads::TLeadsVWMetodosClass worker(aplicacao, recorder);
  worker.IntegraLeadsVW = [&bridge, &run](int32_t servico, const vornleads::AnsiString& json) {
    const auto start = Steady::now();
    auto reply = bridge(servico, json);
    run.bridge += since(start);
    return reply;
  };
  const int64_t before = transactionsStarted(*db);
  const auto start = Steady::now();
  worker.buscarLeads();
  run.intake = since(start);
  run.intakeCommits = transactionsStarted(*db) - before - 1;
  run.sql = recorder.recording().seconds;
  const auto& totais = worker.totais();
  if (totais.contatosCriados != leads || totais.confirmados != leads || totais.falhas != 0) {
    throw std::runtime_error("dealer " + dealer + ": " + std::to_string(totais.contatosCriados) +
                             " contacts, " + std::to_string(totais.confirmados) + " confirmed, " +
                             std::to_string(totais.falhas) + " failed");
  }

  auto direct = freshDatabase(dir / ("direct-" + dealer + ".fdb"), dealer);
  const int64_t directBefore = transactionsStarted(*direct);
  run.direct = bench_support::replay(*direct, recorder.recording().steps, run.shapes);
  run.directCommits = transactionsStarted(*direct) - directBefore - 1;
  run.writingCommits = bench_support::writingCommits(recorder.recording().steps);
  return run;
}

std::vector<int> parseSizes(const std::string& text) {
  std::vector<int> sizes;
  std::stringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) {
    const int size = std::atoi(item.c_str());
    if (size <= 0 || size > 99999) throw std::runtime_error("bad size: " + item);
    sizes.push_back(size);
  }
  if (sizes.empty()) throw std::runtime_error("no sizes");
  return sizes;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    std::string sizesText = "1000,5000";
    fs::path binDir = fs::read_symlink("/proc/self/exe").parent_path() / ".." / "bin";
    fs::path homeParent;
    for (int i = 1; i < argc; ++i) {
      const std::string option = argv[i];
      if (option == "--async") {
        gEscritaAssincrona = true;
      } else if (option == "--sizes" && i + 1 < argc) {
        sizesText = argv[++i];
      } else if (option == "--bin" && i + 1 < argc) {
        binDir = argv[++i];
      } else if (option == "--home" && i + 1 < argc) {
        homeParent = argv[++i];
      } else {
        throw std::runtime_error(
            "usage: intake_bench [--sizes N,N] [--bin DIR] [--async] [--home DIR]");
      }
    }
    const std::vector<int> sizes = parseSizes(sizesText);
    std::printf("databases: %s writes\n",
                gEscritaAssincrona ? "asynchronous" : "forced (synchronous)");
    ScratchDir scratch("vornleads-intake-bench");
    const fs::path home = homeParent.empty() ? scratch.path() : homeParent / "intake-bench-home";
    fs::create_directories(home);
    fs::create_symlink(fs::absolute(binDir / vornleads::kBibliotecaLeads),
                       home / vornleads::kBibliotecaLeads);

    // One sandbox for the whole run (the library edition reads its endpoint once): each size
    // has dealer number of its own, 20001, 20002, ...; 20000 warms up.
    constexpr int kWarmUp = 20;
    {
      std::ofstream leads(scratch.path() / "leads.json");
      leads << "[";
      writeLeads(leads, 1, kWarmUp, "20000");
      int first = 100000;
      for (size_t i = 0; i < sizes.size(); ++i) {
        leads << ",";
        writeLeads(leads, first, sizes[i], std::to_string(20001 + i));
        first += 100000;
      }
      leads << "]";
    }
    const Sandbox sandbox(binDir / "vornleads-sandbox", scratch.path() / "leads.json");
    setenv("VORNLEADS_ENDPOINT", sandbox.url().c_str(), 1);
    setenv("VORNLEADS_HOME", home.c_str(), 1);
    const vornleads::LeadsLibrary library;
    const vornleads::TIntegraLeadsVW bridge = library.bind();

    measure(scratch.path(), bridge, kWarmUp, "20000");
    std::printf("%8s %10s %10s %10s %10s %10s %10s %8s %8s %8s %8s\n", "leads", "intake s",
                "leads/s", "bridge ms", "sql ms", "other ms", "direct ms", "ratio", "tx", "tx dir",
                "writes");
    std::vector<Run> runs;
    for (size_t i = 0; i < sizes.size(); ++i) {
      const Run run = measure(scratch.path(), bridge, sizes[i], std::to_string(20001 + i));
      runs.push_back(run);
      const double n = run.leads;
      std::printf("%8d %10.2f %10.1f %10.3f %10.3f %10.3f %10.3f %8.2f %8.2f %8.2f %8.2f\n",
                  run.leads, run.intake, n / run.intake, 1000 * run.bridge / n, 1000 * run.sql / n,
                  1000 * (run.intake - run.bridge - run.sql) / n, 1000 * run.direct / n,
                  run.intake / run.direct, run.intakeCommits / n, run.directCommits / n,
                  run.writingCommits / n);
    }
    std::printf(
        "(per lead: bridge = fetch and receipt through the library edition and the sandbox; sql = "
        "the intake's statements; direct = the same statements replayed; tx, tx dir = "
        "transactions the database started per lead, each one a commit, intake and direct; "
        "writes = commits of the transactions that wrote, per lead, both sides)\n");
    // Where the time of the largest size goes, statement kind by statement kind.
    const Run& largest = runs.back();
    std::vector<Shape> shapes;
    for (const auto& entry : largest.shapes) shapes.push_back(entry.second);
    std::sort(shapes.begin(), shapes.end(),
              [](const Shape& a, const Shape& b) { return a.seconds > b.seconds; });
    std::printf("direct replay of %d leads, statement kinds by time (ms per lead, count):\n",
                largest.leads);
    for (size_t i = 0; i < shapes.size() && i < 12; ++i) {
      std::printf("  %8.3f %7d  %s\n", 1000 * shapes[i].seconds / largest.leads, shapes[i].count,
                  shapes[i].text.c_str());
    }
    if (!homeParent.empty()) fs::remove_all(home);
    if (runs.size() > 1) {
      const Run& small = runs.front();
      const Run& large = runs.back();
      std::printf("time per lead, %d vs %d leads: %.2f (intake), %.2f (direct)\n", large.leads,
                  small.leads, (large.intake / large.leads) / (small.intake / small.leads),
                  (large.direct / large.leads) / (small.direct / small.leads));
    }
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "intake_bench: %s\n", error.what());
    return 1;
  }
}
