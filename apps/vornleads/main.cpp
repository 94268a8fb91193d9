#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

#include "command.h"

namespace vornleads::cli {
namespace {

std::multimap<int, CommandSetup>& commands() {
  static std::multimap<int, CommandSetup> registered;
  return registered;
}

}  // namespace

std::unique_ptr<SqlConnection> CommandContext::openDatabase() const {
  return OpenConnection(global.db, settings.connection());
}

CLI::Option* addRetryDelayOption(CLI::App& command, int& milliseconds) {
  return command
      .add_option("--retry-delay", milliseconds,
                  "pause before a repeated intake cycle, in milliseconds (default: "
                  "VORNLEADS_RETRY_DELAY, the configuration file's retry-delay, 30000)")
      ->check(CLI::NonNegativeNumber);
}

int retryDelayIn(const CLI::Option& option, int given, const Settings& settings) {
  return option.count() > 0 ? given : std::stoi(settings.value("retry-delay"));
}

RegisterCommand::RegisterCommand(int order, CommandSetup setup) {
  commands().emplace(order, std::move(setup));
}

}  // namespace vornleads::cli

int main(int argc, char** argv) {
  using namespace vornleads::cli;
  CommandContext context;
  CLI::App app{"VornLeadsVW: VW dealer leads integration for the DMS", "vornleads"};
  app.require_subcommand(1);
  app.add_option(
      "--config", context.global.config,
      std::string("configuration file (default: ") + Settings::kDefaultFile + " when present)");
  app.add_option("--db", context.global.db,
                 "DMS database URI (default: VORNLEADS_DB or ./dms.fdb)");
  app.add_option("--endpoint", context.global.endpoint,
                 "leads service URL (default: VORNLEADS_ENDPOINT or the built-in one)");
  app.add_option("--home", context.global.home,
                 "host directory: log files and VornLeadsVW.dll (default: VORNLEADS_HOME)");
  app.add_option("--lock-timeout", context.global.lockTimeout,
                 "seconds a statement waits for a row another transaction holds (default: "
                 "VORNLEADS_LOCK_TIMEOUT or 60)");
  app.add_option("--connect-timeout", context.global.connectTimeout,
                 "seconds opening the database may take (default: VORNLEADS_CONNECT_TIMEOUT or "
                 "30)");
  app.add_option("--max-reply-bytes", context.global.maxReplyBytes,
                 "largest service reply kept, in bytes (default: VORNLEADS_MAX_REPLY_BYTES "
                 "or 67108864)");
  app.parse_complete_callback([&context] {
    GlobalOptions& global = context.global;
    context.settings.resolve({{"db", global.db},
                              {"endpoint", global.endpoint},
                              {"home", global.home},
                              {"lock-timeout", global.lockTimeout},
                              {"connect-timeout", global.connectTimeout},
                              {"max-reply-bytes", global.maxReplyBytes}},
                             global.config);
    // The library edition reads the reply limit from the environment, whatever its source.
    setenv("VORNLEADS_MAX_REPLY_BYTES", context.settings.value("max-reply-bytes").c_str(), 1);
    // The endpoint and the host directory reach the library edition through the environment,
    // as they would for any host process; set them before any command runs.
    if (!global.endpoint.empty()) setenv("VORNLEADS_ENDPOINT", global.endpoint.c_str(), 1);
    if (!global.home.empty()) setenv("VORNLEADS_HOME", global.home.c_str(), 1);
    global.db = context.settings.value("db");
  });
  for (auto& [order, setup] : commands()) setup(app, context);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    std::cerr << "vornleads: " << error.what() << "\n";
    return 1;
  }
  return context.exitCode;
}
