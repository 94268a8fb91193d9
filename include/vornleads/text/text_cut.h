// Cutting UTF-8 text: to a number of characters, and to a bounded excerpt for messages.
#pragma once

#include <cstddef>
#include <exception>
#include <string>

#include "vornleads/error.h"

namespace vornleads {

namespace text_cut_detail {
inline bool startsCharacter(unsigned char byte) { return (byte & 0xC0) != 0x80; }
}  // namespace text_cut_detail

// The first `limite` characters (code points) of UTF-8 text; the whole text when it is not
// longer. A multi-byte character is never split. Bytes that do not start a character
// (a stray continuation byte) belong to the character before them.
inline std::string primeirosCaracteres(const std::string& texto, std::size_t limite) {
  std::size_t caracteres = 0;
  for (std::size_t pos = 0; pos < texto.size(); ++pos) {
    if (!text_cut_detail::startsCharacter(static_cast<unsigned char>(texto[pos]))) continue;
    if (caracteres == limite) return texto.substr(0, pos);
    ++caracteres;
  }
  return texto;
}

// How many bytes of a statement or value a message quotes.
inline constexpr std::size_t kExcerptBytes = 2048;

// Text to be quoted in a message: the whole text when it has at most `limit` bytes, else its
// first bytes up to `limit` (never splitting a character) followed by "… (N bytes)", N being
// the whole text's length. So no value can make a message, or a log entry that holds it, grow
// with its own size.
inline std::string excerpt(const std::string& text, std::size_t limit = kExcerptBytes) {
  if (text.size() <= limit) return text;
  std::size_t end = limit;
  while (end > 0 && !text_cut_detail::startsCharacter(static_cast<unsigned char>(text[end]))) --end;
  return text.substr(0, end) + "… (" + std::to_string(text.size()) + " bytes)";
}

// An error's message for a log entry or a report: a DatabaseError's statement (which may hold
// a lead's whole text) is quoted as its excerpt, and the message as a whole is cut at
// `limit` bytes; the database's own message and every other error's text stay as they are
// below that.
inline std::string boundedMessage(const std::exception& error,
                                  std::size_t limit = 4 * kExcerptBytes) {
  if (const auto* database = dynamic_cast<const DatabaseError*>(&error)) {
    if (!database->statement().empty()) {
      return excerpt(database->databaseMessage() + "\r\nSQL: " + excerpt(database->statement()),
                     limit);
    }
  }
  return excerpt(error.what(), limit);
}

}  // namespace vornleads
