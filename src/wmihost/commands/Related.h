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

// What ASSOCIATORS OF or REFERENCES OF finds around an instance, by reading one class of associations after the other:
// an object comes as often as associations lead to it. With KEYSONLY the objects have their keys alone. Throws
// RequestError, also if there is no such instance or class, and PathError.
std::vector<FoundObject> findRelated(Connection& connection, const wql::RelatedQuery& query,
                                     const CommandOptions& options);

// The same for a class (SchemaOnly): the classes that the declarations of associations lead to, or with REFERENCES OF
// the associations, each once. Throws RequestError if there is no such class, and PathError.
std::vector<ClassTarget> findRelatedClasses(const Connection& connection, const wql::RelatedQuery& query,
                                            const CommandOptions& options);

}  // namespace wmihost
