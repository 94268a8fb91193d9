#include "support/library_edition.h"

#include <cstdlib>
#include <memory>

namespace vornleads::test {
namespace {

struct LibraryEdition {
  TempDir home{"vornleads-home"};
  SandboxProcess sandbox;
  std::unique_ptr<LeadsLibrary> library;
  LibraryEdition() {
    std::filesystem::create_symlink(binDir() / kBibliotecaLeads, home / kBibliotecaLeads);
    setenv("VORNLEADS_HOME", home.path().c_str(), 1);
    setenv("VORNLEADS_ENDPOINT", sandbox.url().c_str(), 1);
    library = std::make_unique<LeadsLibrary>();
  }
};
LibraryEdition& edition() {
  static LibraryEdition instance;
  return instance;
}

}  // namespace

SandboxProcess& sandbox() { return edition().sandbox; }
TIntegraLeadsVW bridge() { return edition().library->bind(); }
const std::filesystem::path& home() { return edition().home.path(); }

}  // namespace vornleads::test
