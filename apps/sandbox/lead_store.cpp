#include "lead_store.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vornleads::sandbox {
namespace {

bool isNumericMember(const std::string& name) {
  return name == "Ddd" || name == "Status" || name == "Telefone";
}

// Numeric identifiers compare as numbers (a request's 12345.0 names the lead "12345"); a
// lead given an identifier that is not a number is only ever matched by the same text.
bool sameLead(const StoredLead& lead, const Json& idLead) {
  const auto stored = leadIdOf(lead.item["IdLead"]);
  const auto wanted = leadIdOf(idLead);
  if (stored && wanted) return *stored == *wanted;
  return !stored && !wanted && textOf(lead.item["IdLead"]) == textOf(idLead);
}

}  // namespace

const std::vector<std::string>& leadItemMembers() {
  static const std::vector<std::string> members = {"Acabamento",
                                                   "Cor",
                                                   "CpfCnpj",
                                                   "DataIntencao",
                                                   "Ddd",
                                                   "DealerNumber",
                                                   "Email",
                                                   "IdLead",
                                                   "Modelo",
                                                   "Nome",
                                                   "Opcionais",
                                                   "Status",
                                                   "Telefone",
                                                   "Preco",
                                                   "Origem",
                                                   "Mensagem",
                                                   "DataIntencaoAgendamento",
                                                   "Showroom",
                                                   "PreferenciaContato"};
  return members;
}

LeadStore::LeadStore(std::function<double()> now) : now_(std::move(now)) {}

Json LeadStore::normalisedItem(const Json& item, size_t index) {
  const std::string where = "lead " + std::to_string(index + 1);
  if (!item.is_object()) throw std::invalid_argument(where + " is not a JSON object");
  const auto id = item.find("IdLead");
  if (id == item.end() || textOf(*id).empty()) {
    throw std::invalid_argument(where + " has no IdLead");
  }
  Json normalised = Json::object();
  for (const auto& name : leadItemMembers()) {
    const auto given = item.find(name);
    if (given != item.end()) {
      normalised[name] = name == "IdLead" || name == "DealerNumber" ? Json(textOf(*given)) : *given;
    } else {
      normalised[name] = isNumericMember(name) ? Json(0) : Json("");
    }
  }
  // Members outside the layout are kept after it so tests can hand the client odd data.
  for (const auto& [name, value] : item.items()) {
    if (!normalised.contains(name)) normalised[name] = value;
  }
  writeWholeNumbersAsIntegers(normalised);
  return normalised;
}

size_t LeadStore::add(const Json& items) {
  const Json* list = &items;
  if (items.is_object() && items.contains("Leads")) list = &items["Leads"];
  if (!list->is_array()) {
    throw std::invalid_argument("expected an array of leads or an object with \"Leads\"");
  }
  std::vector<Json> accepted;
  for (size_t i = 0; i < list->size(); ++i) accepted.push_back(normalisedItem((*list)[i], i));

  const double added = now_();
  std::lock_guard<std::mutex> lock(mutex_);
  for (auto& item : accepted) {
    const Json id = item["IdLead"];
    leads_.erase(std::remove_if(leads_.begin(), leads_.end(),
                                [&id](const StoredLead& lead) { return sameLead(lead, id); }),
                 leads_.end());
    leads_.push_back(StoredLead{std::move(item), false, std::nullopt, added});
  }
  return accepted.size();
}

void LeadStore::keepAsInitial() {
  std::lock_guard<std::mutex> lock(mutex_);
  initial_ = leads_;
}

void LeadStore::reset() {
  std::lock_guard<std::mutex> lock(mutex_);
  leads_ = initial_;
  updates_.clear();
}

std::vector<StoredLead> LeadStore::select(
    const std::function<bool(const StoredLead&)>& keep) const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<StoredLead> chosen;
  for (const auto& lead : leads_) {
    if (keep(lead)) chosen.push_back(lead);
  }
  return chosen;
}

UpdateOutcome LeadStore::applyStatus(const Json& idLead, double status) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto lead = std::find_if(leads_.begin(), leads_.end(),
                                 [&idLead](const StoredLead& l) { return sameLead(l, idLead); });
  if (lead == leads_.end()) return UpdateOutcome::kNotFound;
  if (status == -1) {
    lead->confirmed = true;
    return UpdateOutcome::kConfirmed;
  }
  lead->status = status;
  return UpdateOutcome::kRecorded;
}

void LeadStore::recordUpdateRequest(const Json& request) {
  std::lock_guard<std::mutex> lock(mutex_);
  updates_.push_back(request);
}

Json LeadStore::updateRequests() const {
  std::lock_guard<std::mutex> lock(mutex_);
  Json list = Json::array();
  for (const auto& request : updates_) list.push_back(request);
  return list;
}

}  // namespace vornleads::sandbox
