// The character encoding of an XML document that arrived over HTTP, and its text in UTF-8.
//
// The encoding in force is the charset parameter of the Content-Type header, else the
// encoding of the XML declaration, else the byte-order mark, else UTF-8 (XML 1.0 appendix F,
// as SOAP stacks apply it). UTF-8, UTF-16 (either byte order), ISO-8859-1, windows-1252 and
// US-ASCII are read; a byte-order mark that agrees with the encoding is dropped. Shared by
// the service client (replies) and the sandbox (requests), so that both read alike.
#pragma once

#include <cstddef>
#include <string>

#include "vornleads/error.h"

namespace vornleads::xml {

// Bytes that are invalid in the encoding in force, or an encoding that is not read here.
// what() says which in the operator's words, e.g.
//   bytes inválidos para a codificação windows-1252 na posição 42
//   a codificação "shift_jis" não é suportada
class CharsetError : public VornError {
 public:
  static constexpr std::size_t kUnsupported = static_cast<std::size_t>(-1);

  CharsetError(const std::string& encoding, std::size_t offset);
  // The encoding as declared (or the name of the one in force).
  const std::string& encoding() const { return encoding_; }
  // Byte offset of the first invalid byte, or kUnsupported.
  std::size_t offset() const { return offset_; }

 private:
  std::string encoding_;
  std::size_t offset_;
};

// The charset parameter of a Content-Type value ("text/xml; charset=\"UTF-8\"" -> "UTF-8"),
// or empty when there is none.
std::string charsetOf(const std::string& contentType);

// The document as UTF-8, read in the encoding in force (above). Throws CharsetError.
std::string decodeDocument(const std::string& bytes, const std::string& contentType);

}  // namespace vornleads::xml
