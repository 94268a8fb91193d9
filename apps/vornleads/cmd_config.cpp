// vornleads config [--json]: the effective settings, one a line, with where each came from;
// with --json one object of them (value, source, environment variable), for scripts.
#include <iostream>
#include <memory>
#include <string>

#include "command.h"

namespace vornleads::cli {
namespace {

const RegisterCommand registration(90, [](CLI::App& app, CommandContext& context) {
  CLI::App* command =
      app.add_subcommand("config", "the effective settings and where each came from");
  auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "one JSON object: each setting's value, source and variable");
  command->footer(
      "Example:\n  vornleads --config /etc/vornleads/vornleads.conf config --json\n"
      "Precedence: option, environment variable, configuration file, built-in default.\n"
      "Passwords (URIs, ODBC's PWD= and Password=) are shown as ***.");
  command->callback([json, &context] {
    if (*json) {
      std::cout << context.settings.json().dump(2) << "\n";
      return;
    }
    for (const std::string& line : context.settings.describe()) std::cout << line << "\n";
  });
});

}  // namespace
}  // namespace vornleads::cli
