#include "core/CimInstance.h"

#include <utility>

#include "Utils/Assert.h"
#include "Utils/Utils.h"

namespace core {

namespace {

bool isQuoted(CimProperty::EPropertyType type)
{
    return type == CimProperty::EPT_STRING || type == CimProperty::EPT_REF;
}

}  // namespace

CimInstance::CimInstance(std::string className) : m_className(std::move(className))
{
    m_properties.setOwnsElements(true);
}

void CimInstance::fill(std::vector<std::unique_ptr<CimProperty>> properties)
{
    for (std::unique_ptr<CimProperty>& property : properties) {
        m_properties.addUnshared(property.get());
        property->m_owner = this;
        if (property->isKey()) {
            m_lastKey = property.get();
        }
        // Owned by the list from here on.
        property.release();  // NOLINT(bugprone-unused-return-value)
    }
}

std::string CimInstance::toPathString()
{
    static constexpr utils::LogSite here{"CimInstance", "core::CimInstance::toPathString"};
    std::string result = getClassName() + ".";
    CimPropertyList::Iterator iterator = propertyIterator();
    while (const CimProperty* property = iterator.next()) {
        if (property->isKey()) {
            const std::string value = property->toString();
            result += property->getName() + "=" + (isQuoted(property->getType()) ? utils::quote(value) : value) + ",";
        }
        if (property == m_lastKey) {
            break;
        }
    }
    ASSERT_AT(here, 118, result.size() > 0);
    if (result.back() == ',') {
        result.pop_back();
    }
    return result;
}

}  // namespace core
