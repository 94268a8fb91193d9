// Text across the module boundary and between encodings: one table of each conversion's input and
// output.
#include "vornleads/text/codepage.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>

namespace vornleads {
namespace {

const std::string kFFFD = "\xEF\xBF\xBD";  // U+FFFD, the replacement character

// UTF-16 written as its code units in hex, "0061 D83D DE00".
std::string units(const std::u16string& text) {
  std::string out;
  for (char16_t unit : text) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "%s%04X", out.empty() ? "" : " ", static_cast<unsigned>(unit));
    out += hex;
  }
  return out;
}

std::u16string fromUnits(const std::string& hex) {
  std::u16string out;
  std::istringstream in(hex);
  for (unsigned unit = 0; in >> std::hex >> unit;) out += static_cast<char16_t>(unit);
  return out;
}

// Each test chooses the boundary code page and puts back the one it found.
class CodePageTest : public ::testing::Test {
 protected:
  void TearDown() override { setBoundaryCodePage(saved_); }

 private:
  CodePage saved_ = boundaryCodePage();
};

using Conversion = std::function<std::string(const std::string&)>;

Conversion at(CodePage page, std::string (*convert)(const std::string&)) {
  return [page, convert](const std::string& text) {
    setBoundaryCodePage(page);
    return convert(text);
  };
}

TEST_F(CodePageTest, EachConversion) {
  const Conversion toAnsi8 = at(CodePage::Utf8, toAnsi), fromAnsi8 = at(CodePage::Utf8, fromAnsi);
  const Conversion toAnsi1252 = at(CodePage::Cp1252, toAnsi);
  const Conversion fromAnsi1252 = at(CodePage::Cp1252, fromAnsi);
  const Conversion toUtf16 = [](const std::string& text) { return units(utf8ToUtf16(text)); };
  const Conversion fromUtf16 = [](const std::string& hex) { return utf16ToUtf8(fromUnits(hex)); };
  struct Row {
    const char* routine;
    Conversion convert;
    std::string in, out;
  };
  const Row rows[] = {
      {"toAnsi UTF-8", toAnsi8, "Não foi possível €", "Não foi possível €"},
      {"fromAnsi UTF-8", fromAnsi8, "Não foi possível €", "Não foi possível €"},
      {"fromAnsi UTF-8", fromAnsi8,
       "a\xFF"
       "b",
       "a" + kFFFD + "b"},
      {"fromAnsi UTF-8", fromAnsi8, "\xC3", kFFFD},  // a truncated sequence
      {"toAnsi 1252", toAnsi1252, "ação €", "a\xE7\xE3o \x80"},
      {"toAnsi 1252", toAnsi1252, "“aspas” – Š œ Ÿ ™",
       "\x93"
       "aspas\x94 \x96 \x8A \x9C \x9F \x99"},
      {"toAnsi 1252", toAnsi1252, "日本", "??"},  // one '?' per character the page lacks
      {"toAnsi 1252", toAnsi1252, "x😀y", "x?y"},
      {"toAnsi 1252", toAnsi1252, "Łódź",
       "?\xF3"
       "d?"},
      {"toAnsi 1252", toAnsi1252, "\xC2\x80", "?"},  // U+0080 is not the euro sign's byte
      {"toAnsi 1252", toAnsi1252,
       "a\xFF"
       "b",
       "a?b"},
      {"fromAnsi 1252", fromAnsi1252, "a\xE7\xE3o \x80", "ação €"},
      {"fromAnsi 1252", fromAnsi1252, "\x82\x83\x84\x85\x86\x87\x88\x89", "‚ƒ„…†‡ˆ‰"},
      {"fromAnsi 1252", fromAnsi1252, "\x8B\x8E\x91\x92\x95\x97\x98\x9B\x9E", "‹Ž‘’•—˜›ž"},
      {"fromAnsi 1252", fromAnsi1252, "\x81\x8D\x8F\x90\x9D",
       "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"},
      {"to UTF-16", toUtf16, "aé€😀", "0061 00E9 20AC D83D DE00"},
      {"to UTF-16", toUtf16, "\xF0\x90\x80\x80", "D800 DC00"},
      {"to UTF-16", toUtf16, "", ""},
      {"to UTF-16", toUtf16, "\xC0\xAF", "FFFD FFFD"},                    // overlong '/'
      {"to UTF-16", toUtf16, "\xED\xA0\x80", "FFFD FFFD FFFD"},           // encoded surrogate
      {"to UTF-16", toUtf16, "\xF4\x90\x80\x80", "FFFD FFFD FFFD FFFD"},  // past U+10FFFF
      {"to UTF-16", toUtf16,
       "\xE2\x82"
       "a",
       "FFFD FFFD 0061"},
      {"from UTF-16", fromUtf16, "0061 00E9 20AC D83D DE00", "aé€😀"},
      {"from UTF-16", fromUtf16, "007F 0080 07FF 0800 FFFF",
       "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
      {"from UTF-16", fromUtf16, "D800 DC00 DBFF DFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"from UTF-16", fromUtf16, "D800", kFFFD},
      {"from UTF-16", fromUtf16, "DC00 0061", kFFFD + "a"},
      {"toAscii", toAscii, "ação 😀 €!", "a??o ? ?!"},
      {"toAscii", toAscii,
       "a\xFF"
       "b",
       "a?b"},
      {"upperCase", upperCase, "sql server az", "SQL SERVER AZ"},
      {"upperCase", upperCase, "ação à é í õ ü ñ þ", "AÇÃO À É Í Õ Ü Ñ Þ"},
      {"upperCase", upperCase, "÷ ÿ ß µ œ 1-z", "÷ ÿ ß µ œ 1-Z"},
      {"upperCase", upperCase,
       "a\xFF"
       "b",
       "A\xFF"
       "B"},  // malformed bytes are kept
  };
  for (const Row& row : rows)
    EXPECT_EQ(row.convert(row.in), row.out) << row.routine << " " << row.in;

  // Every byte of Windows-1252 comes back from UTF-8.
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  EXPECT_EQ(toAnsi1252(fromAnsi1252(all)), all);
}

// The environment is read once per process, so each setting is tried in a fresh child process.
TEST(BoundaryCodePageDeathTest, EnvironmentChoosesThePageOnFirstUse) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto& [setting, page] :
       {std::pair{"CP1252", CodePage::Cp1252}, std::pair{"windows-1252", CodePage::Cp1252},
        std::pair{"UTF-8", CodePage::Utf8}, std::pair{"", CodePage::Utf8}}) {
    setenv("VORNLEADS_CODEPAGE", setting, 1);
    EXPECT_EXIT(std::exit(boundaryCodePage() == page ? 0 : 1), ::testing::ExitedWithCode(0), "")
        << setting;
  }
  unsetenv("VORNLEADS_CODEPAGE");
  EXPECT_EXIT(std::exit(boundaryCodePage() == CodePage::Utf8 ? 0 : 1), ::testing::ExitedWithCode(0),
              "");
}

}  // namespace
}  // namespace vornleads
