#pragma once

#include <optional>
#include <string>

#include "broker/jobs/JobStatus.h"

namespace broker {

// Jobs and results as texts, for storing. Parsing returns nothing for a text that this product did not write, or whose
// times lie outside the calendar.

// The nearest moment within the calendar.
WallTime inCalendar(WallTime time) noexcept;

std::string entryOf(const StoredJob& job);
std::optional<StoredJob> jobOf(const std::string& id, const std::string& entry);

std::string entryOf(const DiagnosticResult& result);
std::optional<DiagnosticResult> resultOf(const std::string& id, const std::string& entry);

}  // namespace broker
