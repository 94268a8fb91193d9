// Runs a fuzz target's entry point once over each input it is given, without libFuzzer: the
// corpus replay of the ordinary test build (any compiler, the usual sanitizers), and the way to
// rerun one finding under a debugger. Arguments are files or directories (every regular file
// inside, in name order). Nothing to run is an error, so that a mistyped corpus path cannot
// pass unnoticed. An input that breaks the target ends the program the way the finding does:
// a sanitizer report, or an exception that escapes to std::terminate.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsOf(const fs::path& argument) {
  if (!fs::is_directory(argument)) return {argument};
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(argument)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    for (auto& file : inputsOf(argv[i])) inputs.push_back(std::move(file));
  }
  if (inputs.empty()) {
    std::cerr << "usage: " << argv[0] << " FILE-OR-DIRECTORY...  (no input found)\n";
    return 2;
  }
  for (const fs::path& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    if (!in) {
      std::cerr << "cannot read " << input << "\n";
      return 2;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::cout << "replayed " << inputs.size() << " inputs\n";
  return 0;
}
