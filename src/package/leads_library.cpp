#include "vornleads/package/leads_library.h"

#include <dlfcn.h>

#include <string>
#include <system_error>

#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"

namespace vornleads {
namespace {

std::string loaderMessage() {
  const char* message = dlerror();
  return message ? message : "motivo desconhecido";
}

}  // namespace

bool bibliotecaPresente() {
  const auto file = hostDirectory() / kBibliotecaLeads;
  std::error_code error;
  const bool present = std::filesystem::exists(file, error);
  if (error) {
    throw VornError("Não foi possível verificar a biblioteca \"" + file.string() +
                    "\": " + error.message());
  }
  return present;
}

void inicializaCOM() {}

LeadsLibrary::LeadsLibrary() : LeadsLibrary(hostDirectory() / kBibliotecaLeads) {}

LeadsLibrary::LeadsLibrary(const std::filesystem::path& file) : file_(file) {
  // A name without a directory would make dlopen search the library path instead of the file.
  const auto path = file.has_parent_path() ? file : std::filesystem::path(".") / file;
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    throw VornError("Não foi possível carregar a biblioteca \"" + file.string() +
                    "\": " + loaderMessage());
  }
  handle_ = std::shared_ptr<void>(handle, [](void* loaded) { dlclose(loaded); });

  auto resolve = [this](const char* name) {
    dlerror();  // clear an earlier error, so that a null symbol can be told from a failure
    void* symbol = dlsym(handle_.get(), name);
    if (!symbol) {
      throw VornError("A biblioteca \"" + file_.string() + "\" não exporta " + name + ": " +
                      loaderMessage());
    }
    return symbol;
  };
  integra_ = reinterpret_cast<Integra>(resolve("IntegraLeadsVW"));
  libera_ = reinterpret_cast<Libera>(resolve("IntegraLeadsVW_Libera"));
}

TIntegraLeadsVW LeadsLibrary::bind() const {
  return [handle = handle_, integra = integra_, libera = libera_](
             int32_t pCodigoServico, const AnsiString& JSONEnvio) -> AnsiString {
    std::unique_ptr<char, Libera> resposta(integra(pCodigoServico, JSONEnvio.c_str()), libera);
    if (!resposta) {
      throw VornError("IntegraLeadsVW não devolveu resposta ao serviço " +
                      std::to_string(pCodigoServico));
    }
    return AnsiString(resposta.get());
  };
}

}  // namespace vornleads
