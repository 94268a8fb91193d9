// A SOCI statement that can always be let go.
//
// SOCI frees a statement's database handle when the statement goes, and its Firebird backend
// raises when that fails, as it does once the connection is gone ("Error writing data to the
// connection"). Raised from a destructor, or while another error unwinds the stack, that ends
// the program. This owner frees the statement itself and, when the database cannot be told,
// forgets the handle (the server drops it with the connection) and frees the rest.
#pragma once

#include <soci/soci.h>

namespace vornleads {

class SociStatement {
 public:
  // firebird: the session is one of SOCI's Firebird backend.
  SociStatement(soci::session& session, bool firebird);
  ~SociStatement();
  SociStatement(const SociStatement&) = delete;
  SociStatement& operator=(const SociStatement&) = delete;

  soci::statement& operator*() { return statement_; }
  soci::statement* operator->() { return &statement_; }

 private:
  soci::statement statement_;
  bool firebird_;
};

}  // namespace vornleads
