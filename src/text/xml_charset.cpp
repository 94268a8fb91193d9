#include "text/xml_charset.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "text/ascii_case.h"
#include "text/cp1252.h"
#include "text/trimmed.h"
#include "text/utf8_codec.h"

namespace vornleads::xml {
namespace {

// Blanks around a Content-Type parameter.
const char* const kHeaderBlanks = " \t\r\n";

enum class Encoding { Utf8, Utf16LE, Utf16BE, Latin1, Windows1252, Ascii };

bool startsWith(const std::string& bytes, const char* prefix, std::size_t length) {
  return bytes.compare(0, length, prefix, length) == 0;
}

// The byte order a document shows in its first bytes: a byte-order mark, or its opening "<"
// in UTF-16 without one. Nothing for the 8-bit family, where a NUL never follows it.
std::optional<Encoding> utf16Order(const std::string& bytes) {
  if (startsWith(bytes, "\xFF\xFE", 2) || startsWith(bytes, "<\0", 2)) return Encoding::Utf16LE;
  if (startsWith(bytes, "\xFE\xFF", 2) || startsWith(bytes, "\0<", 2)) return Encoding::Utf16BE;
  return std::nullopt;
}

// The encoding named in the XML declaration, or empty. The declaration is ASCII in every
// encoding read here, so UTF-16 is narrowed to its low bytes before looking.
std::string declaredEncoding(const std::string& bytes) {
  std::string head;
  if (const auto order = utf16Order(bytes)) {
    const bool marked = startsWith(bytes, "\xFF\xFE", 2) || startsWith(bytes, "\xFE\xFF", 2);
    const std::size_t first = (marked ? 2 : 0) + (*order == Encoding::Utf16LE ? 0 : 1);
    for (std::size_t i = first; i < bytes.size() && head.size() < 256; i += 2) head += bytes[i];
  } else {
    head = bytes.substr(startsWith(bytes, "\xEF\xBB\xBF", 3) ? 3 : 0, 256);
  }
  if (head.rfind("<?xml", 0) != 0) return "";
  const std::string declaration = head.substr(0, head.find("?>"));
  auto at = declaration.find("encoding");
  if (at == std::string::npos) return "";
  at = declaration.find_first_not_of(" \t\r\n", at + 8);
  if (at == std::string::npos || declaration[at] != '=') return "";
  at = declaration.find_first_not_of(" \t\r\n", at + 1);
  if (at == std::string::npos || (declaration[at] != '"' && declaration[at] != '\'')) return "";
  const auto end = declaration.find(declaration[at], at + 1);
  if (end == std::string::npos) return "";
  return declaration.substr(at + 1, end - at - 1);
}

std::optional<Encoding> encodingNamed(const std::string& label, const std::string& bytes) {
  const std::string name = asciiLower(label);
  if (name == "utf-8" || name == "utf8") return Encoding::Utf8;
  // UCS-2 is UTF-16 without surrogates; some writers still name it.
  if (name == "utf-16" || name == "utf16" || name == "ucs-2" || name == "iso-10646-ucs-2") {
    return utf16Order(bytes).value_or(Encoding::Utf16BE);
  }
  if (name == "utf-16le") return Encoding::Utf16LE;
  if (name == "utf-16be") return Encoding::Utf16BE;
  if (name == "iso-8859-1" || name == "iso8859-1" || name == "iso_8859-1" || name == "latin1" ||
      name == "latin-1" || name == "l1" || name == "cp819" || name == "iso-ir-100") {
    return Encoding::Latin1;
  }
  if (name == "windows-1252" || name == "cp1252" || name == "x-cp1252") {
    return Encoding::Windows1252;
  }
  if (name == "us-ascii" || name == "ascii") return Encoding::Ascii;
  return std::nullopt;
}

const char* nameOf(Encoding encoding) {
  switch (encoding) {
    case Encoding::Utf8:
      return "UTF-8";
    case Encoding::Utf16LE:
      return "UTF-16LE";
    case Encoding::Utf16BE:
      return "UTF-16BE";
    case Encoding::Latin1:
      return "ISO-8859-1";
    case Encoding::Windows1252:
      return "windows-1252";
    case Encoding::Ascii:
      return "US-ASCII";
  }
  return "";
}

// The offset of the first byte from `from` on that does not start a well-formed UTF-8
// sequence, or npos.
std::size_t firstInvalidUtf8(const std::string& bytes, std::size_t from) {
  for (std::size_t pos = from; pos < bytes.size();) {
    const std::size_t at = pos;
    // A replacement character may be in the text itself; only a malformed sequence is refused.
    if (utf8::next(bytes, pos) == utf8::kReplacement && bytes.compare(at, 3, "\xEF\xBF\xBD") != 0) {
      return at;
    }
  }
  return std::string::npos;
}

std::string fromUtf8(const std::string& bytes) {
  const std::size_t start = startsWith(bytes, "\xEF\xBB\xBF", 3) ? 3 : 0;
  const std::size_t invalid = firstInvalidUtf8(bytes, start);
  if (invalid != std::string::npos)
    throw CharsetError::invalidBytes(nameOf(Encoding::Utf8), invalid);
  return bytes.substr(start);
}

std::string fromUtf16(const std::string& bytes, Encoding order) {
  const bool little = order == Encoding::Utf16LE;
  const auto unitAt = [&](std::size_t at) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return static_cast<char32_t>(little ? first | second << 8 : first << 8 | second);
  };
  std::size_t pos = 0;
  if (bytes.size() >= 2 && unitAt(0) == 0xFEFF) pos = 2;
  std::string out;
  out.reserve(bytes.size() / 2);
  while (pos < bytes.size()) {
    if (pos + 1 >= bytes.size()) throw CharsetError::invalidBytes(nameOf(order), pos);
    char32_t unit = unitAt(pos);
    if (unit >= 0xDC00 && unit <= 0xDFFF) throw CharsetError::invalidBytes(nameOf(order), pos);
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (pos + 3 >= bytes.size()) throw CharsetError::invalidBytes(nameOf(order), pos);
      const char32_t low = unitAt(pos + 2);
      if (low < 0xDC00 || low > 0xDFFF) throw CharsetError::invalidBytes(nameOf(order), pos);
      unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
      pos += 2;
    }
    pos += 2;
    utf8::append(out, unit);
  }
  return out;
}

std::string fromSingleByte(const std::string& bytes, Encoding encoding) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 4);
  for (std::size_t pos = 0; pos < bytes.size(); ++pos) {
    const auto byte = static_cast<unsigned char>(bytes[pos]);
    if ((encoding == Encoding::Ascii && byte >= 0x80) ||
        (encoding == Encoding::Windows1252 && !cp1252::isDefined(byte))) {
      throw CharsetError::invalidBytes(nameOf(encoding), pos);
    }
    utf8::append(out, encoding == Encoding::Windows1252 ? cp1252::toUnicode(byte) : byte);
  }
  return out;
}

std::string decodedAs(const std::string& bytes, Encoding encoding) {
  switch (encoding) {
    case Encoding::Utf8:
      return fromUtf8(bytes);
    case Encoding::Utf16LE:
    case Encoding::Utf16BE:
      return fromUtf16(bytes, encoding);
    default:
      return fromSingleByte(bytes, encoding);
  }
}

std::optional<EncodingLabel> byteOrderMark(const std::string& bytes) {
  if (startsWith(bytes, "\xEF\xBB\xBF", 3)) {
    return EncodingLabel{nameOf(Encoding::Utf8), LabelSource::ByteOrderMark};
  }
  if (startsWith(bytes, "\xFF\xFE", 2)) {
    return EncodingLabel{nameOf(Encoding::Utf16LE), LabelSource::ByteOrderMark};
  }
  if (startsWith(bytes, "\xFE\xFF", 2)) {
    return EncodingLabel{nameOf(Encoding::Utf16BE), LabelSource::ByteOrderMark};
  }
  return std::nullopt;
}

using Label = std::pair<EncodingLabel, Encoding>;

// Valid UTF-8 that holds at least one multi-byte sequence: text that chance hardly makes in an
// 8-bit code page, so UTF-8 is what it is when a label says so.
bool isMultiByteUtf8(const std::string& bytes) {
  const bool multiByte = std::any_of(bytes.begin(), bytes.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  return multiByte && firstInvalidUtf8(bytes, 0) == std::string::npos;
}

// The one text that every label reads the bytes as; nothing when two readings differ or a
// label cannot read the bytes at all.
std::optional<std::string> commonReading(const std::string& bytes,
                                         const std::vector<Label>& labels) {
  std::optional<std::string> common;
  for (const Label& label : labels) {
    std::string text;
    try {
      text = decodedAs(bytes, label.second);
    } catch (const CharsetError&) {
      return std::nullopt;
    }
    if (common && text != *common) return std::nullopt;
    common = std::move(text);
  }
  return common;
}

// The text of a document whose labels disagree, when the bytes settle it; else the error
// naming the first label and the first one that contradicts it.
std::string settled(const std::string& bytes, const std::vector<Label>& labels,
                    const Label& contradicting) {
  const bool oneSaysUtf8 = std::any_of(labels.begin(), labels.end(), [](const Label& label) {
    return label.second == Encoding::Utf8;
  });
  if (oneSaysUtf8 && isMultiByteUtf8(bytes)) {
    return fromUtf8(bytes);
  }
  if (auto common = commonReading(bytes, labels)) return *common;
  throw CharsetError::contradiction(labels.front().first, contradicting.first);
}

}  // namespace

CharsetError::CharsetError(Kind kind, const std::string& message, EncodingLabel first,
                           EncodingLabel second, std::size_t offset)
    : VornError(message),
      kind_(kind),
      labels_{std::move(first), std::move(second)},
      offset_(offset) {}

CharsetError CharsetError::invalidBytes(const std::string& encoding, std::size_t offset) {
  return {
      Kind::InvalidBytes,
      "bytes inválidos para a codificação " + encoding + " na posição " + std::to_string(offset),
      {encoding, LabelSource::Declaration},
      {},
      offset};
}

CharsetError CharsetError::unsupported(const std::string& encoding) {
  return {Kind::Unsupported,
          "a codificação \"" + encoding + "\" não é suportada",
          {encoding, LabelSource::Declaration},
          {},
          0};
}

CharsetError CharsetError::contradiction(const EncodingLabel& first, const EncodingLabel& second) {
  const auto described = [](const EncodingLabel& label) {
    const char* where = label.source == LabelSource::ByteOrderMark ? "marca de ordem de bytes"
                        : label.source == LabelSource::ContentType ? "Content-Type"
                                                                   : "declaração XML";
    return label.name + " (" + where + ")";
  };
  return {
      Kind::Contradiction,
      "as codificações indicadas se contradizem: " + described(first) + " e " + described(second),
      first, second, 0};
}

std::string charsetOf(const std::string& contentType) {
  std::size_t at = contentType.find(';');
  while (at != std::string::npos) {
    const auto next = contentType.find(';', at + 1);
    const std::string parameter = trimmed(contentType.substr(at + 1, next - at - 1), kHeaderBlanks);
    const auto equals = parameter.find('=');
    if (equals != std::string::npos &&
        asciiLower(trimmed(parameter.substr(0, equals), kHeaderBlanks)) == "charset") {
      std::string value = trimmed(parameter.substr(equals + 1), kHeaderBlanks);
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
      }
      return value;
    }
    at = next;
  }
  return "";
}

std::string decodeDocument(const std::string& bytes, const std::string& contentType) {
  std::vector<Label> labels;
  const auto add = [&labels, &bytes](EncodingLabel label) {
    if (label.name.empty()) return;
    const auto encoding = encodingNamed(label.name, bytes);
    if (!encoding) throw CharsetError::unsupported(label.name);
    labels.emplace_back(std::move(label), *encoding);
  };
  if (auto mark = byteOrderMark(bytes)) add(std::move(*mark));
  add({charsetOf(contentType), LabelSource::ContentType});
  add({declaredEncoding(bytes), LabelSource::Declaration});
  if (labels.empty()) return decodedAs(bytes, utf16Order(bytes).value_or(Encoding::Utf8));
  const auto contradicting =
      std::find_if(labels.begin(), labels.end(),
                   [&labels](const Label& label) { return label.second != labels[0].second; });
  if (contradicting == labels.end()) return decodedAs(bytes, labels[0].second);
  return settled(bytes, labels, *contradicting);
}

}  // namespace vornleads::xml
