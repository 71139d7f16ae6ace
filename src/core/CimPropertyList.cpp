#include "core/CimPropertyList.h"

#include "Utils/Assert.h"

namespace core {

CimProperty* OverridenPropertiesSkippingIterator::next()
{
    CimProperty* property = SimpleIteratorImplementation::next();
    while (property != nullptr && property->isOverriden()) {
        property = SimpleIteratorImplementation::next();
    }
    return property;
}

CimProperty* OverridenPropertiesSkippingIterator::first()
{
    CimProperty* property = SimpleIteratorImplementation::first();
    return property != nullptr && property->isOverriden() ? next() : property;
}

CimPropertyList::Iterator CimPropertyList::getIterator()
{
    return Iterator(new OverridenPropertiesSkippingIterator(this));
}

void CimPropertyList::add(CimProperty* newProperty)
{
    static constexpr utils::LogSite here{"CimPropertyList", "core::CimPropertyList::add"};
    ASSERT_AT(here, 85, newProperty != NULL);
    const std::string& name = newProperty->getName();
    if (m_index.contains(name)) {
        CimProperty* const overridenProperty = m_index.get(name);
        ASSERT_AT(here, 93, overridenProperty != NULL);
        overridenProperty->setOverriden(true);
    }
    m_index.set(name, newProperty);
    append(newProperty);
}

void CimPropertyList::addUnshared(CimProperty* newProperty)
{
    static constexpr utils::LogSite here{"CimPropertyList", "core::CimPropertyList::addUnshared"};
    ASSERT(here, newProperty != NULL);
    if (CimProperty* const overridenProperty = m_index.exchangeUnshared(newProperty->getName(), newProperty)) {
        overridenProperty->setOverriden(true);
    }
    appendUnshared(newProperty);
}

CimProperty* CimPropertyList::findProperty(const std::string& name)
{
    // `get` would insert a null under a name that is missing, so `contains` is asked first.
    return m_index.contains(name) ? m_index.get(name) : nullptr;
}

}  // namespace core
