// Handing 8-bit text to a host as a wide-character pointer.
//
// TAnsiString copies an AnsiString (boundary code page, <vornleads/text/codepage.h>) into an
// owned, NUL-terminated UTF-16 buffer sized for the converted text plus its terminator.
// Retorno() returns that buffer, or a null pointer when the text is empty; the pointer stays
// valid, and the text unchanged, for the life of the object. The host copies the text before
// it releases the object. Not copyable: each object owns its buffer.
#pragma once

#include <memory>

#include "vornleads/types.h"

namespace vornleads {

class DllString {
 public:
  virtual ~DllString() = default;
  virtual const char16_t* Retorno() const = 0;
};

class TAnsiString final : public DllString {
 public:
  explicit TAnsiString(const AnsiString& S);
  TAnsiString(const TAnsiString&) = delete;
  TAnsiString& operator=(const TAnsiString&) = delete;

  const char16_t* Retorno() const override { return FStr.get(); }

 private:
  std::unique_ptr<char16_t[]> FStr;
};

}  // namespace vornleads
