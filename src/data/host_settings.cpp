#include "vornleads/data/host_settings.h"

#include <mutex>
#include <utility>

namespace vornleads {

namespace {

std::mutex& settingsMutex() {
  static std::mutex mutex;
  return mutex;
}

HostSettings& currentSettings() {
  static HostSettings settings;
  return settings;
}

}  // namespace

HostSettings hostSettings() {
  std::lock_guard<std::mutex> lock(settingsMutex());
  return currentSettings();
}

void setHostSettings(HostSettings settings) {
  std::lock_guard<std::mutex> lock(settingsMutex());
  currentSettings() = std::move(settings);
}

bool modoRemoto(const HostSettings& settings) { return settings.VarTecnologia == "DATASNAP"; }

}  // namespace vornleads
