// The fetch operations: which stored leads each one answers and in which item layout.
#include <cmath>
#include <optional>
#include <vector>

#include "calendar.h"
#include "operation_replies.h"

namespace vornleads::sandbox {
namespace {

// A lead carries the last status a dealer sent for it, else the status it came with.
Json currentItem(const StoredLead& lead) {
  Json item = lead.item;
  if (lead.status) item["Status"] = *lead.status;
  return item;
}

// The identifier as the newer replies carry it: a number, unless it never was one.
Json withNumericId(Json item) {
  if (const auto id = leadIdOf(item["IdLead"])) item["IdLead"] = *id;
  return item;
}

bool ofDealers(const StoredLead& lead, const std::vector<std::string>& dealers) {
  const std::string dealer = textOf(lead.item["DealerNumber"]);
  for (const auto& wanted : dealers) {
    if (sameDealer(dealer, wanted)) return true;
  }
  return false;
}

Json success(const char* listMember, Json items) {
  return Json{{"Status", statusMember(0, "Sucesso")}, {listMember, std::move(items)}};
}

Json failure(const char* listMember, int codigo, const std::string& descricao) {
  return Json{{"Status", statusMember(codigo, descricao)}, {listMember, Json::array()}};
}

Json leadsOf(const std::vector<StoredLead>& leads) {
  Json items = Json::array();
  for (const auto& lead : leads) items.push_back(currentItem(lead));
  return items;
}

// A date-time member written either as a day count or as text; absent when empty or zero.
// Throws nothing: an unreadable value yields `unreadable` set.
std::optional<double> dateMember(const Json& request, const char* name, bool& unreadable) {
  unreadable = false;
  const auto member = request.find(name);
  if (member == request.end() || member->is_null()) return std::nullopt;
  if (member->is_number()) {
    const double days = member->get<double>();
    if (days == 0) return std::nullopt;
    return days;
  }
  const std::string text = textOf(*member);
  if (text.empty()) return std::nullopt;
  const auto days = parseDateTime(text);
  unreadable = !days;
  return days;
}

Json answerForDealers(const LeadStore& store, const Json& request,
                      const std::function<bool(const StoredLead&)>& extra) {
  const auto dealers = splitDealerNumbers(textOf(request.value("DNs", Json())));
  if (dealers.empty()) return failure("Leads", kMissingDealer, "DN não informado");
  return success("Leads", leadsOf(store.select([&](const StoredLead& lead) {
                   return ofDealers(lead, dealers) && extra(lead);
                 })));
}

}  // namespace

Json answerFetch(const LeadStore& store, const std::string& operation, const Json& request) {
  if (operation == "BuscaLeadsStatus") {
    return answerForDealers(store, request, [](const StoredLead& lead) { return !lead.confirmed; });
  }
  if (operation == "BuscaLeads" || operation == "CarregaUltimaCargaInicial") {
    return answerForDealers(store, request, [](const StoredLead&) { return true; });
  }
  if (operation == "BuscaLeadsData") {
    bool unreadable = false;
    const auto since = dateMember(request, "Data", unreadable);
    if (unreadable) {
      return failure("Leads", kInvalidParameters,
                     "Data inválida: " + textOf(request["Data"]) + " (esperado dd/mm/yyyy)");
    }
    const double day = since ? std::floor(*since) : 0;
    return answerForDealers(store, request, [since, day](const StoredLead& lead) {
      return !since || lead.added >= day;
    });
  }
  if (operation == "BuscaNovosLeads") {
    bool unreadable = false;
    const auto since = dateMember(request, "DataHora", unreadable);
    if (unreadable) {
      return failure("Novos", kInvalidParameters,
                     "DataHora inválida: " + textOf(request["DataHora"]));
    }
    Json items = Json::array();
    for (const auto& lead :
         store.select([since](const StoredLead& lead) { return !since || lead.added >= *since; })) {
      items.push_back(withNumericId(currentItem(lead)));
    }
    return success("Novos", std::move(items));
  }
  // BuscaHistLeads: one dealer's leads with the status each one has reached.
  const std::string dealer = textOf(request.value("DealerNumber", Json()));
  if (dealer.empty()) return failure("Historico", kMissingDealer, "DealerNumber não informado");
  Json items = Json::array();
  for (const auto& lead :
       store.select([&dealer](const StoredLead& lead) { return ofDealers(lead, {dealer}); })) {
    Json item = withNumericId(currentItem(lead));
    item.erase("DealerNumber");
    items.push_back(std::move(item));
  }
  return success("Historico", std::move(items));
}

}  // namespace vornleads::sandbox
