// The host side of the library edition "VornLeadsVW.dll": loading it, binding its entry
// IntegraLeadsVW to the callable the workers hold (TIntegraLeadsVW), and the checks the
// workers make around it.
//
// LeadsLibrary loads the file when constructed (dlopen, RTLD_NOW | RTLD_LOCAL) and resolves
// IntegraLeadsVW and IntegraLeadsVW_Libera; a missing file or entry raises VornError naming the
// file and the loader's own message. The library stays loaded while the LeadsLibrary or any
// callable made by bind() lives, and is unloaded when the last of them goes.
// The bound callable passes the 8-bit JSON to IntegraLeadsVW, copies the reply and hands the
// library's buffer back to IntegraLeadsVW_Libera; it raises VornError only when the library
// returned no reply at all (memory exhausted inside it).
//
// The functions are implemented in the package library, beside the host directory they use.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "vornleads/types.h"

namespace vornleads {

// The library edition's file name, in the host directory.
inline constexpr char kBibliotecaLeads[] = "VornLeadsVW.dll";
// The update worker's error text when the file is not there.
inline constexpr char kMensagemBibliotecaAusente[] =
    "A biblioteca \"VornLeadsVW.dll\" não foi encontrada.";

// The service numbers the workers use.
inline constexpr int32_t kServicoAtualizaLeads = 2;
inline constexpr int32_t kServicoBuscaLeadsStatus = 4;

// True when hostDirectory()/"VornLeadsVW.dll" exists. Raises VornError when the host directory
// cannot be determined or the file system refuses the check.
bool bibliotecaPresente();

// The per-thread COM initialisation that precedes every bridge call on the DMS's Windows hosts.
// Linux has no COM: this does nothing, and stays in the calling sequence so that the sequence
// reads the same on every platform.
void inicializaCOM();

class LeadsLibrary {
 public:
  // Loads hostDirectory()/"VornLeadsVW.dll".
  LeadsLibrary();
  // Loads the given file.
  explicit LeadsLibrary(const std::filesystem::path& file);

  LeadsLibrary(const LeadsLibrary&) = delete;
  LeadsLibrary& operator=(const LeadsLibrary&) = delete;

  const std::filesystem::path& file() const { return file_; }

  // The callable for a worker's IntegraLeadsVW; never empty.
  TIntegraLeadsVW bind() const;

 private:
  using Integra = char* (*)(int32_t, const char*);
  using Libera = void (*)(char*);

  std::filesystem::path file_;
  std::shared_ptr<void> handle_;  // dlclose when the last holder goes
  Integra integra_ = nullptr;
  Libera libera_ = nullptr;
};

}  // namespace vornleads
