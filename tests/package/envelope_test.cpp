// The status envelope, written out in full, in both boundary code pages.
#include "vornleads/package/envelope.h"

#include <gtest/gtest.h>

#include "package/code_page_scope.h"

namespace vornleads {
namespace {

TEST(DLLMsgJSON, FacadeMessages) {
  const test::CodePageScope utf8(CodePage::Utf8);
  EXPECT_EQ(DLLMsgJSON("Parâmetros JSON inválidos!", 297),
            R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Parâmetros JSON inválidos!"}})");
  EXPECT_EQ(DLLMsgJSON("Ok", 0), R"({"Status":{"Versao":"1.0","Codigo":0,"Descricao":"Ok"}})");
  EXPECT_EQ(
      DLLMsgJSON("Erro ao registrar solicitação!", 202),
      R"({"Status":{"Versao":"1.0","Codigo":202,"Descricao":"Erro ao registrar solicitação!"}})");
  EXPECT_EQ(DLLMsgJSON("", 0), R"({"Status":{"Versao":"1.0","Codigo":0,"Descricao":""}})");
  EXPECT_EQ(DLLMsgJSON("x", -2147483647 - 1),
            R"({"Status":{"Versao":"1.0","Codigo":-2147483648,"Descricao":"x"}})");
}

TEST(DLLMsgJSON, EscapesWhatJsonRequires) {
  const test::CodePageScope utf8(CodePage::Utf8);
  EXPECT_EQ(DLLMsgJSON("Falha \"conexão\" em C:\\tmp\r\n\t\x01\x1f/fim", 297),
            R"({"Status":{"Versao":"1.0","Codigo":297,)"
            R"("Descricao":"Falha \"conexão\" em C:\\tmp\r\n\t\u0001\u001f/fim"}})");
  // Broken UTF-8 in an error text does not make the envelope fail.
  EXPECT_EQ(DLLMsgJSON("a\xC3(", 297),
            "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":297,\"Descricao\":\"a\xEF\xBF\xBD(\"}}");
}

TEST(DLLMsgJSON, Windows1252Boundary) {
  const test::CodePageScope cp1252(CodePage::Cp1252);
  EXPECT_EQ(DLLMsgJSON("Parâmetros JSON inválidos!", 297),
            "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":297,"
            "\"Descricao\":\"Par\xE2metros JSON inv\xE1lidos!\"}}");
  // The euro sign exists in Windows-1252; the Polish l with stroke does not.
  EXPECT_EQ(DLLMsgJSON("€ \xC5\x82 \"q\"", 1),
            "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":1,\"Descricao\":\"\x80 ? \\\"q\\\"\"}}");
}

}  // namespace
}  // namespace vornleads
