// vornleads call OPERATION [JSON|-]: one call of a leads-service operation, made the way the
// host's workers make it: through IntegraLeadsVW of the library edition VornLeadsVW.dll loaded
// from the host directory, so the reply (or the 297 envelope of a failure) is exactly what a
// worker would get. "-" reads the JSON from standard input; without JSON the request is empty.
//
// The reply JSON goes to standard output whole. Exit status: 0 when the reply's "Status"."Codigo"
// is 0 or less, or the reply carries no such status; 1 when it is greater than 0 (the reply
// is still printed, and its "Descricao" goes to standard error) or when the library could not
// be loaded; 2 for an unknown operation or other usage error.
#include <cstdint>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command.h"
#include "service_numbers.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/text/codepage.h"

namespace vornleads::cli {
namespace {

struct CallOptions {
  std::string operation;
  std::string json;
};

// The failure a reply reports in its status, or empty when it reports none.
std::string failureOf(const std::string& reply) {
  const auto parsed = nlohmann::json::parse(reply, nullptr, false);
  if (!parsed.is_object()) return "";
  const auto status = parsed.find("Status");
  if (status == parsed.end() || !status->is_object()) return "";
  const auto codigo = status->find("Codigo");
  if (codigo == status->end() || !codigo->is_number() || codigo->get<double>() <= 0) return "";
  const auto descricao = status->find("Descricao");
  const std::string text =
      descricao != status->end() && descricao->is_string() ? descricao->get<std::string>() : "";
  return "código " + codigo->dump() + (text.empty() ? "" : ": " + text);
}

const RegisterCommand registration(50, [](CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<CallOptions>();
  std::vector<std::string> names;
  for (const auto& [name, number] : serviceNumbers()) names.push_back(name);
  CLI::App* command = app.add_subcommand(
      "call", "one leads-service call through VornLeadsVW.dll; prints the reply JSON");
  command->add_option("operation", options->operation, "the service operation")
      ->required()
      ->check(CLI::IsMember(names));
  command->add_option("json", options->json,
                      "the request JSON, or - to read it from standard input");
  command->callback([options, &context] {
    std::string request = options->json;
    if (request == "-") {
      request.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    }
    LeadsLibrary library;
    inicializaCOM();
    const std::string reply =
        fromAnsi(library.bind()(serviceNumbers().at(options->operation), toAnsi(request)));
    std::cout << reply << "\n";
    const std::string failure = failureOf(reply);
    if (!failure.empty()) {
      std::cerr << "vornleads: " << options->operation << " falhou: " << failure << "\n";
      context.exitCode = 1;
    }
  });
});

}  // namespace
}  // namespace vornleads::cli
