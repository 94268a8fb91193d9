// SQL text of the lead's values.
#pragma once

#include <cstdint>
#include <string>

namespace vornleads::intake {

// 'texto' with every embedded single quote doubled. Lead data comes from outside: every text
// of a lead that goes into a statement goes through here.
inline std::string literal(const std::string& texto) {
  std::string sql = "'";
  for (char c : texto) {
    sql += c;
    if (c == '\'') sql += '\'';
  }
  return sql + "'";
}

// "Não foi possível incluir o lead <id>\r\n": the head of every per-lead failure message.
inline std::string falhaLead(int32_t leadID) {
  return "Não foi possível incluir o lead " + std::to_string(leadID) + "\r\n";
}

}  // namespace vornleads::intake
