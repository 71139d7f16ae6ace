#pragma once

#include <optional>
#include <string_view>

namespace wmihost::wql {

// The point in time that a constant of a condition names, in microseconds of UTC from a fixed day. Takes a datetime as
// a property holds it ("20261121094500.000000+060"), and dates as people write them, with or without a time behind
// them: "20261121", "2026-11-21", "11/21/2026", "21 Nov 2026 4:30 PM". Without an offset the time is UTC. Null for any
// other text, for intervals and for dates that the calendar lacks.
std::optional<long long> pointInTime(std::wstring_view text);

// Whether the text is an interval: "00000001020304.000000:000".
bool isInterval(std::wstring_view text);

}  // namespace wmihost::wql
