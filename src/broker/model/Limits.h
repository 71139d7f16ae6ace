#pragma once

#include <cstdint>

#include "core/CimPropertyTypes.h"

namespace broker {

// The values that a number may have, both ends included.
struct Range
{
    std::uint64_t min;
    std::uint64_t max;

    constexpr bool contains(std::uint64_t value) const noexcept { return value >= min && value <= max; }
};

// The lengths in bytes that a text may have, both ends included; 0 as the maximum is no limit.
struct Lengths
{
    std::uint32_t min;
    std::uint32_t max;

    constexpr bool contain(std::size_t length) const noexcept { return length >= min && (max == 0 || length <= max); }
};

// Refuses a number out of the range with utils::EInvalidParameter. Checks uint8, uint16 and uint64 properties and
// ignores others. One listener may serve any number of properties on any threads.
class RangeListener : public core::CimProperty::Listener
{
public:
    explicit RangeListener(Range range) noexcept : m_range(range) {}

    void onVerify(core::CimProperty* property, const core::CimProperty* newValue) override;

private:
    Range m_range;
};

// Makes the property, which must be a text, refuse texts of other lengths.
void limitLength(core::CimProperty& property, Lengths lengths);

// The limits in the form that a column takes.
template <const Range& Limit>
void limitTo(core::CimProperty& property)
{
    // One listener serves all properties of the column, since its only state is the range.
    static RangeListener listener(Limit);
    property.addListener(&listener);
}

template <const Lengths& Limit>
void limitTo(core::CimProperty& property)
{
    limitLength(property, Limit);
}

}  // namespace broker
