#pragma once

#include <string>

#include "Utils/Containers.h"
#include "core/CimProperty.h"

namespace core {

// Walks the properties that no later one of the same name has hidden. Only next and first skip: size counts every
// property, and clone gives a plain iterator that skips nothing.
class OverridenPropertiesSkippingIterator : public utils::SafeList<CimProperty*>::SimpleIteratorImplementation
{
public:
    using SimpleIteratorImplementation::SimpleIteratorImplementation;

    CimProperty* next() override;
    CimProperty* first() override;
};

// An instance's properties in the order they were added, with an index from each name to the newest of that name.
// A property added under a name that is there hides the earlier one; both stay in the list. Does not own the
// properties unless setOwnsElements says so. Any thread for each single call; add as a whole is not atomic.
class CimPropertyList : public utils::SafeList<CimProperty*>
{
public:
    CimPropertyList() = default;

    // Over the properties that are not overridden. Takes no lock; each of its steps does.
    Iterator getIterator() override;

    // Throws utils::Exception for null, and where the index holds a null under the property's name.
    void add(CimProperty* property);

    // As add, without taking a lock.
    // REQUIRES: no other thread can reach the list yet.
    void addUnshared(CimProperty* property);

    // The newest property of the name, or null.
    CimProperty* findProperty(const std::string& name);

    // A property stays until the list is destroyed: the index has no removal and would name what is gone.
    void clear() = delete;

private:
    utils::SafeMap<std::string, CimProperty*> m_index;
};

}  // namespace core
