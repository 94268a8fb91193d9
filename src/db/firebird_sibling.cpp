#include "db/firebird_sibling.h"

#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <algorithm>
#include <memory>

#include "db/firebird_status.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

// A failed client call, with what FirebirdAttachment::Call::failure needs to describe it.
struct CallFailed {
  std::string message;
  std::vector<ISC_STATUS> status;
  std::string sql;
};

void check(ISC_STATUS result, const ISC_STATUS* status, const std::string& sql) {
  if (result != 0) {
    throw CallFailed{firebirdStatusMessage(status),
                     std::vector<ISC_STATUS>(status, status + ISC_STATUS_LENGTH), sql};
  }
}

// A statement handle, dropped when the scope ends.
class Statement {
 public:
  explicit Statement(isc_db_handle* attachment, const std::string& sql) {
    ISC_STATUS_ARRAY status;
    check(isc_dsql_allocate_statement(status, attachment, &handle_), status, sql);
  }
  ~Statement() {
    ISC_STATUS_ARRAY status;
    isc_dsql_free_statement(status, &handle_, DSQL_drop);
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  isc_stmt_handle* handle() { return &handle_; }

 private:
  isc_stmt_handle handle_ = 0;
};

// An output descriptor for n columns with a buffer per column.
class Columns {
 public:
  explicit Columns(short n) : memory_(XSQLDA_LENGTH(n) / sizeof(std::max_align_t) + 1) {
    da()->version = SQLDA_VERSION1;
    da()->sqln = n;
  }
  XSQLDA* da() { return reinterpret_cast<XSQLDA*>(memory_.data()); }
  void bind() {
    buffers_.resize(da()->sqld);
    nulls_.resize(da()->sqld);
    for (short i = 0; i < da()->sqld; ++i) {
      XSQLVAR& var = da()->sqlvar[i];
      buffers_[i].assign(var.sqllen + sizeof(short) + 8, 0);
      var.sqldata = buffers_[i].data();
      var.sqlind = &nulls_[i];
    }
  }
  SqlValue value(short i, const std::string& sql) {
    const XSQLVAR& var = da()->sqlvar[i];
    if ((var.sqltype & 1) != 0 && *var.sqlind < 0) return SqlValue();
    const char* data = var.sqldata;
    int64_t whole = 0;
    switch (var.sqltype & ~1) {
      case SQL_TEXT: {
        std::string text(data, var.sqllen);
        while (!text.empty() && text.back() == ' ') text.pop_back();
        return SqlValue::text(text);
      }
      case SQL_VARYING: {
        short length = 0;
        std::memcpy(&length, data, sizeof length);
        return SqlValue::text(std::string(data + sizeof length, length));
      }
      case SQL_SHORT: {
        int16_t v = 0;
        std::memcpy(&v, data, sizeof v);
        whole = v;
        break;
      }
      case SQL_LONG: {
        int32_t v = 0;
        std::memcpy(&v, data, sizeof v);
        whole = v;
        break;
      }
      case SQL_INT64:
        std::memcpy(&whole, data, sizeof whole);
        break;
      case SQL_FLOAT: {
        float v = 0;
        std::memcpy(&v, data, sizeof v);
        return SqlValue::real(v);
      }
      case SQL_DOUBLE: {
        double v = 0;
        std::memcpy(&v, data, sizeof v);
        return SqlValue::real(v);
      }
      default:
        throw DatabaseError("Column type " + std::to_string(var.sqltype & ~1) +
                                " is not read on the counter transaction",
                            sql);
    }
    if (var.sqlscale == 0) return SqlValue::integer(whole);
    return SqlValue::real(static_cast<double>(whole) * std::pow(10.0, var.sqlscale));
  }
  std::string name(short i) {
    const XSQLVAR& var = da()->sqlvar[i];
    std::string text(var.aliasname, var.aliasname_length);
    for (char& ch : text) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return text;
  }

 private:
  std::vector<std::max_align_t> memory_;
  std::vector<std::vector<char>> buffers_;
  std::vector<short> nulls_;
};

int64_t affectedRows(isc_stmt_handle* statement, const std::string& sql) {
  const char items[] = {isc_info_sql_records};
  char answer[64] = {};
  ISC_STATUS_ARRAY status;
  check(isc_dsql_sql_info(status, statement, sizeof items, items, sizeof answer, answer), status,
        sql);
  if (answer[0] != isc_info_sql_records) return -1;
  int64_t total = 0;
  for (const char* p = answer + 3; *p != isc_info_end && p < answer + sizeof answer - 3;) {
    const char item = *p++;
    const short length = static_cast<short>(isc_vax_integer(p, 2));
    p += 2;
    const int64_t count = isc_vax_integer(p, length);
    p += length;
    if (item == isc_info_req_insert_count || item == isc_info_req_update_count ||
        item == isc_info_req_delete_count) {
      total += count;
    }
  }
  return total;
}

}  // namespace

FirebirdSiblingConnection::FirebirdSiblingConnection(FirebirdAttachment& attachment,
                                                     SqlConnection& owner)
    : attachment_(attachment), owner_(owner) {}

FirebirdSiblingConnection::~FirebirdSiblingConnection() {
  const FirebirdAttachment::Call bound(&attachment_);
  attachment_.dropTransaction(&transaction_);
}

int FirebirdSiblingConnection::lockSeconds() const {
  return std::min(kLockTimeoutSeconds, attachment_.lockTimeoutSeconds());
}

void FirebirdSiblingConnection::end(bool commit, const std::string& sql) {
  const FirebirdAttachment::Call bound(&attachment_);
  ISC_STATUS_ARRAY status;
  const ISC_STATUS result = commit ? isc_commit_transaction(status, &transaction_)
                                   : isc_rollback_transaction(status, &transaction_);
  if (result == 0) return;
  const DatabaseError error = bound.failure(firebirdStatusMessage(status), status,
                                            ISC_STATUS_LENGTH, sql, lockSeconds());
  // A transaction that cannot be committed is given up; its locks go with the rollback.
  attachment_.dropTransaction(&transaction_);
  throw error;
}

template <typename Work>
auto FirebirdSiblingConnection::run(const std::string& sql, Work&& work) {
  const FirebirdAttachment::Call bound(&attachment_);
  try {
    if (transaction_ == 0) attachment_.startTransaction(&transaction_, lockSeconds(), sql);
    auto result = work();
    if (!explicit_) end(true, "COMMIT");
    return result;
  } catch (const CallFailed& failed) {
    if (!explicit_) attachment_.dropTransaction(&transaction_);
    throw bound.failure(failed.message, failed.status.data(), failed.status.size(), failed.sql,
                        lockSeconds());
  } catch (const DatabaseError&) {
    if (!explicit_) attachment_.dropTransaction(&transaction_);
    throw;
  }
}

SqlRowSet FirebirdSiblingConnection::query(const std::string& sql) {
  return run(sql, [&] {
    Statement statement(attachment_.handle(), sql);
    Columns all(8);
    ISC_STATUS_ARRAY status;
    check(isc_dsql_prepare(status, &transaction_, statement.handle(), 0, sql.c_str(),
                           SQL_DIALECT_V6, all.da()),
          status, sql);
    if (all.da()->sqld > all.da()->sqln) {  // more columns than room: described again
      all = Columns(all.da()->sqld);
      check(isc_dsql_describe(status, statement.handle(), SQLDA_VERSION1, all.da()), status, sql);
    }
    all.bind();
    check(isc_dsql_execute(status, &transaction_, statement.handle(), SQLDA_VERSION1, nullptr),
          status, sql);
    SqlRowSet rows;
    for (short i = 0; i < all.da()->sqld; ++i) rows.columns.push_back(all.name(i));
    for (;;) {
      const ISC_STATUS fetched =
          isc_dsql_fetch(status, statement.handle(), SQLDA_VERSION1, all.da());
      if (fetched == 100) break;
      check(fetched, status, sql);
      std::vector<SqlValue> row;
      for (short i = 0; i < all.da()->sqld; ++i) row.push_back(all.value(i, sql));
      rows.rows.push_back(std::move(row));
    }
    return rows;
  });
}

int64_t FirebirdSiblingConnection::execute(const std::string& sql) {
  return run(sql, [&]() -> int64_t {
    Statement statement(attachment_.handle(), sql);
    ISC_STATUS_ARRAY status;
    check(isc_dsql_prepare(status, &transaction_, statement.handle(), 0, sql.c_str(),
                           SQL_DIALECT_V6, nullptr),
          status, sql);
    check(isc_dsql_execute(status, &transaction_, statement.handle(), SQLDA_VERSION1, nullptr),
          status, sql);
    return affectedRows(statement.handle(), sql);
  });
}

void FirebirdSiblingConnection::beginTransaction() {
  if (explicit_) throw VornError("A transaction is already open on this connection");
  const FirebirdAttachment::Call bound(&attachment_);
  attachment_.startTransaction(&transaction_, lockSeconds(), "BEGIN TRANSACTION");
  explicit_ = true;
}

void FirebirdSiblingConnection::commit() {
  if (!explicit_) throw VornError("No transaction is open on this connection");
  explicit_ = false;
  end(true, "COMMIT");
}

void FirebirdSiblingConnection::rollback() {
  if (!explicit_) throw VornError("No transaction is open on this connection");
  explicit_ = false;
  end(false, "ROLLBACK");
}

std::vector<std::string> FirebirdSiblingConnection::primaryKey(const std::string& table) {
  return owner_.primaryKey(table);
}

}  // namespace vornleads
