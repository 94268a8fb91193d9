#include "support/paths.h"

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace vornleads::test {

std::filesystem::path binDir() { return VORNLEADS_BIN_DIR; }

TempDir::TempDir(const std::string& prefix) {
  std::mt19937_64 random(std::random_device{}());
  for (int attempt = 0; attempt < 100; ++attempt) {
    path_ = std::filesystem::temp_directory_path() /
            (prefix + "-" + std::to_string(random() % 1000000000));
    if (std::filesystem::create_directory(path_)) return;
  }
  throw std::runtime_error("could not create a temporary directory for " + prefix);
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
