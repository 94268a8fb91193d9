// An XML document's bytes as UTF-8, read in the encoding its Content-Type, declaration or
// byte-order mark names: one table of documents and what comes of each.
#include "text/xml_charset.h"

#include <gtest/gtest.h>

#include <string>

#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

// UTF-8 text as UTF-16 bytes, with or without a byte-order mark.
std::string utf16(const std::string& text, bool little, bool mark) {
  std::string bytes;
  for (char16_t unit : (mark ? u"\uFEFF" : u"") + utf8ToUtf16(text)) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += little ? std::string{low, high} : std::string{high, low};
  }
  return bytes;
}

std::string decoded(const std::string& bytes, const std::string& contentType) {
  try {
    return "= " + xml::decodeDocument(bytes, contentType);
  } catch (const xml::CharsetError& error) {
    return "! " + std::string(error.what());
  }
}

std::string declared(const std::string& encoding, const std::string& rest) {
  return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + rest;
}

TEST(XmlCharsetTest, EachDocumentReadsAsExpected) {
  const std::string text = "<a>ação € 😀 \xEF\xBF\xBD</a>";  // a replacement character is text
  const std::string latin1 = "<a>a\xE7\xE3o \x80</a>";
  const std::string invalid = "! bytes inválidos para a codificação ";
  struct Row {
    const char* form;
    std::string contentType, bytes, outcome;
  };
  const Row rows[] = {
      {"UTF-8 named", "text/xml; charset=utf-8", text, "= " + text},
      {"UTF-8 by default", "text/xml", text, "= " + text},
      {"UTF-8 named utf8", "text/xml; charset=utf8", text, "= " + text},
      {"UTF-8 mark dropped", "", "\xEF\xBB\xBF" + text, "= " + text},
      {"Latin-1 named in capitals", "text/xml; CHARSET=ISO-8859-1", latin1,
       "= <a>ação \xC2\x80</a>"},
      {"windows-1252 quoted", "text/xml; charset=\"windows-1252\"", latin1, "= <a>ação €</a>"},
      {"declared with blanks", "text/xml", "<?xml version='1.0' encoding = 'cp1252'?>" + latin1,
       "= <?xml version='1.0' encoding = 'cp1252'?><a>ação €</a>"},
      {"empty charset: the declaration", "text/xml; charset=\"\"", declared("latin1", latin1),
       "= " + declared("latin1", "<a>ação \xC2\x80</a>")},
      {"Content-Type over declaration", "text/xml; charset=windows-1252", declared("utf-8", latin1),
       "= " + declared("utf-8", "<a>ação €</a>")},
      {"declaration over UTF-8 mark", "", "\xEF\xBB\xBF" + declared("ISO-8859-1", "<a/>"),
       "= \xC3\xAF\xC2\xBB\xC2\xBF" + declared("ISO-8859-1", "<a/>")},
      {"declaration without quotes", "", "<?xml encoding=latin1?>ç", "= <?xml encoding=latin1?>ç"},
      {"UTF-16LE marked, declared UCS-2", "", utf16(declared("UCS-2", text), true, true),
       "= " + declared("UCS-2", text)},
      {"UTF-16BE marked, named utf-16", "text/xml; charset=utf-16", utf16(text, false, true),
       "= " + text},
      {"UTF-16LE declared, unmarked", "", utf16(declared("utf-16", text), true, false),
       "= " + declared("utf-16", text)},
      {"UTF-16LE neither marked nor declared", "", utf16(text, true, false), "= " + text},
      {"UTF-16BE neither marked nor declared", "", utf16(text, false, false), "= " + text},
      {"UTF-16 named, LE unmarked", "text/xml; charset=utf-16", utf16(text, true, false),
       "= " + text},
      {"UTF-16BE named", "text/xml; charset=UTF-16BE", utf16("<a>€</a>", false, false),
       "= <a>€</a>"},
      {"UTF-16 cut in a character", "text/xml; charset=utf-16le", utf16("<a/>", true, false) + "<",
       invalid + "UTF-16LE na posição 8"},
      {"UTF-16 lone low surrogate", "",
       utf16("<a>", true, false) + std::string("\0\xDC", 2) + utf16("</a>", true, false),
       invalid + "UTF-16LE na posição 6"},
      {"UTF-16 high surrogate alone", "", utf16("<a>", false, false) + std::string("\xD8\0\0a", 4),
       invalid + "UTF-16BE na posição 6"},
      {"UTF-16 high surrogate at the end", "",
       utf16("<a>", false, false) + std::string("\xD8\0", 2), invalid + "UTF-16BE na posição 6"},
      {"Latin-1 under UTF-8", "text/xml; charset=UTF-8", latin1, invalid + "UTF-8 na posição 4"},
      {"ASCII", "text/xml; charset=US-ASCII", "<a>x</a>", "= <a>x</a>"},
      {"beyond ASCII", "text/xml; charset=ascii", "<a>\xE9</a>", invalid + "US-ASCII na posição 3"},
      {"undefined in windows-1252", "text/xml; charset=x-cp1252", "<a>\x81</a>",
       invalid + "windows-1252 na posição 3"},
      {"unsupported", "text/xml; charset=shift_jis", "<a/>",
       "! a codificação \"shift_jis\" não é suportada"},
      {"unsupported declared", "", declared("EBCDIC", "<a/>"),
       "! a codificação \"EBCDIC\" não é suportada"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(decoded(row.bytes, row.contentType), row.outcome) << row.form;
}

TEST(XmlCharsetTest, CharsetOfTheContentType) {
  const std::pair<const char*, const char*> rows[] = {{"text/xml; charset=\"UTF-8\"", "UTF-8"},
                                                      {"text/xml", ""},
                                                      {"text/xml;charset = utf-8 ; q=1", "utf-8"},
                                                      {"a; b=c; Charset=x", "x"},
                                                      {"text/xml; charset=\"\"", ""},
                                                      {"text/xml; charset=\"x", "\"x"},
                                                      {"text/xml; x=charset", ""}};
  for (const auto& [contentType, charset] : rows) EXPECT_EQ(xml::charsetOf(contentType), charset);
}

}  // namespace
}  // namespace vornleads
