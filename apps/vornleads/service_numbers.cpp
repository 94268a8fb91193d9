#include "service_numbers.h"

namespace vornleads::cli {

const std::map<std::string, int32_t>& serviceNumbers() {
  static const std::map<std::string, int32_t> byName = {{"BuscaLeads", 1},
                                                        {"AtualizaLeads", 2},
                                                        {"BuscaLeadsData", 3},
                                                        {"BuscaLeadsStatus", 4},
                                                        {"CarregaUltimaCargaInicial", 5},
                                                        {"BuscaHistLeads", 6},
                                                        {"BuscaNovosLeads", 7}};
  return byName;
}

std::string serviceName(int32_t service) {
  for (const auto& [name, number] : serviceNumbers()) {
    if (number == service) return name;
  }
  return "service " + std::to_string(service);
}

}  // namespace vornleads::cli
