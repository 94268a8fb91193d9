#include "vornleads/package/host_directory.h"

#include <cstdlib>
#include <mutex>
#include <system_error>

#include "vornleads/error.h"

namespace vornleads {
namespace {

std::mutex& settingMutex() {
  static std::mutex mutex;
  return mutex;
}

std::filesystem::path& hostSetting() {
  static std::filesystem::path setting;
  return setting;
}

}  // namespace

std::filesystem::path hostDirectory() {
  {
    std::lock_guard<std::mutex> lock(settingMutex());
    if (!hostSetting().empty()) return hostSetting();
  }
  if (const char* home = std::getenv("VORNLEADS_HOME"); home != nullptr && *home != '\0') {
    return home;
  }
  std::error_code error;
  const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    throw VornError("Não foi possível determinar o diretório do executável: " + error.message());
  }
  return executable.parent_path();
}

void setHostDirectory(const std::filesystem::path& directory) {
  std::lock_guard<std::mutex> lock(settingMutex());
  hostSetting() = directory;
}

}  // namespace vornleads
