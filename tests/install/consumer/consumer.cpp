// Uses the installed headers and libraries the way a host program does (the package and the
// data layer), checking a few answers byte for byte.
#include <vornleads/vornleads.h>

#include <iostream>
#include <string>

namespace {

int failures = 0;

void expect(const std::string& what, const std::string& actual, const std::string& expected) {
  if (actual != expected) {
    std::cerr << what << ": expected [" << expected << "] but got [" << actual << "]\n";
    ++failures;
  }
}

}  // namespace

int main() {
  using namespace vornleads;
  setBoundaryCodePage(CodePage::Utf8);
  expect("DLLMsgJSON", DLLMsgJSON("Parâmetros JSON inválidos!", 297),
         "{\"Status\":{\"Versao\":\"1.0\",\"Codigo\":297,\"Descricao\":\"Parâmetros JSON inválidos!\"}}");
  const TDateTime when = EncodeDateTime({2024, 3, 5, 14, 7, 9, 0});
  expect("DataHoraPSql", DataHoraPSql(when, "sql server"), "CAST('05-03-2024 14:07:09' AS DATETIME)");
  TAnsiString empty("");
  if (empty.Retorno() != nullptr) {
    std::cerr << "TAnsiString of empty text must hold a null pointer\n";
    ++failures;
  }
  std::cout << "consumer: " << (failures == 0 ? "ok" : "failed") << "\n";
  return failures == 0 ? 0 : 1;
}
