#include "feedback/text_cut.h"

namespace vornleads {
namespace {

bool iniciaCaractere(unsigned char byte) { return (byte & 0xC0) != 0x80; }

}  // namespace

std::string primeirosCaracteres(const std::string& texto, std::size_t limite) {
  std::size_t caracteres = 0;
  for (std::size_t pos = 0; pos < texto.size(); ++pos) {
    if (!iniciaCaractere(static_cast<unsigned char>(texto[pos]))) continue;
    if (caracteres == limite) return texto.substr(0, pos);
    ++caracteres;
  }
  return texto;
}

}  // namespace vornleads
