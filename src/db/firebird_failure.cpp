#include "db/firebird_failure.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "text/ascii_case.h"

namespace vornleads {
namespace {

bool holdsCode(const ISC_STATUS* status, size_t size, std::initializer_list<ISC_STATUS> codes) {
  // Clusters: isc_arg_gds CODE, isc_arg_cstring LENGTH TEXT, any other kind one value; the
  // warnings that may follow the errors are not looked at.
  for (size_t i = 0; i + 1 < size;) {
    const ISC_STATUS kind = status[i];
    if (kind == isc_arg_end || kind == isc_arg_warning) return false;
    if (kind == isc_arg_gds) {
      for (ISC_STATUS code : codes) {
        if (status[i + 1] == code) return true;
      }
    }
    i += kind == isc_arg_cstring ? 3 : 2;
  }
  return false;
}

bool identifierChar(char ch) {
  return std::isalnum(static_cast<unsigned char>(ch)) || ch == '_' || ch == '$';
}

// The statement's words and names, upper case (a quoted name without its quotes); everything
// else (numbers, operators, literals) is skipped.
std::vector<std::string> words(const std::string& sql) {
  std::vector<std::string> result;
  for (size_t i = 0; i < sql.size();) {
    if (sql[i] == '\'') {
      const size_t end = sql.find('\'', i + 1);
      i = end == std::string::npos ? sql.size() : end + 1;
    } else if (sql[i] == '"') {
      const size_t end = sql.find('"', i + 1);
      result.push_back(asciiUpper(sql.substr(i + 1, end == std::string::npos ? end : end - i - 1)));
      i = end == std::string::npos ? sql.size() : end + 1;
    } else if (identifierChar(sql[i])) {
      size_t end = i;
      while (end < sql.size() && identifierChar(sql[end])) ++end;
      result.push_back(asciiUpper(sql.substr(i, end - i)));
      i = end;
    } else {
      ++i;
    }
  }
  return result;
}

// The word after the first occurrence of the sequence `lead` at the start (atStart) or
// anywhere; "" when there is none.
std::string after(const std::vector<std::string>& all, const std::vector<std::string>& lead,
                  bool atStart) {
  for (size_t i = 0; i + lead.size() < all.size(); ++i) {
    if (std::equal(lead.begin(), lead.end(), all.begin() + static_cast<std::ptrdiff_t>(i)))
      return all[i + lead.size()];
    if (atStart) break;
  }
  return "";
}

bool holdsSequence(const std::vector<std::string>& all, const std::vector<std::string>& part) {
  return std::search(all.begin(), all.end(), part.begin(), part.end()) != all.end();
}

}  // namespace

bool isLockConflict(const ISC_STATUS* status, size_t size) {
  return holdsCode(status, size,
                   {isc_deadlock, isc_update_conflict, isc_lock_conflict, isc_lock_timeout,
                    isc_unique_key_violation, isc_no_dup});
}

bool isConnectionLost(const ISC_STATUS* status, size_t size) {
  return holdsCode(status, size,
                   {isc_network_error, isc_net_read_err, isc_net_write_err, isc_att_shutdown,
                    isc_shutdown, isc_conn_lost});
}

std::string lockedTable(const std::string& sql, const std::string& databaseMessage) {
  const std::string marker = "on table \"";
  const size_t named = databaseMessage.find(marker);
  if (named != std::string::npos) {
    const size_t start = named + marker.size(), end = databaseMessage.find('"', start);
    if (end != std::string::npos) return databaseMessage.substr(start, end - start);
  }
  const std::vector<std::string> all = words(sql);
  for (const std::vector<std::string>& lead :
       std::vector<std::vector<std::string>>{{"INSERT", "INTO"},
                                             {"UPDATE", "OR", "INSERT", "INTO"},
                                             {"MERGE", "INTO"},
                                             {"DELETE", "FROM"}}) {
    const std::string table = after(all, lead, true);
    if (!table.empty()) return table;
  }
  if (!all.empty() && all[0] == "UPDATE" && all.size() > 1) return all[1];
  if (holdsSequence(all, {"WITH", "LOCK"}) || holdsSequence(all, {"FOR", "UPDATE"}))
    return after(all, {"FROM"}, false);
  return "";
}

std::string lockWaitMessage(int seconds, const std::string& table,
                            const std::string& databaseMessage) {
  return "Waited " + std::to_string(seconds) + " s for a row locked by another transaction" +
         (table.empty() ? "" : " on table " + table) + ": " + databaseMessage;
}

std::string noAnswerMessage(int seconds, const std::string& databaseMessage) {
  return "The database did not answer in " + std::to_string(seconds) + " s: " + databaseMessage;
}

}  // namespace vornleads
