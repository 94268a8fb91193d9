// TListaUnitVornLeadsVW: the host's registry of facades, one per host session, under the
// session number. Created empty; the host adds, looks up and removes facades itself.
// The registry does not own the facades it lists: removing an entry or destroying the
// registry leaves the facade alive, and the host frees it. Not synchronised: the host
// serialises its use.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "vornleads/package/udm_vornleadsvw.h"

namespace vornleads {

class TListaUnitVornLeadsVW {
 public:
  TListaUnitVornLeadsVW() = default;

  // Session number -> the session's facade.
  std::unordered_map<int32_t, TdmVornLeadsVW*> Lista;
};

// For the host, which creates, fills and frees it; VornLeads never touches it.
extern TListaUnitVornLeadsVW* ListaUnitVornLeadsVW;

}  // namespace vornleads
