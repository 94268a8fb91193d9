// TAnsiString: 8-bit text in, owned UTF-16 out.
#include "vornleads/package/dll_string.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "package/code_page_scope.h"

namespace vornleads {
namespace {

// The UTF-16 text up to its terminator.
std::u16string units(const DllString& text) {
  const char16_t* p = text.Retorno();
  return p == nullptr ? u"<null>" : std::u16string(p);
}

TEST(TAnsiString, EmptyTextGivesANullPointer) {
  const TAnsiString empty("");
  EXPECT_EQ(empty.Retorno(), nullptr);
}

TEST(TAnsiString, Utf8Boundary) {
  const test::CodePageScope utf8(CodePage::Utf8);
  const std::unique_ptr<DllString> text = std::make_unique<TAnsiString>("Ação {\"x\":1} €");
  EXPECT_EQ(units(*text), (std::u16string{u'A', 0x00E7, 0x00E3, u'o', u' ', u'{', u'"', u'x', u'"',
                                          u':', u'1', u'}', u' ', 0x20AC}));
  // Outside the basic plane: one character, two UTF-16 units.
  EXPECT_EQ(units(TAnsiString("\xF0\x9F\x98\x80")), (std::u16string{0xD83D, 0xDE00}));
  // The pointer is the object's own buffer, the same on every call.
  EXPECT_EQ(text->Retorno(), text->Retorno());
}

TEST(TAnsiString, Windows1252Boundary) {
  const test::CodePageScope cp1252(CodePage::Cp1252);
  EXPECT_EQ(units(TAnsiString("A\xE7\xE3o \x80")),
            (std::u16string{u'A', 0x00E7, 0x00E3, u'o', u' ', 0x20AC}));
}

}  // namespace
}  // namespace vornleads
