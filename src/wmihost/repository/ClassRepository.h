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
    // In the order in which they were added. Includes the system's classes, whose names begin with "__".
    const std::vector<ClassPointer>& classes() const { return m_classes; }
    // The stored instances of exactly that class.
    std::vector<const InstanceData*> instancesOf(std::wstring_view className) const;
    // The stored instance with that relative path in any of its spellings. Null if there is none, or if the text is not
    // a path.
    const InstanceData* findInstance(std::wstring_view path) const;

    // Replaces a class of the same name.
    void addClass(ClassPointer definition);
    // Replaces an instance with the same path. Instances of classes without keys have no path.
    void addInstance(InstanceData instance);
    // The classes derived from it and the instances of all of them go, too. Returns whether there was one.
    bool removeClass(std::wstring_view className);
    bool removeInstance(std::wstring_view path);

private:
    // The index of that instance in m_instances; none if it does not exist.
    std::optional<std::size_t> placeOf(std::wstring_view path) const;

    std::wstring m_name;
    std::vector<ClassPointer> m_classes;
    std::map<std::wstring, std::size_t> m_index;  // folded name -> place in m_classes
    std::vector<InstanceData> m_instances;
};

// The content of the MOF files: namespaces with their classes and stored instances. One thread fills it; after that,
// any number of threads may read it.
class ClassRepository
{
public:
    // Null if there is no namespace of that name (without case). A leading "\\.\" or "\" is ignored, and both kinds of
    // slashes separate.
    const Namespace* findNamespace(std::wstring_view name) const;

    // The namespace. If it does not exist, it is created with the system's classes.
    Namespace& openNamespace(std::wstring_view name);

    // The namespaces in the order of their creation.
    std::vector<const Namespace*> namespaces() const;

    // The normal form of a namespace's name: "\\.\root/cimv2" -> "root\cimv2".
    static std::wstring plainName(std::wstring_view name);

private:
    std::vector<std::unique_ptr<Namespace>> m_namespaces;
};

}  // namespace wmihost
