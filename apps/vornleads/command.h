// The frame of the vornleads command line. Each command lives in its own file and registers
// itself with a static RegisterCommand object; main() parses, runs and maps errors to the
// exit status: 0 success, 1 the operation failed (message on standard error), 2 usage.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "settings.h"

namespace vornleads::cli {

struct GlobalOptions {
  std::string config;    // --config: the configuration file instead of the default one
  std::string db;        // --db, else VORNLEADS_DB, the file's db, ./dms.fdb
  std::string endpoint;  // --endpoint, else VORNLEADS_ENDPOINT, the file's (into the environment)
  std::string home;      // --home, else VORNLEADS_HOME, the file's (into the environment)
  std::string lockTimeout;     // --lock-timeout, validated with the other settings
  std::string connectTimeout;  // --connect-timeout, likewise
  std::string maxReplyBytes;  // --max-reply-bytes, else VORNLEADS_MAX_REPLY_BYTES, the file's
};

struct CommandContext {
  GlobalOptions global;
  Settings settings;  // every setting with its source, resolved before any command runs
  int exitCode = 0;   // a command's callback sets it when it ends other than with success

  // The --db database, opened with the lock-timeout and connect-timeout in force.
  std::unique_ptr<SqlConnection> openDatabase() const;
};

// --retry-delay MS on a command that runs intake cycles: the pause before a repeated cycle. The
// option's value when given, else the retry-delay setting's (see retryDelayIn).
CLI::Option* addRetryDelayOption(CLI::App& command, int& milliseconds);
int retryDelayIn(const CLI::Option& option, int given, const Settings& settings);

// A command adds its subcommand to the app and sets the subcommand's callback. The callback
// may throw: std::exception messages go to standard error with exit status 1.
using CommandSetup = std::function<void(CLI::App& app, CommandContext& context)>;

struct RegisterCommand {
  RegisterCommand(int order, CommandSetup setup);
};

}  // namespace vornleads::cli
