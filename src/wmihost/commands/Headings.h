#pragma once

#include <string>
#include <string_view>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The heading of a property in tables: its name, or a shorter one that names it on the command line as well.
std::string headingOf(const ClassDefinition& definition, const Property& property);

// The property of that name or heading; a name comes first. Null if the class has none.
const Property* findByHeading(const ClassDefinition& definition, std::wstring_view name);

}  // namespace wmihost
