#include "wmihost/commands/Headings.h"

#include <algorithm>
#include <array>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

struct Short
{
    std::wstring_view name;
    std::wstring_view heading;
};

constexpr std::array SHORTER{Short{L"ActiveMaximumTransmissionUnit", L"MTU"}, Short{L"PermanentAddress", L"MAC"},
                             Short{L"EnabledState", L"State"}, Short{L"HealthState", L"Health"}};

}  // namespace

std::string headingOf(const ClassDefinition& definition, const Property& property)
{
    const auto* found = std::find_if(SHORTER.begin(), SHORTER.end(),
                                     [&property](const Short& entry) { return sameName(entry.name, property.name); });
    const bool isShort = found != SHORTER.end() && definition.findProperty(found->heading) == nullptr;
    return toUtf8(isShort ? found->heading : std::wstring_view(property.name));
}

const Property* findByHeading(const ClassDefinition& definition, std::wstring_view name)
{
    const auto* found = std::find_if(SHORTER.begin(), SHORTER.end(),
                                     [name](const Short& entry) { return sameName(entry.heading, name); });
    const Property* property = definition.findProperty(name);
    return property != nullptr || found == SHORTER.end() ? property : definition.findProperty(found->name);
}

}  // namespace wmihost
