// Log entries that could not be written, for the host's reports.
//
// A log never changes what the workers do: a worker whose entry cannot be saved (a full disk,
// a directory that refuses writes, a directory where the file should be) records the failure
// here and carries on exactly as if the entry had been written. The host reads how many
// entries were lost since the process started and the failure in force (the last one, until
// an entry is written again), and may listen to each failure as it happens.
//
// Process-wide and safe to use from any thread. The listener runs on the writer's thread,
// outside the registry's lock; it must not throw.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vornleads {

// An entry was lost: `message` names the file and the reason.
void recordLogWriteFailure(const std::string& message);
// An entry was written: the failure in force, if any, is over.
void recordLogWriteSuccess();

// Entries lost since the process started.
uint64_t logWriteFailureCount();
// The last failure, while no entry has been written since.
std::optional<std::string> currentLogWriteFailure();

// Called with every failure's message; an empty function removes the listener.
void setLogWriteFailureListener(std::function<void(const std::string&)> listener);

}  // namespace vornleads
