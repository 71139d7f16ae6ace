#include "wmihost/commands/Related.h"

#include <algorithm>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ClassRepository.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

bool isReference(const Property& property)
{
    return property.type == CIM_REFERENCE;
}

bool isAssociation(const ClassDefinition& definition)
{
    return hasQualifier(definition.qualifiers, L"Association") &&
           std::any_of(definition.properties.begin(), definition.properties.end(), isReference);
}

// The three functions below test a condition of the query. A condition with an empty name is true for every class or
// property.
bool inherits(const ClassDefinition& definition, const std::wstring& className)
{
    return className.empty() || definition.inheritsFrom(className);
}

bool carries(const ClassDefinition& definition, const std::wstring& qualifier)
{
    return qualifier.empty() || findQualifier(definition.qualifiers, qualifier) != nullptr;
}

bool plays(const Property& property, const std::wstring& role)
{
    return role.empty() || sameName(property.name, role);
}

// A misspelt class is a failure, not a class without instances.
void checkClasses(const Connection& connection, const wql::RelatedQuery& query, const CommandOptions& options)
{
    for (const std::wstring& name : {query.assocClass, query.resultClass}) {
        if (!name.empty()) {
            connection.findClass(name, options.nameSpace);
        }
    }
}

// Whether the query may follow the associations of that class.
bool isWanted(const ClassDefinition& association, const wql::RelatedQuery& query)
{
    return isAssociation(association) &&
           (query.references
                ? inherits(association, query.resultClass) && carries(association, query.requiredQualifier)
                : inherits(association, query.assocClass) && carries(association, query.requiredAssocQualifier));
}

// Whether the query may find objects of that class at the other end.
bool isResult(const ClassDefinition& definition, const wql::RelatedQuery& query)
{
    return inherits(definition, query.resultClass) && carries(definition, query.requiredQualifier);
}

// Whether the reference may lead to objects of that class and has the role that the query asks for.
bool mayLeadTo(const Property& property, const ClassDefinition& definition, const wql::RelatedQuery& query)
{
    return isReference(property) && plays(property, query.role) && inherits(definition, property.className);
}

using Keys = std::vector<std::pair<std::wstring, std::wstring>>;

Keys keysOf(const ObjectPath& path)
{
    Keys keys;
    for (const PathKey& key : path.keys) {
        keys.emplace_back(foldName(key.name), foldName(key.value));
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

// The path that an association holds.
ObjectPath parsed(const std::wstring& reference)
{
    try {
        return ObjectPath::parse(reference);
    } catch (const PathError& error) {
        throw RequestError(code(WBEM_E_PROVIDER_FAILURE), std::string("an association leads nowhere: ") + error.what());
    }
}

// A copy of the object with only the values of its keys.
ComPtr<IWbemClassObject> withKeysAlone(IWbemClassObject& object, const ClassTarget& target)
{
    InstanceData data(target.definition);
    for (std::size_t i = 0; i < data.values.size(); ++i) {
        const Property& property = target.definition->properties[i];
        data.values[i] = property.isKey() ? valueOf(object, property.name) : Variant();
    }
    return ClassObject::ofInstance(std::move(data));
}

class Search
{
public:
    Search(Connection& connection, const wql::RelatedQuery& query, const CommandOptions& options)
        : m_connection(connection),
          m_query(query),
          m_options(options),
          m_source(connection.findInstance(query.path, options.nameSpace)),
          m_path(ObjectPath::parse(m_source.path))
    {
        checkClasses(connection, query, options);
        // An instance that does not exist is a failure, not an instance without relations.
        getInstance(connection, m_source, options);
    }

    std::vector<FoundObject> run()
    {
        for (const ClassTarget& association : m_connection.classes(m_options.nameSpace)) {
            const auto leads = [this](const Property& property) {
                return mayLeadTo(property, *m_source.target.definition, m_query);
            };
            const auto& properties = association.definition->properties;
            if (isWanted(*association.definition, m_query) && m_connection.hasProvider(association) &&
                std::any_of(properties.begin(), properties.end(), leads))
            {
                read(association);
            }
        }
        return std::move(m_found);
    }

private:
    void read(const ClassTarget& association)
    {
        for (const auto& object : enumerateExactly(m_connection, association, m_options)) {
            for (const Property& property : association.definition->properties) {
                if (!isReference(property) || !plays(property, m_query.role) ||
                    !leadsToSource(textOf(*object.get(), property.name), association.nameSpace))
                {
                    continue;
                }
                if (m_query.references) {
                    add(object, association);
                    break;
                }
                addOtherEnds(*object.get(), association, property);
            }
        }
    }

    // A reference without a namespace refers to the namespace of its association.
    bool leadsToSource(const std::wstring& reference, const std::wstring& home) const
    {
        if (reference.empty()) {
            return false;
        }
        const std::wstring nameSpace = parsed(reference).nameSpace;
        if (!sameName(ClassRepository::plainName(nameSpace.empty() ? home : nameSpace), m_source.target.nameSpace)) {
            return false;
        }
        const InstanceTarget end = m_connection.findInstance(reference, home);
        const ClassDefinition& source = *m_source.target.definition;
        const ClassDefinition& other = *end.target.definition;
        // A reference may name its target by a base class of the target's class, so classes match in both directions.
        return (source.inheritsFrom(other.name) || other.inheritsFrom(source.name)) &&
               keysOf(ObjectPath::parse(end.path)) == keysOf(m_path);
    }

    void addOtherEnds(IWbemClassObject& association, const ClassTarget& target, const Property& own)
    {
        for (const Property& property : target.definition->properties) {
            const std::wstring path = isReference(property) ? textOf(association, property.name) : std::wstring();
            if (path.empty() || sameName(property.name, own.name) || !plays(property, m_query.resultRole)) {
                continue;
            }
            const InstanceTarget end = m_connection.findInstance(path, target.nameSpace);
            if (!isResult(*end.target.definition, m_query)) {
                continue;
            }
            // An association may outlive the instance that it refers to.
            if (const auto object = getIfPresent(m_connection, end, m_options)) {
                add(object, end.target);
            }
        }
    }

    void add(const ComPtr<IWbemClassObject>& object, const ClassTarget& target)
    {
        m_found.push_back({m_query.keysOnly ? withKeysAlone(*object.get(), target) : object, target});
    }

    Connection& m_connection;
    const wql::RelatedQuery& m_query;
    const CommandOptions& m_options;
    const InstanceTarget m_source;
    const ObjectPath m_path;
    std::vector<FoundObject> m_found;
};

void addOnce(std::vector<ClassTarget>& classes, const ClassTarget& target)
{
    const bool known = std::any_of(classes.begin(), classes.end(), [&target](const ClassTarget& other) {
        return other.definition == target.definition;
    });
    if (!known) {
        classes.push_back(target);
    }
}

}  // namespace

std::vector<FoundObject> findRelated(Connection& connection, const wql::RelatedQuery& query,
                                     const CommandOptions& options)
{
    return Search(connection, query, options).run();
}

std::vector<ClassTarget> findRelatedClasses(const Connection& connection, const wql::RelatedQuery& query,
                                            const CommandOptions& options)
{
    checkClasses(connection, query, options);
    const ClassTarget source = connection.findMethodTarget(query.path, options.nameSpace).target;
    std::vector<ClassTarget> result;
    for (const ClassTarget& association : connection.classes(options.nameSpace)) {
        if (!isWanted(*association.definition, query)) {
            continue;
        }
        for (const Property& own : association.definition->properties) {
            if (!mayLeadTo(own, *source.definition, query)) {
                continue;
            }
            if (query.references) {
                addOnce(result, association);
                continue;
            }
            for (const Property& end : association.definition->properties) {
                if (!isReference(end) || end.className.empty() || sameName(end.name, own.name) ||
                    !plays(end, query.resultRole)) {
                    continue;
                }
                const ClassTarget target = connection.findClass(end.className, L"");
                if (isResult(*target.definition, query)) {
                    addOnce(result, target);
                }
            }
        }
    }
    return result;
}

}  // namespace wmihost
