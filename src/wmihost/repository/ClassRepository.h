#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The classes and instances of one namespace.
class Namespace
{
public:
    explicit Namespace(std::wstring namespaceName) : m_name(std::move(namespaceName)) {}

    const std::wstring& name() const { return m_name; }

    // Null if there is no class of that name (without case).
    ClassPointer findClass(std::wstring_view className) const;
    // In the order in which they were added; classes of the system, whose names begin with "__", included.
    const std::vector<ClassPointer>& classes() const { return m_classes; }
    // The stored instances of exactly that class.
    std::vector<const InstanceData*> instancesOf(std::wstring_view className) const;
    // The stored instance of that relative path, in any spelling of it. Null if there is none, or if the text is not
    // a path.
    const InstanceData* findInstance(std::wstring_view path) const;

    // A class of the same name is replaced.
    void addClass(ClassPointer definition);
    // An instance of the same path is replaced. Instances of classes without keys have no path.
    void addInstance(InstanceData instance);
    // The classes derived from it and the instances of all of them go, too. Returns whether there was one.
    bool removeClass(std::wstring_view className);
    bool removeInstance(std::wstring_view path);

private:
    // The place of that instance in m_instances; none if there is no such instance.
    std::optional<std::size_t> placeOf(std::wstring_view path) const;

    std::wstring m_name;
    std::vector<ClassPointer> m_classes;
    std::map<std::wstring, std::size_t> m_index;  // folded name -> place in m_classes
    std::vector<InstanceData> m_instances;
};

// What the MOF files say: namespaces with their classes and stored instances. Filled by one thread, then
// only read, by any number of them.
class ClassRepository
{
public:
    // Null if there is no namespace of that name (without case). A leading "\\.\" or "\" does not matter,
    // and both slashes separate.
    const Namespace* findNamespace(std::wstring_view name) const;

    // The namespace, made with the system's classes in it if it does not exist.
    Namespace& openNamespace(std::wstring_view name);

    // The namespaces in the order in which they were made.
    std::vector<const Namespace*> namespaces() const;

    // The name of a namespace without what does not matter: "\\.\root/cimv2" -> "root\cimv2".
    static std::wstring plainName(std::wstring_view name);

private:
    std::vector<std::unique_ptr<Namespace>> m_namespaces;
};

}  // namespace wmihost
