#include "intake/conversoes.h"

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "vornleads/error.h"
#include "vornleads/text/text_cut.h"

namespace vornleads::intake {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Reads [sign] digits [sep digits] [e|E [sign] digits] from text, whole, with surrounding
// blanks; the result goes through strtod with '.' as the point.
bool lerReal(const std::string& texto, char separador, double& valor) {
  size_t inicio = texto.find_first_not_of(' ');
  size_t fim = texto.find_last_not_of(' ');
  if (inicio == std::string::npos) return false;
  std::string numero;
  size_t i = inicio;
  if (texto[i] == '+' || texto[i] == '-') numero += texto[i++];
  size_t digitos = 0;
  while (i <= fim && isDigit(texto[i])) numero += texto[i++], ++digitos;
  if (i <= fim && texto[i] == separador) {
    numero += '.';
    ++i;
    while (i <= fim && isDigit(texto[i])) numero += texto[i++], ++digitos;
  }
  if (digitos == 0) return false;
  if (i <= fim && (texto[i] == 'e' || texto[i] == 'E')) {
    numero += 'e';
    ++i;
    if (i <= fim && (texto[i] == '+' || texto[i] == '-')) numero += texto[i++];
    size_t expoente = 0;
    while (i <= fim && isDigit(texto[i])) numero += texto[i++], ++expoente;
    if (expoente == 0) return false;
  }
  if (i != fim + 1) return false;
  errno = 0;
  valor = std::strtod(numero.c_str(), nullptr);
  return errno != ERANGE && std::isfinite(valor);
}

}  // namespace

int32_t TextoParaInteiro(const std::string& texto) {
  size_t i = texto.find_first_not_of(' ');
  bool negativo = false;
  if (i != std::string::npos && (texto[i] == '+' || texto[i] == '-')) negativo = texto[i++] == '-';
  const size_t primeiro = i;
  int64_t valor = 0;
  for (; i != std::string::npos && i < texto.size() && isDigit(texto[i]); ++i) {
    valor = valor * 10 + (texto[i] - '0');
    if (valor > int64_t{std::numeric_limits<int32_t>::max()} + 1) break;
  }
  const int64_t resultado = negativo ? -valor : valor;
  if (primeiro == std::string::npos || i == primeiro || i != texto.size() ||
      resultado > std::numeric_limits<int32_t>::max() ||
      resultado < std::numeric_limits<int32_t>::min()) {
    throw ConversionError("\"" + excerpt(texto) + "\" is not a valid integer value");
  }
  return static_cast<int32_t>(resultado);
}

int32_t ArredondaInteiro(double valor) {
  if (!std::isfinite(valor)) throw ConversionError("Invalid floating point operation");
  const int anterior = std::fegetround();
  std::fesetround(FE_TONEAREST);
  const double inteiro = std::nearbyint(valor);
  std::fesetround(anterior);
  if (inteiro > std::numeric_limits<int32_t>::max() ||
      inteiro < std::numeric_limits<int32_t>::min()) {
    char texto[64];
    std::snprintf(texto, sizeof texto, "%.0f", inteiro);
    throw ConversionError(std::string("\"") + texto + "\" is not a valid integer value");
  }
  return static_cast<int32_t>(inteiro);
}

double TextoParaReal(const std::string& texto) {
  double valor = 0;
  if (lerReal(texto, ',', valor) || lerReal(texto, '.', valor)) return valor;
  throw ConversionError("\"" + excerpt(texto) + "\" is not a valid floating point value");
}

}  // namespace vornleads::intake
