#include "wmihost/com/NamespaceServices.h"

#include "wmihost/com/Guard.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/repository/ObjectPath.h"

namespace wmihost {

HRESULT NamespaceServices::GetObject(BSTR path, LONG flags, IWbemContext*, IWbemClassObject** object, IWbemCallResult**)
{
    return guarded([&] {
        if (object == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *object = nullptr;
        if (path == nullptr || (flags & ~WBEM_FLAG_USE_AMENDED_QUALIFIERS) != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        ObjectPath parsed;
        try {
            parsed = ObjectPath::parse(viewOf(path));
        } catch (const PathError&) {
            return code(WBEM_E_INVALID_OBJECT_PATH);
        }
        // Instances come from providers; a namespace serves only classes.
        if (parsed.isInstance()) {
            return code(WBEM_E_NOT_SUPPORTED);
        }
        const Namespace* home = parsed.nameSpace.empty() ? &m_namespace : m_repository.findNamespace(parsed.nameSpace);
        if (home == nullptr) {
            return code(WBEM_E_INVALID_NAMESPACE);
        }
        ClassPointer definition = home->findClass(parsed.className);
        if (!definition) {
            return code(WBEM_E_NOT_FOUND);
        }
        *object = ClassObject::ofClass(std::move(definition)).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

}  // namespace wmihost
