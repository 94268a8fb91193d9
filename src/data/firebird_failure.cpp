#include "data/firebird_failure.h"

#include <cctype>
#include <initializer_list>
#include <regex>

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

std::string upper(std::string text) {
  for (char& ch : text) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return text;
}

std::string firstMatch(const std::string& text, const std::regex& pattern) {
  std::smatch match;
  if (!std::regex_search(text, match, pattern)) return "";
  return match[1].str();
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
  static const std::regex onTable(R"re(on table "([^"]+)")re");
  const std::string named = firstMatch(databaseMessage, onTable);
  if (!named.empty()) return named;

  static const std::regex written(
      R"re(^\s*(?:insert\s+into|update\s+or\s+insert\s+into|merge\s+into|update|delete\s+from)\s+"?([A-Za-z0-9_$]+))re",
      std::regex::icase);
  std::string table = firstMatch(sql, written);
  if (!table.empty()) return upper(table);
  static const std::regex locking(R"re(\bwith\s+lock\b|\bfor\s+update\b)re", std::regex::icase);
  static const std::regex read(R"re(\bfrom\s+"?([A-Za-z0-9_$]+))re", std::regex::icase);
  if (std::regex_search(sql, locking)) table = firstMatch(sql, read);
  return upper(table);
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
