#include "vornleads/data/formata_string.h"

namespace vornleads {

std::string FormataString(const std::string& valor, const std::string& mascara) {
  if (valor.size() >= mascara.size()) return valor;
  return std::string(mascara.size() - valor.size(), '0') + valor;
}

}  // namespace vornleads
