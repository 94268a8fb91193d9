// vornleads check: a first-day check of the installation, one line per check ("ok" or
// "FAILED" with what to fix): the database opens, every table and column the module uses is
// there, at least one company/branch takes part in the integration and each has the CRM and
// vehicle parameters a lead needs, the library edition loads, and the leads service answers a
// fetch of the waiting leads (BuscaLeadsStatus, which changes nothing: only a status update or
// a confirmation does). Only reads the database. Exit status 1 when any check failed, or when
// SIGINT or SIGTERM stopped it (after the check in hand, with the stop line).
#include <cctype>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "command.h"
#include "command_stop.h"
#include "service_numbers.h"
#include "vornleads/db/password_mask.h"
#include "vornleads/db/schema.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/text/codepage.h"

namespace vornleads::cli {
namespace {

class Report {
 public:
  void ok(const std::string& check, const std::string& detail) {
    std::cout << "ok      " << check << ": " << detail << "\n";
  }
  void failed(const std::string& check, const std::string& reason, const std::string& fix) {
    std::cout << "FAILED  " << check << ": " << reason << "; to fix: " << fix << "\n";
    failures_ = true;
  }
  bool failures() const { return failures_; }

 private:
  bool failures_ = false;
};

std::string firstWord(const std::string& line) {
  const size_t begin = line.find_first_not_of(" \t");
  if (begin == std::string::npos) return "";
  size_t end = begin;
  while (end < line.size() && (std::isalnum(static_cast<unsigned char>(line[end])) != 0 ||
                               line[end] == '_')) {
    ++end;
  }
  return line.substr(begin, end - begin);
}

// Each table of the schema with a query of its columns ("SELECT ... FROM T WHERE 1 = 0"): the
// schema writes one column a line after the "CREATE TABLE T (" line.
std::vector<std::pair<std::string, std::string>> tableProbes() {
  std::vector<std::pair<std::string, std::string>> probes;
  const std::string create = "CREATE TABLE ";
  for (const std::string& statement : SchemaStatements()) {
    std::istringstream lines(statement.substr(statement.find_first_not_of(" \t\r\n")));
    std::string line;
    if (!std::getline(lines, line) || line.rfind(create, 0) != 0) continue;
    const std::string table = firstWord(line.substr(create.size()));
    std::string columns;
    while (std::getline(lines, line)) {
      const std::string column = firstWord(line);
      if (column.empty() || column == "CONSTRAINT" || column == "PRIMARY") continue;
      columns += (columns.empty() ? "" : ", ") + column;
    }
    probes.push_back({table, "SELECT " + columns + " FROM " + table + " WHERE 1 = 0"});
  }
  return probes;
}

std::string text(const SqlValue& value) { return value.isNull() ? "" : value.asString(); }

// The dealer numbers taking part, as the intake lists them ("" when the query failed).
std::string checkBranches(SqlConnection& db, Report& report) {
  const SqlRowSet dealers = db.query(
      "SELECT VWB.EMPRESA, VWB.REVENDA, VWB.NUMERO_DN FROM VWB_PARAMETRO VWB, CAC_PARAMETRO CAC "
      "WHERE VWB.NUMERO_DN <> '0' AND CAC.EMPRESA = VWB.EMPRESA AND CAC.REVENDA = VWB.REVENDA "
      "AND CAC.UTILIZA_INTEGRACAO_LEADVW = 'S' ORDER BY VWB.EMPRESA, VWB.REVENDA");
  if (dealers.empty()) {
    report.failed("integration", "no company/branch takes part",
                  "set CAC_PARAMETRO.UTILIZA_INTEGRACAO_LEADVW = 'S' and VWB_PARAMETRO.NUMERO_DN "
                  "(the VW dealer number) for each branch that receives leads");
    return "";
  }
  std::string numbers;
  for (size_t i = 0; i < dealers.rows.size(); ++i) {
    const std::string empresa = text(dealers.value(i, "EMPRESA"));
    const std::string revenda = text(dealers.value(i, "REVENDA"));
    const std::string dn = text(dealers.value(i, "NUMERO_DN"));
    numbers += (numbers.empty() ? "" : ",") + dn;
    const std::string where = " WHERE EMPRESA = " + empresa + " AND REVENDA = " + revenda;
    const SqlRowSet crm =
        db.query("SELECT USUARIOS_NOTIF_CONTATO_VEI, ORIGEM_TRAFEGO_LEADVW FROM CAC_PARAMETRO" +
                 where);
    const SqlRowSet vehicle =
        db.query("SELECT TIPO_CONTATO, SUB_TIPO_CONTATO, DEPARTAMENTO FROM VEI_PARAMETRO" + where);
    std::string missing;
    for (const auto& [rows, table, columns] :
         {std::tuple<const SqlRowSet&, const char*, std::vector<const char*>>{
              crm, "CAC_PARAMETRO", {"USUARIOS_NOTIF_CONTATO_VEI", "ORIGEM_TRAFEGO_LEADVW"}},
          {vehicle, "VEI_PARAMETRO", {"TIPO_CONTATO", "SUB_TIPO_CONTATO", "DEPARTAMENTO"}}}) {
      for (const char* c : columns) {
        if (rows.empty() || text(rows.value(0, c)).empty()) {
          missing += (missing.empty() ? "" : ", ") + std::string(table) + "." + c;
        }
      }
    }
    const std::string branch = "branch " + empresa + "." + revenda + " (dealer " + dn + ")";
    if (missing.empty()) {
      report.ok(branch, "CRM and vehicle parameters set");
    } else {
      report.failed(branch, "empty: " + missing,
                    "fill them for this company/branch, or every lead for it fails");
    }
  }
  const SqlRowSet name = db.query("SELECT NOME_FANTASIA FROM GER_REVENDA WHERE EMPRESA = 1");
  if (name.empty()) {
    report.failed("dealer name", "no GER_REVENDA row of company 1",
                  "add it: its NOME_FANTASIA goes with every fetch of leads");
  }
  return numbers;
}

void checkService(const std::string& dealers, Report& report) {
  std::unique_ptr<LeadsLibrary> library;
  try {
    library = std::make_unique<LeadsLibrary>();
    report.ok("library edition", library->file().string());
  } catch (const std::exception& error) {
    report.failed("library edition", error.what(),
                  "put VornLeadsVW.dll (or a link to it) in the host directory (home)");
    return;
  }
  const nlohmann::json request = {{"DNs", dealers}, {"Status", "0"}, {"Nome", ""}};
  inicializaCOM();
  const std::string reply = fromAnsi(library->bind()(
      serviceNumbers().at("BuscaLeadsStatus"), toAnsi(request.dump())));
  const auto parsed = nlohmann::json::parse(reply, nullptr, false);
  const nlohmann::json status = parsed.is_object() ? parsed.value("Status", nlohmann::json()) : nullptr;
  if (!status.is_object() || !status.value("Codigo", nlohmann::json(1)).is_number() ||
      status.value("Codigo", 1.0) > 0) {
    report.failed("leads service",
                  status.is_object() ? status.value("Descricao", reply) : reply,
                  "check endpoint (vornleads config), the network and, for https, ca-file");
    return;
  }
  const size_t leads = parsed.value("Leads", nlohmann::json::array()).size();
  report.ok("leads service", "answered, " + std::to_string(leads) + " leads waiting");
}

const RegisterCommand registration(85, [](CLI::App& app, CommandContext& context) {
  CLI::App* command = app.add_subcommand(
      "check", "check the database, the integration's parameters and the leads service");
  command->callback([&context] {
    const CommandStop stop("check");
    Report report;
    const std::string uri = context.global.db;
    std::string dealers;
    std::unique_ptr<SqlConnection> db;
    try {
      db = context.openDatabase();
      report.ok("database", maskPassword(uri));
    } catch (const std::exception& error) {
      report.failed("database", error.what(),
                    "check db (vornleads config); run as the user vornleads with the service's "
                    "FIREBIRD_LOCK; init-db creates a new database");
    }
    if (db) {
      std::string missing;
      for (const auto& [table, probe] : tableProbes()) {
        try {
          db->query(probe);
        } catch (const std::exception&) {
          missing += (missing.empty() ? "" : ", ") + table;
        }
      }
      if (missing.empty()) {
        report.ok("tables", "every table and column of the module is there");
        dealers = checkBranches(*db, report);
      } else {
        report.failed("tables", "missing or incomplete: " + missing,
                      "add them as /usr/share/vornleads/firebird.sql describes");
      }
    }
    if (stop.report(context)) return;
    checkService(dealers, report);
    if (stop.report(context)) return;
    if (report.failures()) context.exitCode = 1;
  });
});

}  // namespace
}  // namespace vornleads::cli
