#include "vornleads/service/lead_items_reply.h"

#include "service/records_fields.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

using json_mapper::Json;

constexpr char kRecord[] = "TRetornoBuscaLeadsClass";

std::string idLeadText(const Json& item) {
  if (!item.is_object()) return "";
  const auto id = item.find("IdLead");
  if (id == item.end()) return "";
  if (id->is_string()) return id->get<std::string>();
  if (id->is_number()) return json_mapper::dump(*id);
  return "";
}

}  // namespace

LeadItemsReply LeadItemsReply::FromJSON(const std::string& json) {
  const Json reply = json_mapper::parseObject(json, kRecord);
  LeadItemsReply read;
  // Status is read by the record's own rules; Leads only as far as being an array.
  const json_mapper::Reader reader(reply, kRecord);
  reader("Status", read.Status);
  const auto leads = reply.find("Leads");
  if (leads == reply.end() || leads->is_null()) return read;
  if (!leads->is_array()) {
    throw ConversionError(std::string("JSON member \"Leads\" of ") + kRecord + " must be an array");
  }
  read.Leads.reserve(leads->size());
  for (const Json& item : *leads) read.Leads.push_back({json_mapper::dump(item), idLeadText(item)});
  return read;
}

LeadItemsReply LeadItemsReply::FromRecord(const TRetornoBuscaLeadsClass& reply) {
  LeadItemsReply items;
  items.Status = reply.Status;
  for (const TItemBuscaLeadsClass& item : reply.Leads)
    items.Leads.push_back({item.AsJSON(), item.IdLead});
  return items;
}

}  // namespace vornleads
