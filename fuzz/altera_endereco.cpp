// AlteraEnderecoServico over the JSON text a host passes in. It answers with a status
// envelope, or raises VornError for text that is no JSON object; nothing else. The facade
// records the endpoint in VornLeadsVW.ini in the current directory, so every call runs in a
// scratch directory of the target's own, removed at exit.
#include <unistd.h>

#include <filesystem>
#include <string>

#include "fuzz_input.h"
#include "vornleads/error.h"
#include "vornleads/package/udm_vornleadsvw.h"

namespace {

namespace fs = std::filesystem;

class ScratchDirectory {
 public:
  ScratchDirectory()
      : path_(fs::temp_directory_path() /
              ("vornleads-fuzz-endereco-" + std::to_string(getpid()))) {
    fs::create_directories(path_);
  }
  ~ScratchDirectory() {
    std::error_code ignored;  // a directory left in /tmp harms nothing
    fs::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ScratchDirectory scratch;
  static vornleads::TdmVornLeadsVW facade;
  const fs::path home = fs::current_path();
  fs::current_path(scratch.path());
  try {
    facade.AlteraEnderecoServico(vornleads::fuzz::asText(data, size));
  } catch (const vornleads::VornError&) {
  }
  fs::current_path(home);
  return 0;
}
