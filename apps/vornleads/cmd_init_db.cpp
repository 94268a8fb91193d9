// vornleads init-db [--sample]: creates the DMS database file named by --db. SIGINT or
// SIGTERM while the file is being made lets the creation end, then removes the new file: the
// stop line, exit status 1, nothing created.
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "command.h"
#include "command_stop.h"
#include "vornleads/db/schema.h"
#include "vornleads/error.h"

namespace vornleads::cli {
namespace {

struct InitDbOptions {
  bool sample = false;
};

// init-db creates an embedded database only: a server or ODBC database is made by its DBA.
std::string embeddedPath(const std::string& uri) {
  if (uri.rfind("firebird://", 0) == 0 || uri.rfind("odbc:", 0) == 0 ||
      uri.rfind("oracle://", 0) == 0) {
    throw VornError(
        "init-db creates embedded Firebird database files only; --db must be a path "
        "or firebird:PATH");
  }
  return uri.rfind("firebird:", 0) == 0 ? uri.substr(9) : uri;
}

const RegisterCommand registration(10, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<InitDbOptions>();
  CLI::App* command =
      app.add_subcommand("init-db", "create the DMS database (embedded Firebird file)");
  command->add_flag("--sample", options->sample,
                    "add one company/branch (1.1) configured for the integration");
  command->callback([options, &context] {
    const std::string path = embeddedPath(context.global.db);
    const CommandStop stop("init-db");
    CreateDatabase(path, options->sample, context.settings.connection());
    if (stop.requested()) {
      std::error_code error;
      std::filesystem::remove(path, error);
      stop.report(context,
                  "the new file " + path +
                      (error ? " could not be removed: " + error.message() : " was removed"));
      return;
    }
    size_t tables = 0;
    for (const std::string& statement : SchemaStatements()) {
      if (statement.rfind("CREATE TABLE", 0) == 0) ++tables;
    }
    std::cout << "created " << path << ": " << tables << " DMS tables";
    if (options->sample) {
      std::cout << ", sample company/branch 1.1 (dealer number 01234) added ("
                << SampleStatements().size() << " rows)";
    }
    std::cout << std::endl;
  });
});

}  // namespace
}  // namespace vornleads::cli
