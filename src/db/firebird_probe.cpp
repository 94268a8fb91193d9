#include "db/firebird_probe.h"

#include <ibase.h>

#include <chrono>
#include <string>

#include "vornleads/error.h"

namespace vornleads {
namespace {

void addText(std::string& parameters, char item, const std::string& value) {
  parameters += item;
  parameters += static_cast<char>(value.size());
  parameters += value;
}

}  // namespace

void checkServerAnswers(const ConnectionTarget& target, int seconds) {
  if (target.server.empty()) return;
  std::string parameters(1, static_cast<char>(isc_dpb_version1));
  if (!target.user.empty()) addText(parameters, isc_dpb_user_name, target.user);
  if (!target.password.empty()) addText(parameters, isc_dpb_password, target.password);
  addText(parameters, isc_dpb_lc_ctype, "UTF8");
  const auto timeout = static_cast<unsigned>(seconds);
  parameters += static_cast<char>(isc_dpb_connect_timeout);
  parameters += static_cast<char>(4);
  for (int shift = 0; shift < 32; shift += 8) parameters += static_cast<char>(timeout >> shift);

  ISC_STATUS_ARRAY status;
  isc_db_handle attachment = 0;
  const auto start = std::chrono::steady_clock::now();
  if (isc_attach_database(status, static_cast<short>(target.server.size()), target.server.c_str(),
                          &attachment, static_cast<short>(parameters.size()),
                          parameters.data()) == 0) {
    isc_detach_database(status, &attachment);  // a failure here changes nothing for the answer
    return;
  }
  // The client library says "connection rejected" when its time-out ends the attempt, the same
  // as for a refusal; only the time tells them apart.
  if (std::chrono::steady_clock::now() - start >=
      std::chrono::seconds(seconds) - std::chrono::milliseconds(500)) {
    throw DatabaseError("Cannot open " + target.description + ": the database did not answer in " +
                            std::to_string(seconds) + " s",
                        "");
  }
}

}  // namespace vornleads
