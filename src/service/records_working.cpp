#include "service/records_fields.h"

namespace vornleads {

VORNLEADS_JSON_RECORD(TContatoLeadVW)
VORNLEADS_JSON_RECORD(TParametroPreparaAtualizaLeadVW)

}  // namespace vornleads
