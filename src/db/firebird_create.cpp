#include "db/firebird_create.h"

#include <ibase.h>

#include "db/firebird_lock_directory.h"
#include "db/firebird_shared_mode.h"
#include "db/firebird_status.h"
#include "vornleads/db/sql_connection.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

// The attachment that CREATE DATABASE leaves open, detached when the scope ends.
class Attachment {
 public:
  Attachment() = default;
  ~Attachment() {
    if (handle_ == 0) return;
    ISC_STATUS_ARRAY status;
    // Nothing else can be done about a failed detach in a destructor; the file is complete.
    isc_detach_database(status, &handle_);
  }
  Attachment(const Attachment&) = delete;
  Attachment(Attachment&&) = delete;
  Attachment& operator=(const Attachment&) = delete;

  isc_db_handle* handle() { return &handle_; }

 private:
  isc_db_handle handle_ = 0;
};

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (char ch : text) {
    result += ch;
    if (ch == '\'') result += '\'';
  }
  return result + "'";
}

// The engine's set-up before an attachment of its own: shared mode, the file's lock directory.
void prepareEngineFor(const std::string& path) {
  useSharedEmbeddedFirebird();
  useFirebirdLockDirectoryFor(path, ConnectionOptions{}.connectTimeoutSeconds);
}

}  // namespace

void createFirebirdDatabaseFile(const std::string& path) {
  prepareEngineFor(path);
  const std::string sql = "CREATE DATABASE " + quoted(path) +
                          " USER 'SYSDBA' PAGE_SIZE 8192 DEFAULT CHARACTER SET UTF8";
  Attachment attachment;
  isc_tr_handle transaction = 0;
  ISC_STATUS_ARRAY status;
  if (isc_dsql_execute_immediate(status, attachment.handle(), &transaction, 0, sql.c_str(),
                                 SQL_DIALECT_V6, nullptr) != 0) {
    throw DatabaseError(firebirdStatusMessage(status), sql);
  }
}

}  // namespace vornleads

namespace vornleads {

void setFirebirdForcedWrites(const std::string& path, bool on) {
  prepareEngineFor(path);
  const std::string user = "SYSDBA";
  std::string parameters;
  parameters += static_cast<char>(isc_dpb_version1);
  parameters += static_cast<char>(isc_dpb_user_name);
  parameters += static_cast<char>(user.size());
  parameters += user;
  parameters += static_cast<char>(isc_dpb_force_write);
  parameters += static_cast<char>(1);
  parameters += static_cast<char>(on ? 1 : 0);
  Attachment attachment;
  ISC_STATUS_ARRAY status;
  if (isc_attach_database(status, static_cast<short>(path.size()), path.c_str(),
                          attachment.handle(), static_cast<short>(parameters.size()),
                          parameters.data()) != 0) {
    throw DatabaseError(firebirdStatusMessage(status), "");
  }
}

}  // namespace vornleads
