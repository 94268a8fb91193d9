#include "support/paths.h"

#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vornleads::test {

std::filesystem::path binDir() { return VORNLEADS_BIN_DIR; }

TempDir::TempDir(const std::string& prefix) {
  std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot create a directory " + pattern);
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;  // a test must not fail while cleaning up after itself
  std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out || !(out << content)) throw std::runtime_error("cannot write " + path.string());
}

std::string commandOutput(const std::string& command) {
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run: " + command);
  std::string output;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  if (pclose(pipe) != 0) throw std::runtime_error(command + " failed:\n" + output);
  return output;
}

}  // namespace vornleads::test
