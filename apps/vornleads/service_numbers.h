// The service numbers of the library edition's IntegraLeadsVW and the operations they reach.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace vornleads::cli {

// Operation name -> service number, 1 (BuscaLeads) to 7 (BuscaNovosLeads).
const std::map<std::string, int32_t>& serviceNumbers();

// The operation a service number reaches; "service N" for a number outside 1 to 7.
std::string serviceName(int32_t service);

}  // namespace vornleads::cli
