// Text between encodings: the module boundary's code page, UTF-16, ASCII, upper case, and the
// charset of an XML document as its byte-order mark, Content-Type or declaration names it.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <string>

#include "text/xml_charset.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

const std::string kFFFD = "\xEF\xBF\xBD";  // U+FFFD, the replacement character

// UTF-8 text as UTF-16 bytes, with or without a byte-order mark.
std::string utf16(const std::string& text, bool little, bool mark) {
  std::string bytes;
  for (char16_t unit : (mark ? u"\uFEFF" : u"") + utf8ToUtf16(text)) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += little ? std::string{low, high} : std::string{high, low};
  }
  return bytes;
}

using Conversion = std::function<std::string(const std::string&)>;

Conversion at(CodePage page, std::string (*convert)(const std::string&)) {
  return [page, convert](const std::string& text) {
    setBoundaryCodePage(page);
    return convert(text);
  };
}

TEST(CodePageTest, EachConversion) {
  const CodePage saved = boundaryCodePage();
  const Conversion toAnsi8 = at(CodePage::Utf8, toAnsi), fromAnsi8 = at(CodePage::Utf8, fromAnsi);
  const Conversion to1252 = at(CodePage::Cp1252, toAnsi), from1252 = at(CodePage::Cp1252, fromAnsi);
  const Conversion toUtf16 = [](const std::string& text) {  // code units in hex, "0061 D83D DE00"
    std::string out;
    for (char16_t unit : utf8ToUtf16(text)) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "%s%04X", out.empty() ? "" : " ", static_cast<unsigned>(unit));
      out += hex;
    }
    return out;
  };
  const Conversion fromUtf16 = [](const std::string& hex) {
    std::u16string text;
    std::istringstream in(hex);
    for (unsigned unit = 0; in >> std::hex >> unit;) text += static_cast<char16_t>(unit);
    return utf16ToUtf8(text);
  };
  struct Row {
    Conversion convert;
    std::string in, out;
  };
  // clang-format off
  const Row rows[] = {
      {toAnsi8, "Não foi possível €", "Não foi possível €"},
      {fromAnsi8, "Não foi possível €", "Não foi possível €"},
      {fromAnsi8, "a\xFF" "b", "a" + kFFFD + "b"},  {fromAnsi8, "\xC3", kFFFD},  // truncated
      {to1252, "ação €", "a\xE7\xE3o \x80"},       {to1252, "日本", "??"},  // one '?' a character
      {to1252, "“aspas” – Š œ Ÿ ™", "\x93" "aspas\x94 \x96 \x8A \x9C \x9F \x99"},
      {to1252, "x😀y", "x?y"},  {to1252, "Łódź", "?\xF3" "d?"},  {to1252, "a\xFF" "b", "a?b"},
      {to1252, "\xC2\x80", "?"},  // U+0080 is not the euro sign's byte
      {from1252, "a\xE7\xE3o \x80", "ação €"},
      {from1252, "\x82\x83\x84\x85\x86\x87\x88\x89\x8B\x8E", "‚ƒ„…†‡ˆ‰‹Ž"},
      {from1252, "\x91\x92\x95\x97\x98\x9B\x9E", "‘’•—˜›ž"},
      {from1252, "\x81\x8D\x8F\x90\x9D", "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"},
      {toUtf16, "aé€😀", "0061 00E9 20AC D83D DE00"}, {toUtf16, "\xF0\x90\x80\x80", "D800 DC00"},
      {toUtf16, "", ""},  {toUtf16, "\xC0\xAF", "FFFD FFFD"},  // overlong '/'
      {toUtf16, "\xED\xA0\x80", "FFFD FFFD FFFD"},              // encoded surrogate
      {toUtf16, "\xF4\x90\x80\x80", "FFFD FFFD FFFD FFFD"},     // past U+10FFFF
      {toUtf16, "\xE2\x82" "a", "FFFD FFFD 0061"},
      {fromUtf16, "0061 00E9 20AC D83D DE00", "aé€😀"},
      {fromUtf16, "007F 0080 07FF 0800 FFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {fromUtf16, "D800 DC00 DBFF DFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {fromUtf16, "D800", kFFFD},  {fromUtf16, "DC00 0061", kFFFD + "a"},
      {toAscii, "ação 😀 €!", "a??o ? ?!"},  {toAscii, "a\xFF" "b", "a?b"},
      {upperCase, "sql server az", "SQL SERVER AZ"},
      {upperCase, "ação à é í õ ü ñ þ", "AÇÃO À É Í Õ Ü Ñ Þ"},
      {upperCase, "÷ ÿ ß µ œ 1-z", "÷ ÿ ß µ œ 1-Z"},  {upperCase, "a\xFF" "b", "A\xFF" "B"}};
  // clang-format on
  for (const Row& row : rows) EXPECT_EQ(row.convert(row.in), row.out) << row.in;

  // Every byte of Windows-1252 comes back from UTF-8.
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  EXPECT_EQ(to1252(from1252(all)), all);
  setBoundaryCodePage(saved);
}

TEST(XmlCharsetTest, EachDocumentReadsAsExpected) {
  const std::string text = "<a>ação € 😀 " + kFFFD + "</a>";  // a replacement character is text
  const std::string latin1 = "<a>a\xE7\xE3o \x80</a>", asLatin1 = "<a>ação \xC2\x80</a>";
  const auto declared = [](const std::string& encoding, const std::string& rest) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + rest;
  };
  const std::string bad = "! bytes inválidos para a codificação ", xml = "text/xml; charset=";
  const std::string contradict = "! as codificações indicadas se contradizem: ";
  struct Row {
    std::string contentType, bytes, outcome;
  };
  // clang-format off
  const Row rows[] = {
      {xml + "utf-8", text, "= " + text}, {"text/xml", text, "= " + text}, {xml + "utf8", text, "= " + text},
      {"", "\xEF\xBB\xBF" + text, "= " + text},  // the mark is dropped
      {"text/xml; CHARSET=ISO-8859-1", latin1, "= " + asLatin1},
      {xml + "\"windows-1252\"", latin1, "= <a>ação €</a>"},
      {"", "<?xml version='1.0' encoding = 'cp1252'?>" + latin1,
       "= <?xml version='1.0' encoding = 'cp1252'?><a>ação €</a>"},
      {xml + "\"\"", declared("latin1", latin1), "= " + declared("latin1", asLatin1)},
      // Labels that disagree: the bytes settle it, or the labels are both named.
      {"", "\xEF\xBB\xBF" + declared("ISO-8859-1", ""), "= " + declared("ISO-8859-1", "")},
      {"", "\xEF\xBB\xBF" + declared("windows-1252", text), "= " + declared("windows-1252", text)},
      {xml + "ISO-8859-1", declared("utf-8", text), "= " + declared("utf-8", text)},
      {xml + "latin1", declared("utf-8", "<a/>"), "= " + declared("utf-8", "<a/>")},  // same either way
      {xml + "windows-1252", declared("utf-8", latin1), contradict + "windows-1252 (Content-Type) e utf-8 (declaração XML)"},
      {xml + "utf-8", declared("ISO-8859-1", latin1), contradict + "utf-8 (Content-Type) e ISO-8859-1 (declaração XML)"},
      {"", utf16(declared("ISO-8859-1", text), true, true),
       contradict + "UTF-16LE (marca de ordem de bytes) e ISO-8859-1 (declaração XML)"},
      {"", "<?xml encoding=latin1?>ç", "= <?xml encoding=latin1?>ç"},  // unquoted: not read
      {"", "<a encoding=\"latin1\">ç</a>", "= <a encoding=\"latin1\">ç</a>"},  // no declaration: not read
      {"", utf16(declared("UCS-2", text), true, true), "= " + declared("UCS-2", text)},
      {xml + "utf-16", utf16(text, false, true), "= " + text},
      {"", utf16(declared("utf-16", text), true, false), "= " + declared("utf-16", text)},
      {"", utf16(text, true, false), "= " + text},  {"", utf16(text, false, false), "= " + text},
      {xml + "utf-16", utf16(text, true, false), "= " + text},
      {xml + "UTF-16BE", utf16("<a>€</a>", false, false), "= <a>€</a>"},
      {xml + "utf-16le", utf16("<a/>", true, false) + "<", bad + "UTF-16LE na posição 8"},
      {"", utf16("<a>", true, false) + std::string("\0\xDC", 2), bad + "UTF-16LE na posição 6"},
      {"", utf16("<a>", false, false) + std::string("\xD8\0\0a", 4), bad + "UTF-16BE na posição 6"},
      {"", utf16("<a>", false, false) + std::string("\xD8\0", 2), bad + "UTF-16BE na posição 6"},
      {xml + "UTF-8", latin1, bad + "UTF-8 na posição 4"},
      {xml + "US-ASCII", "<a>x</a>", "= <a>x</a>"},  {xml + "ascii", "<a>\xE9</a>", bad + "US-ASCII na posição 3"},
      {xml + "x-cp1252", "<a>\x81</a>", bad + "windows-1252 na posição 3"},
      {xml + "shift_jis", "<a/>", "! a codificação \"shift_jis\" não é suportada"},
      {"", declared("EBCDIC", ""), "! a codificação \"EBCDIC\" não é suportada"}};
  // clang-format on
  for (const Row& row : rows) {
    std::string outcome;
    try {
      outcome = "= " + xml::decodeDocument(row.bytes, row.contentType);
    } catch (const xml::CharsetError& error) {
      outcome = "! " + std::string(error.what());
    }
    EXPECT_EQ(outcome, row.outcome) << row.contentType << " " << row.bytes;
  }

  const std::pair<const char*, const char*> charsets[] = {
      {"text/xml; charset=\"UTF-8\"", "UTF-8"},
      {"text/xml", ""},
      {"a; b=c; Charset=x", "x"},
      {"text/xml;charset = utf-8 ; q=1", "utf-8"},
      {"text/xml; charset=\"\"", ""},
      {"text/xml; charset=\"x", "\"x"},
      {"text/xml; x=charset", ""}};
  for (const auto& [contentType, charset] : charsets)
    EXPECT_EQ(xml::charsetOf(contentType), charset);
}

}  // namespace
}  // namespace vornleads
