// TAplicacaoLibrary: the host application's context, handed to the intake worker and to the
// data-layer routines that need to know who is working where.
//
// A plain value filled by the host. The workers keep a reference to the host's object and
// never own it; they only fill in `banco` when the host left it empty (see the intake worker).
#pragma once

#include <cstdint>
#include <string>

namespace vornleads {

struct TAplicacaoLibrary {
  int32_t usuario = 0;  // the DMS user working in the host (0: the service's own user)
  int32_t empresa = 0;  // the current company
  int32_t revenda = 0;  // the current branch (dealership)
  // Database kind of the host's connection, as BuscaBanco names it ("SQLSERVER", "ORACLE",
  // "INTERBASE"); empty until the host or the intake worker fills it in.
  std::string banco;
  // Major version of a SQL Server database (the digits before the first "." of its product
  // version); -1 when unknown or not SQL Server.
  int32_t versaoBanco = -1;
  // The host's session number on its application server (remote mode), 0 without one.
  int32_t sessao = 0;
};

}  // namespace vornleads
