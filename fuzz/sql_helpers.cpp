// The SQL text helpers of the dialect unit that take text: CopiaStr, IsNumber, AddSQL,
// SQLEmpresaRevenda and SQLChaveComposta. Input: up to five arguments separated by byte 0x01,
// handed to each helper in its own order (see below). Only AddSQL of kind "H" may raise
// (ConversionError for text that is no date-time); the others return text for any input.
#include <string>

#include "fuzz_input.h"
#include "vornleads/data/geral.h"
#include "vornleads/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vornleads;
  const auto a = fuzz::arguments(data, size, 5);
  const char separator = a[2].empty() ? ';' : a[2][0];
  const std::string field = CopiaStr(a[0], fuzz::smallNumber(a[1]), separator);
  if (field.find(separator) != std::string::npos) {
    fuzz::finding("CopiaStr returned a field that holds the separator");
  }
  IsNumber(a[0]);
  try {
    AddSQL(a[0], a[1], a[2]);
  } catch (const ConversionError&) {
  }
  SQLEmpresaRevenda(a[0], a[1], a[2], fuzz::smallNumber(a[3]));
  SQLChaveComposta(a[0], a[1], a[2], a[3], a[4]);
  return 0;
}
