#include "core/CimProperty.h"

#include "Utils/Assert.h"
#include "Utils/Exception.h"
#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"
#include "core/PropertyVisit.h"

namespace core {

namespace {

constexpr const char* FILE_NAME = "CimProperty";

[[noreturn]] void refuseChange(const CimProperty& property)
{
    throw utils::EForbidden(utils::format("Modyfying of %s property is not allowed", property.getName().c_str()));
}

// A value of another type is a different value and must not be read as if it were one of this type: the listener that
// asks runs before the one that refuses other types.
template <class Property>
bool holdSame(const Property& property, const CimProperty& newValue)
{
    return newValue.getType() == property.getType() &&
           static_cast<const Property&>(newValue).getValue() == property.getValue();
}

bool sameValue(const CimProperty& property, const CimProperty& newValue)
{
    return visit(property, Visitor{[&](const CimPropertyUint8& number) { return holdSame(number, newValue); },
                                   [&](const CimPropertyUint16& number) { return holdSame(number, newValue); },
                                   [&](const CimPropertyUint64& number) { return holdSame(number, newValue); },
                                   [&](const CimPropertyString& text) { return holdSame(text, newValue); },
                                   // uint32 is among these on purpose: such a property refuses every verification.
                                   [](const CimProperty& other) -> bool {
                                       throw utils::EForbidden(utils::format("Unsupported type: %d", other.getType()));
                                   }});
}

[[noreturn]] void notSupported(const utils::LogSite& here, std::uint32_t line, const CimProperty& property)
{
    here.debugAt(line, "Operation not supported by property %s (%d)", property.getName().c_str(), property.getType());
    throw utils::ENotSupported();
}

}  // namespace

void CimProperty::Listener::onModify(CimProperty* /*property*/, const CimProperty* /*newValue*/) {}

void CimProperty::Listener::onVerify(CimProperty* /*property*/, const CimProperty* /*newValue*/) {}

CimProperty::CimProperty(const char* name, CimInstance* owner) : m_name(name)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::CimProperty"};
    ASSERT_AT(here, 195, m_name.length() != 0);
    // Makes room for the two embedded listeners first: nothing may fail once the property stands in its owner's list.
    m_listeners.reserve(2);
    if (owner != nullptr) {
        owner->getProperties().add(this);
        m_owner = owner;
    }
    addListener(&m_isModifyEnabled);
    addListener(&m_verifyType);
}

std::string CimProperty::toString() const
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::toString"};
    notSupported(here, 231, *this);
}

void CimProperty::modify(const CimProperty* /*newValue*/)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::modify"};
    notSupported(here, 366, *this);
}

void CimProperty::verify(const CimProperty* /*newValue*/)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::verify"};
    notSupported(here, 375, *this);
}

void CimProperty::addListener(Listener* listener)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::addListener"};
    ASSERT_AT(here, 381, listener != NULL);
    m_listeners.push_back(listener);
}

void CimProperty::IsModifyEnabledListener::onVerify(CimProperty* property, const CimProperty* newValue)
{
    if (property->isNull() != newValue->isNull() && !property->isModifiable()) {
        refuseChange(*property);
    }
    if (!property->isNull() && newValue->isNull() && property->isModifiable()) {
        throw utils::EInvalidParameter(utils::format("Property %s cannot be a NULL", property->getName().c_str()));
    }
    const bool same = sameValue(*property, *newValue);
    if (!property->isNull() && !newValue->isNull() && !same && !property->isModifiable()) {
        refuseChange(*property);
    }
}

void CimProperty::VerifyTypeListener::onVerify(CimProperty* property, const CimProperty* newValue)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimProperty::VerifyTypeListener::onVerify"};
    ASSERT_AT(here, 137, property != NULL);
    ASSERT_AT(here, 138, newValue != NULL);
    if (property->getType() != newValue->getType()) {
        throw utils::EForbidden(utils::format("Property type %d doesn't support assigning value from property type %d",
                                              property->getType(), newValue->getType()));
    }
}

void verifyProperty(CimProperty* property, const CimProperty* newValue)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::verifyProperty"};
    if (property == nullptr) {
        throw utils::EInvalidParameter("Property cannot be NULL");
    }
    if (newValue == nullptr) {
        throw utils::EInvalidParameter("New Property value cannot be NULL");
    }
    here.debugAt(403, "size: %d", static_cast<int>(property->listeners().size()));
    // By index, reading the count each time: a listener may register another one.
    for (std::size_t i = 0; i < property->listeners().size(); ++i) {
        property->listeners()[i]->onVerify(property, newValue);
    }
}

}  // namespace core
