// A BuscaLeads-type reply read for the intake: the Status as a record, and each lead item kept
// as its own JSON text, to be read (TItemBuscaLeadsClass::FromJSON) one at a time, so that an
// item whose members do not map fails alone instead of the whole reply.
//
// FromJSON raises ConversionError, as TRetornoBuscaLeadsClass::FromJSON does, when the text is
// not a JSON object, when "Status" is not a TStatusClass or "Leads" is not an array; anything
// inside an element (even an element that is no object) is left for the item's own reading.
// Missing or null members leave Status absent and Leads empty.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vornleads/service/records_replies.h"
#include "vornleads/service/records_status.h"

namespace vornleads {

struct LeadItemText {
  std::string json;    // the element as compact JSON
  std::string idLead;  // its IdLead as text (a string as it stands, a number as written),
                       // empty when it has none that can be shown
};

struct LeadItemsReply {
  std::optional<TStatusClass> Status;
  std::vector<LeadItemText> Leads;

  static LeadItemsReply FromJSON(const std::string& json);
  // The items of an already mapped reply, each written back to its JSON text.
  static LeadItemsReply FromRecord(const TRetornoBuscaLeadsClass& reply);
};

}  // namespace vornleads
