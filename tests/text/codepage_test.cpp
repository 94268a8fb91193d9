#include "vornleads/text/codepage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace vornleads {
namespace {

const std::string kBrokenByte = "\xFF";           // never valid in UTF-8
const std::string kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// Each test chooses the boundary code page and puts back the one it found.
class CodePageTest : public ::testing::Test {
 protected:
  void SetUp() override { saved_ = boundaryCodePage(); }
  void TearDown() override { setBoundaryCodePage(saved_); }

 private:
  CodePage saved_ = CodePage::Utf8;
};

TEST_F(CodePageTest, Utf8BoundaryPassesTextThroughAndRepairsBrokenBytes) {
  setBoundaryCodePage(CodePage::Utf8);
  EXPECT_EQ(toAnsi("Não foi possível €"), "Não foi possível €");
  EXPECT_EQ(fromAnsi("Não foi possível €"), "Não foi possível €");
  EXPECT_EQ(fromAnsi("a" + kBrokenByte + "b"), "a" + kReplacement + "b");
  EXPECT_EQ(fromAnsi("\xC3"), kReplacement);  // truncated sequence
}

TEST_F(CodePageTest, Cp1252EncodesLatinLettersAndTheHighControlsBlock) {
  setBoundaryCodePage(CodePage::Cp1252);
  EXPECT_EQ(toAnsi("ação €"), "a\xE7\xE3o \x80");
  EXPECT_EQ(toAnsi("“aspas” – Š œ Ÿ ™"), "\x93\x61spas\x94 \x96 \x8A \x9C \x9F \x99");
  EXPECT_EQ(fromAnsi("a\xE7\xE3o \x80"), "ação €");
  EXPECT_EQ(fromAnsi("\x82\x83\x84\x85\x86\x87\x88\x89"), "‚ƒ„…†‡ˆ‰");
  EXPECT_EQ(fromAnsi("\x8B\x8E\x91\x92\x95\x97\x98\x9B\x9E"), "‹Ž‘’•—˜›ž");
}

TEST_F(CodePageTest, Cp1252ReplacesWhatThePageLacksWithOneQuestionMarkPerCharacter) {
  setBoundaryCodePage(CodePage::Cp1252);
  EXPECT_EQ(toAnsi("日本"), "??");
  EXPECT_EQ(toAnsi("x😀y"), "x?y");
  EXPECT_EQ(toAnsi("Łódź"), "?\xF3\x64?");
  EXPECT_EQ(toAnsi("\xC2\x80"), "?");  // U+0080 is not the euro sign's byte
  EXPECT_EQ(toAnsi("a" + kBrokenByte + "b"), "a?b");
}

TEST_F(CodePageTest, Cp1252EveryByteSurvivesARoundTripThroughUtf8) {
  setBoundaryCodePage(CodePage::Cp1252);
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string utf8 = fromAnsi(all);
  EXPECT_EQ(toAnsi(utf8), all);
  EXPECT_EQ(fromAnsi("\x81\x8D\x8F\x90\x9D"), "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
}

// The environment is read once per process, so each case runs in a fresh child process.
TEST(BoundaryCodePageDeathTest, EnvironmentChoosesThePageOnFirstUse) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  setenv("VORNLEADS_CODEPAGE", "CP1252", 1);
  EXPECT_EXIT(std::exit(boundaryCodePage() == CodePage::Cp1252 && toAnsi("€") == "\x80" ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
  setenv("VORNLEADS_CODEPAGE", "UTF-8", 1);
  EXPECT_EXIT(std::exit(boundaryCodePage() == CodePage::Utf8 && toAnsi("€") == "€" ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
  unsetenv("VORNLEADS_CODEPAGE");
  EXPECT_EXIT(std::exit(boundaryCodePage() == CodePage::Utf8 ? 0 : 1), ::testing::ExitedWithCode(0),
              "");
}

TEST(Utf16Test, ConvertsWithSurrogatePairs) {
  EXPECT_EQ(utf8ToUtf16("aé€😀"), u"a\u00E9\u20AC\U0001F600");
  EXPECT_EQ(utf8ToUtf16("😀").size(), 2u);
  EXPECT_EQ(utf16ToUtf8(u"a\u00E9\u20AC\U0001F600"), "aé€😀");
  EXPECT_EQ(utf16ToUtf8(utf8ToUtf16("Não foi possível")), "Não foi possível");
  EXPECT_EQ(utf8ToUtf16(""), u"");
}

TEST(Utf16Test, MalformedInputBecomesReplacementCharacters) {
  EXPECT_EQ(utf8ToUtf16("\xC0\xAF"), u"\uFFFD\uFFFD");            // overlong '/'
  EXPECT_EQ(utf8ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // encoded surrogate
  EXPECT_EQ(utf8ToUtf16("\xF4\x90\x80\x80").front(), u'\uFFFD');  // past U+10FFFF
  EXPECT_EQ(utf16ToUtf8(std::u16string(1, u'\xD800')), kReplacement);
  EXPECT_EQ(utf16ToUtf8(u"\xDC00\x61"), kReplacement + "a");
}

TEST(AsciiTest, OneQuestionMarkPerCharacter) {
  EXPECT_EQ(toAscii("ação 😀 €!"), "a??o ? ?!");
  EXPECT_EQ(toAscii("plain"), "plain");
  EXPECT_EQ(toAscii("a" + kBrokenByte + "b"), "a?b");
}

TEST(UpperCaseTest, AsciiAndLatinLetters) {
  EXPECT_EQ(upperCase("sql server"), "SQL SERVER");
  EXPECT_EQ(upperCase("ação à é í õ ü ñ þ"), "AÇÃO À É Í Õ Ü Ñ Þ");
  EXPECT_EQ(upperCase("÷ ÿ ß µ œ 1-z"), "÷ ÿ ß µ œ 1-Z");
  EXPECT_EQ(upperCase("a" + kBrokenByte + "b"), "A" + kBrokenByte + "B");  // kept as they are
}

}  // namespace
}  // namespace vornleads
