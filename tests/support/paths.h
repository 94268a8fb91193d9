// Paths and scratch directories shared by every test program.
#pragma once

#include <filesystem>
#include <string>

namespace vornleads::test {

// The directory holding the built programs and VornLeadsVW.dll.
std::filesystem::path binDir();

// A fresh temporary directory, removed with everything in it with the object.
class TempDir {
 public:
  explicit TempDir(const std::string& prefix = "vornleads-test");
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Whole files, byte for byte; std::runtime_error when they cannot be read or written.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& content);

// A shell command's output and error together; std::runtime_error with them on a non-zero exit.
std::string commandOutput(const std::string& command);

}  // namespace vornleads::test
