#pragma once

#include <string>
#include <string_view>

#include "wmihost/com/Variant.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// Makes a repository from a text. Classes are in root\test unless the text names another namespace.
inline ClassRepository compiled(std::string_view mof)
{
    ClassRepository repository;
    compileMofText(std::string("#pragma namespace(\"root\\\\test\")\n") + std::string(mof), "test.mof", repository);
    return repository;
}

inline ClassPointer classIn(const ClassRepository& repository, std::wstring_view name)
{
    return repository.findNamespace(L"root\\test")->findClass(name);
}

inline ComPtr<IWbemClassObject> instanceOf(const ClassRepository& repository, std::wstring_view name)
{
    return ClassObject::ofInstance(InstanceData(classIn(repository, name)));
}

inline HRESULT put(const ComPtr<IWbemClassObject>& object, const wchar_t* name, const Variant& value)
{
    return object->Put(name, 0, value.in(), 0);
}

}  // namespace wmihost
