#include "wmihost/repository/ClassRepository.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "wmihost/repository/ObjectPath.h"
#include "wmihost/repository/SystemClasses.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::optional<ObjectPath> parsedPath(std::wstring_view text)
{
    try {
        return ObjectPath::parse(text);
    } catch (const PathError&) {
        return std::nullopt;
    }
}

// Whether two paths with the same class name the same object. A key without a name is the only key of its class.
bool sameObject(const ObjectPath& left, const ObjectPath& right)
{
    if (left.singleton != right.singleton || left.keys.size() != right.keys.size()) {
        return false;
    }
    return std::all_of(left.keys.begin(), left.keys.end(), [&right](const PathKey& key) {
        return std::any_of(right.keys.begin(), right.keys.end(), [&key](const PathKey& other) {
            const bool sameKey = key.name.empty() || other.name.empty() || sameName(key.name, other.name);
            return sameKey && key.value == other.value;
        });
    });
}

}  // namespace

ClassPointer Namespace::findClass(std::wstring_view className) const
{
    const auto found = m_index.find(foldName(className));
    return found == m_index.end() ? nullptr : m_classes[found->second];
}

std::vector<const InstanceData*> Namespace::instancesOf(std::wstring_view className) const
{
    std::vector<const InstanceData*> result;
    for (const InstanceData& instance : m_instances) {
        if (sameName(instance.definition->name, className)) {
            result.push_back(&instance);
        }
    }
    return result;
}

void Namespace::addClass(ClassPointer definition)
{
    const auto [place, added] = m_index.emplace(foldName(definition->name), m_classes.size());
    if (added) {
        m_classes.push_back(std::move(definition));
    } else {
        m_classes[place->second] = std::move(definition);
    }
}

std::optional<std::size_t> Namespace::placeOf(std::wstring_view path) const
{
    const auto wanted = parsedPath(path);
    if (!wanted) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < m_instances.size(); ++i) {
        const InstanceData& instance = m_instances[i];
        const bool sameClass = sameName(instance.definition->name, wanted->className);
        const auto own = sameClass ? relativePath(*instance.definition, instance.values) : std::nullopt;
        if (own && sameObject(*wanted, ObjectPath::parse(*own))) {
            return i;
        }
    }
    return std::nullopt;
}

const InstanceData* Namespace::findInstance(std::wstring_view path) const
{
    const auto place = placeOf(path);
    return place ? &m_instances[*place] : nullptr;
}

void Namespace::addInstance(InstanceData instance)
{
    const auto path = relativePath(*instance.definition, instance.values);
    const auto place = path ? placeOf(*path) : std::nullopt;
    if (place) {
        m_instances[*place] = std::move(instance);
    } else {
        m_instances.push_back(std::move(instance));
    }
}

bool Namespace::removeClass(std::wstring_view className)
{
    const std::size_t removed = std::erase_if(
        m_classes, [className](const ClassPointer& definition) { return definition->inheritsFrom(className); });
    std::erase_if(m_instances,
                  [className](const InstanceData& instance) { return instance.definition->inheritsFrom(className); });
    m_index.clear();
    for (std::size_t i = 0; i < m_classes.size(); ++i) {
        m_index.emplace(foldName(m_classes[i]->name), i);
    }
    return removed != 0;
}

bool Namespace::removeInstance(std::wstring_view path)
{
    const auto place = placeOf(path);
    if (place) {
        m_instances.erase(m_instances.begin() + static_cast<std::ptrdiff_t>(*place));
    }
    return place.has_value();
}

const Namespace* ClassRepository::findNamespace(std::wstring_view name) const
{
    const std::wstring plain = plainName(name);
    const auto found = std::find_if(m_namespaces.begin(), m_namespaces.end(),
                                    [&plain](const auto& candidate) { return sameName(candidate->name(), plain); });
    return found == m_namespaces.end() ? nullptr : found->get();
}

Namespace& ClassRepository::openNamespace(std::wstring_view name)
{
    const std::wstring plain = plainName(name);
    for (const auto& existing : m_namespaces) {
        if (sameName(existing->name(), plain)) {
            return *existing;
        }
    }
    m_namespaces.push_back(std::make_unique<Namespace>(plain));
    addSystemClasses(*m_namespaces.back());
    return *m_namespaces.back();
}

std::vector<const Namespace*> ClassRepository::namespaces() const
{
    std::vector<const Namespace*> result;
    for (const auto& item : m_namespaces) {
        result.push_back(item.get());
    }
    return result;
}

std::wstring ClassRepository::plainName(std::wstring_view name)
{
    std::wstring plain(name);
    std::replace(plain.begin(), plain.end(), L'/', L'\\');
    if (plain.starts_with(L"\\\\")) {
        const std::size_t afterServer = plain.find(L'\\', 2);
        plain.erase(0, afterServer == std::wstring::npos ? plain.size() : afterServer);
    }
    plain.erase(0, std::min(plain.find_first_not_of(L'\\'), plain.size()));
    return plain;
}

}  // namespace wmihost
