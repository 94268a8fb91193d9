// Runs one test in another current directory and returns to the previous one afterwards:
// the configuration file ".\VornLeadsVW.ini" is resolved against the current directory.
#pragma once

#include <filesystem>

namespace vornleads::test {

class CurrentDirectoryScope {
 public:
  explicit CurrentDirectoryScope(const std::filesystem::path& directory)
      : saved_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~CurrentDirectoryScope() {
    std::error_code ignored;  // the saved directory outlives the test; nothing to do if not
    std::filesystem::current_path(saved_, ignored);
  }
  CurrentDirectoryScope(const CurrentDirectoryScope&) = delete;
  CurrentDirectoryScope& operator=(const CurrentDirectoryScope&) = delete;

 private:
  std::filesystem::path saved_;
};

}  // namespace vornleads::test
