#include "db/soci_statement.h"

#include <soci/firebird/soci-firebird.h>

namespace vornleads {
namespace {

// Read without the sanitizer's type check: SOCI does not export the backend's type information.
__attribute__((no_sanitize("vptr"))) void forgetFirebirdHandle(soci::statement& statement) {
  auto* backend = static_cast<soci::firebird_statement_backend*>(statement.get_backend());
  if (backend != nullptr) backend->stmtp_ = 0;
}

}  // namespace

SociStatement::SociStatement(soci::session& session, bool firebird)
    : statement_(session), firebird_(firebird) {}

SociStatement::~SociStatement() {
  try {
    statement_.clean_up();
  } catch (const std::exception&) {
    if (!firebird_) return;
    forgetFirebirdHandle(statement_);
    try {
      statement_.clean_up();
    } catch (const std::exception&) {
      // Nothing is left to free once the handle is forgotten.
    }
  }
}

}  // namespace vornleads
