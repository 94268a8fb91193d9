#include "service/records_fields.h"

namespace vornleads {

VORNLEADS_JSON_RECORD(TStatusClass)

}  // namespace vornleads
