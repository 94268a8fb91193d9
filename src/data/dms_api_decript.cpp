#include <mutex>
#include <utility>

#include "vornleads/data/dms_api.h"

namespace vornleads {

namespace {

std::mutex& decriptMutex() {
  static std::mutex mutex;
  return mutex;
}

std::function<std::string(const std::string&)>& currentDeCript() {
  static std::function<std::string(const std::string&)> decifra;
  return decifra;
}

}  // namespace

std::string DeCript(const std::string& senha) {
  std::function<std::string(const std::string&)> decifra;
  {
    std::lock_guard<std::mutex> lock(decriptMutex());
    decifra = currentDeCript();
  }
  // The host's cipher runs outside the lock: it may take its time or call back in.
  return decifra ? decifra(senha) : senha;
}

void setDeCript(std::function<std::string(const std::string&)> decifra) {
  std::lock_guard<std::mutex> lock(decriptMutex());
  currentDeCript() = std::move(decifra);
}

}  // namespace vornleads
