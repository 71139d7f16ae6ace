#pragma once

#include <string>
#include <string_view>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The heading of a property in tables: its name, or a shorter one, which the command line accepts as well.
std::string headingOf(const ClassDefinition& definition, const Property& property);

// The property of that name or else of that heading. Null if the class has none.
const Property* findByHeading(const ClassDefinition& definition, std::wstring_view name);

}  // namespace wmihost
