// Selects a boundary code page for one test and restores the previous one afterwards.
#pragma once

#include "vornleads/text/codepage.h"

namespace vornleads::test {

class CodePageScope {
 public:
  explicit CodePageScope(CodePage codePage) : saved_(boundaryCodePage()) {
    setBoundaryCodePage(codePage);
  }
  ~CodePageScope() { setBoundaryCodePage(saved_); }
  CodePageScope(const CodePageScope&) = delete;
  CodePageScope& operator=(const CodePageScope&) = delete;

 private:
  CodePage saved_;
};

}  // namespace vornleads::test
