#include "wmihost/repository/ClassRepository.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "wmihost/repository/SystemClasses.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

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
