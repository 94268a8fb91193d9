#include "support/paths.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>

namespace vornleads::test {

std::filesystem::path sourceDir() { return VORNLEADS_SOURCE_DIR; }
std::filesystem::path binDir() { return VORNLEADS_BIN_DIR; }

TempDir::TempDir(const std::string& prefix) {
  std::random_device seed;
  std::mt19937_64 random(seed());
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = std::filesystem::temp_directory_path() /
                     (prefix + "-" + std::to_string(random() % 1000000000));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate;
      return;
    }
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
  if (!out) throw std::runtime_error("cannot write " + path.string());
  out << content;
}

std::string commandOutput(const std::string& command) {
  struct PipeCloser {
    void operator()(FILE* pipe) const {
      if (pipe != nullptr) pclose(pipe);
    }
  };
  FILE* raw = popen((command + " 2>&1").c_str(), "r");
  if (raw == nullptr) throw std::runtime_error("cannot run: " + command);
  std::unique_ptr<FILE, PipeCloser> pipe(raw);
  std::string output;
  std::array<char, 4096> buffer;
  size_t read = 0;
  while ((read = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0)
    output.append(buffer.data(), read);
  if (pclose(pipe.release()) != 0) throw std::runtime_error(command + " failed:\n" + output);
  return output;
}

}  // namespace vornleads::test
