#pragma once

#include <vector>

#include "wmihost/commands/Requests.h"
#include "wmihost/wql/Query.h"

namespace wmihost {

// An object and its class.
struct FoundObject
{
    ComPtr<IWbemClassObject> object;
    ClassTarget target;
};

// The result of ASSOCIATORS OF or REFERENCES OF for an instance. It reads one class of associations after the other; an
// object appears once for each association that leads to it. With KEYSONLY the objects only have their keys. Throws
// RequestError, also if the instance or a class does not exist, and PathError.
std::vector<FoundObject> findRelated(Connection& connection, const wql::RelatedQuery& query,
                                     const CommandOptions& options);

// The same for a class (SchemaOnly): the classes that the declarations of associations lead to, or the associations for
// REFERENCES OF, each once. Throws RequestError if the class does not exist, and PathError.
std::vector<ClassTarget> findRelatedClasses(const Connection& connection, const wql::RelatedQuery& query,
                                            const CommandOptions& options);

}  // namespace wmihost
