// The character encoding of an XML document that arrived over HTTP, and its text in UTF-8.
//
// Three labels may name the encoding, in this order of precedence: a byte-order mark, the
// charset parameter of the Content-Type header, the encoding of the XML declaration; with
// none, the document is UTF-8 (or UTF-16 when its first character shows it). UTF-8, UTF-16
// (either byte order), ISO-8859-1, windows-1252 and US-ASCII are read; the byte-order mark is
// dropped.
//
// Labels that disagree are settled by the bytes where they can: a document that is valid
// UTF-8 and holds multi-byte sequences is UTF-8 when one label says so (a front end that adds
// a default charset, a writer that marks UTF-8 and declares its own code page); a document
// that reads to the same text under every label is that text. Anything else is refused
// naming both labels, never guessed. Shared by the service client (replies) and the sandbox
// (requests), so that both read alike.
#pragma once

#include <cstddef>
#include <string>

#include "vornleads/error.h"

namespace vornleads::xml {

// Where an encoding label was found.
enum class LabelSource { ByteOrderMark, ContentType, Declaration };

struct EncodingLabel {
  std::string name;  // as written (for a byte-order mark, the encoding it stands for)
  LabelSource source;
};

// Bytes that are invalid in the encoding in force, an encoding that is not read here, or
// labels that contradict each other. what() says which in the operator's words, e.g.
//   bytes inválidos para a codificação windows-1252 na posição 42
//   a codificação "shift_jis" não é suportada
//   as codificações indicadas se contradizem: UTF-8 (marca de ordem de bytes) e ISO-8859-1
//   (declaração XML)
class CharsetError : public VornError {
 public:
  enum class Kind { InvalidBytes, Unsupported, Contradiction };

  static CharsetError invalidBytes(const std::string& encoding, std::size_t offset);
  static CharsetError unsupported(const std::string& encoding);
  static CharsetError contradiction(const EncodingLabel& first, const EncodingLabel& second);

  Kind kind() const { return kind_; }
  // The encoding in force, the unsupported one, or the first of two that contradict.
  const std::string& encoding() const { return labels_[0].name; }
  // Byte offset of the first invalid byte (InvalidBytes only).
  std::size_t offset() const { return offset_; }
  // The two labels that contradict each other (Contradiction only).
  const EncodingLabel& first() const { return labels_[0]; }
  const EncodingLabel& second() const { return labels_[1]; }

 private:
  CharsetError(Kind kind, const std::string& message, EncodingLabel first, EncodingLabel second,
               std::size_t offset);

  Kind kind_;
  EncodingLabel labels_[2];
  std::size_t offset_;
};

// The charset parameter of a Content-Type value ("text/xml; charset=\"UTF-8\"" -> "UTF-8"),
// or empty when there is none.
std::string charsetOf(const std::string& contentType);

// The document as UTF-8, read in the encoding in force (above). Throws CharsetError.
std::string decodeDocument(const std::string& bytes, const std::string& contentType);

}  // namespace vornleads::xml
