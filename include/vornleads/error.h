// Errors raised by VornLeads. Every error's what() is the system's own message, byte for byte.
#pragma once

#include <stdexcept>
#include <string>

namespace vornleads {

// A general error carrying a (usually Portuguese) message for the operator.
class VornError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Text that cannot be converted to a number or a date-time. The message names the text,
// for example: '"31/02/2024" is not a valid date and time'.
class ConversionError : public VornError {
 public:
  using VornError::VornError;
};

// A statement the database refused, or a connection that failed. what() is the database's
// message followed by the statement; both are also available apart.
class DatabaseError : public VornError {
 public:
  DatabaseError(const std::string& databaseMessage, const std::string& statement)
      : VornError(statement.empty() ? databaseMessage
                                    : databaseMessage + "\r\nSQL: " + statement),
        databaseMessage_(databaseMessage),
        statement_(statement) {}

  const std::string& databaseMessage() const { return databaseMessage_; }
  const std::string& statement() const { return statement_; }

 private:
  std::string databaseMessage_;
  std::string statement_;
};

// A step that was cancelled on purpose without a message of its own (the "quiet abort" of the
// lead-link insert). Handled by the per-lead trap like any other error.
class AbortError : public VornError {
 public:
  AbortError() : VornError("Operation aborted") {}
};

}  // namespace vornleads
