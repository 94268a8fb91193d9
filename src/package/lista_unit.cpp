#include "vornleads/package/lista_unit.h"

namespace vornleads {

TListaUnitVornLeadsVW* ListaUnitVornLeadsVW = nullptr;

}  // namespace vornleads
