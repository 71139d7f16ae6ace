#include "core/CimPropertyTypes.h"

#include "Utils/Assert.h"
#include "Utils/Exception.h"
#include "core/CimInstance.h"

namespace core {

namespace {

// Support tools know these texts under the name of the property model's main file.
constexpr const char* FILE_NAME = "CimProperty";

}  // namespace

template <class Property>
void modifyTyped(Property* property, const CimProperty* newValue)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::modifyProperty"};
    ASSERT_AT(here, 418, property != NULL);
    ASSERT_AT(here, 419, newValue != NULL);
    here.debugAt(421, "size: %d", static_cast<int>(property->listeners().size()));
    for (std::size_t i = 0; i < property->listeners().size(); ++i) {
        property->listeners()[i]->onModify(property, newValue);
    }
    property->take(static_cast<const Property&>(*newValue));
}

void modifyProperty(CimPropertyUint8* property, const CimProperty* newValue)
{
    modifyTyped(property, newValue);
}

void modifyProperty(CimPropertyUint16* property, const CimProperty* newValue)
{
    modifyTyped(property, newValue);
}

void modifyProperty(CimPropertyUint32* property, const CimProperty* newValue)
{
    modifyTyped(property, newValue);
}

void modifyProperty(CimPropertyUint64* property, const CimProperty* newValue)
{
    modifyTyped(property, newValue);
}

void modifyProperty(CimPropertyString* property, const CimProperty* newValue)
{
    modifyTyped(property, newValue);
}

std::string CimPropertyUint8::toString() const
{
    return utils::format("%d", getValue());
}

std::string CimPropertyUint16::toString() const
{
    return utils::format("%d", getValue());
}

std::string CimPropertyUint32::toString() const
{
    return utils::format("%d", static_cast<std::int32_t>(getValue()));
}

std::string CimPropertyUint64::toString() const
{
    return utils::format("%llu", static_cast<unsigned long long>(getValue()));
}

void CimPropertyString::registerLengthListeners()
{
    addListener(&m_checkMinLength);
    addListener(&m_checkMaxLength);
}

void CimPropertyString::CheckMinLengthListener::onVerify(CimProperty* property, const CimProperty* newValue)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimPropertyString::CheckMinLengthListener::onVerify"};
    ASSERT_AT(here, 153, property != NULL);
    ASSERT_AT(here, 154, newValue != NULL);
    const std::uint32_t limit = static_cast<const CimPropertyString*>(property)->m_minLength;
    if (limit != 0 && static_cast<const CimPropertyString*>(newValue)->getValue().size() < limit) {
        throw utils::EInvalidParameter(utils::format("Length of %s property cannot be smaller then %d",
                                                     property->getName().c_str(), static_cast<int>(limit)));
    }
}

void CimPropertyString::CheckMaxLengthListener::onVerify(CimProperty* property, const CimProperty* newValue)
{
    static constexpr utils::LogSite here{FILE_NAME, "core::CimPropertyString::CheckMaxLengthListener::onVerify"};
    ASSERT_AT(here, 172, property != NULL);
    ASSERT_AT(here, 173, newValue != NULL);
    const std::uint32_t limit = static_cast<const CimPropertyString*>(property)->m_maxLength;
    if (limit != 0 && static_cast<const CimPropertyString*>(newValue)->getValue().size() > limit) {
        throw utils::EInvalidParameter(utils::format("Length of %s property cannot be biger then %d",
                                                     property->getName().c_str(), static_cast<int>(limit)));
    }
}

std::string CimPropertyRef::toString() const
{
    return m_instance != nullptr ? m_instance->toPathString() : m_path;
}

void CimPropertyRef::setValue(CimInstance* instance) noexcept
{
    m_instance = instance;
    setIsNull(false);
}

void CimPropertyRef::setValue(std::string path) noexcept
{
    m_path = std::move(path);
    setIsNull(false);
}

}  // namespace core
