#include "db/connection_uri.h"
#include "db/firebird_lock_directory.h"
#include "db/firebird_shared_mode.h"
#include "db/soci_connection.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {

std::unique_ptr<SqlConnection> OpenConnection(const std::string& uri,
                                              const ConnectionOptions& options) {
  const ConnectionTarget target = parseConnectionUri(uri);
  if (target.backend == "oracle") {
    // SOCI's Oracle backend needs the vendor's client libraries, which this build does not
    // link; saying so beats pretending to connect.
    throw DatabaseError(
        "Cannot open " + target.description + ": the Oracle backend is not available in this build",
        "");
  }
  if (target.backend == "firebird") useSharedEmbeddedFirebird();
  if (!target.embeddedFile.empty())
    useFirebirdLockDirectoryFor(target.embeddedFile, options.connectTimeoutSeconds);
  return std::make_unique<SociConnection>(target, options);
}

}  // namespace vornleads
