// The sandbox's leads: the items the service hands out, whether each was confirmed (status -1)
// and the last other status received, plus every status update request in arrival order.
// All members are safe to call from several threads at once.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "json_values.h"

namespace vornleads::sandbox {

struct StoredLead {
  Json item;                     // lead item layout, IdLead as text, members in layout order
  bool confirmed = false;        // a status -1 was accepted for it
  std::optional<double> status;  // last status other than -1 accepted for it
  double added = 0;              // local day count of the moment it was added
};

// What an accepted or refused status update did.
enum class UpdateOutcome { kConfirmed, kRecorded, kNotFound };

class LeadStore {
 public:
  // `now` gives the local day count stamped on added leads.
  explicit LeadStore(std::function<double()> now);

  // Items from a JSON array, or from an object holding one under "Leads". Every item must be
  // an object with a non-empty "IdLead" (text or number; kept as text); the other members are
  // taken as they stand, missing layout members filled with "" or 0. Throws
  // std::invalid_argument naming the first bad item; nothing is added then. An item whose
  // IdLead is already stored replaces that lead. Returns how many items were taken.
  size_t add(const Json& items);

  // Makes the current leads the ones that reset() returns to (the leads of the start-up file).
  void keepAsInitial();

  // Back to the initial leads, none confirmed, no update requests.
  void reset();

  // Copies of the stored leads that satisfy `keep`, in the order they were added.
  std::vector<StoredLead> select(const std::function<bool(const StoredLead&)>& keep) const;

  // Applies a status to the lead with that identifier (a number or a text; numeric ones compare
  // as numbers): -1 confirms it, any other status is recorded as its last status.
  UpdateOutcome applyStatus(const Json& idLead, double status);

  void recordUpdateRequest(const Json& request);
  Json updateRequests() const;

 private:
  static Json normalisedItem(const Json& item, size_t index);

  std::function<double()> now_;
  mutable std::mutex mutex_;
  std::vector<StoredLead> initial_;
  std::vector<StoredLead> leads_;
  std::vector<Json> updates_;
};

// The item layout of a lead as the fetch replies carry it.
const std::vector<std::string>& leadItemMembers();

}  // namespace vornleads::sandbox
