// vornleads config: the effective settings, one a line, with where each came from.
#include <iostream>
#include <string>

#include "command.h"

namespace vornleads::cli {
namespace {

const RegisterCommand registration(90, [](CLI::App& app, CommandContext& context) {
  CLI::App* command =
      app.add_subcommand("config", "the effective settings and where each came from");
  command->footer(
      "Example:\n  vornleads --config /etc/vornleads/vornleads.conf config\n"
      "Precedence: option, environment variable, configuration file, built-in default.\n"
      "Passwords in database URIs and URLs are shown as ***.");
  command->callback([&context] {
    for (const std::string& line : context.settings.describe()) std::cout << line << "\n";
  });
});

}  // namespace
}  // namespace vornleads::cli
