#include "adapters/wmi/PropertyConverters.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/ComputerName.h"
#include "Os/Windows/SafeArrays.h"
#include "Os/Windows/Variants.h"
#include "Utils/Assert.h"
#include "Utils/Utils.h"
#include "adapters/wmi/Names.h"
#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"

namespace wa {

namespace {

constexpr const char* FILE_NAME = "WmiConverter";

// Numbers of any width up to 32 bits, as an array of VT_I4. Goes on without an array when it cannot be created: each
// element is then reported lost, and the client gets the type without a value rather than nothing.
template <class Number>
VARIANT numberArrayVariant(const utils::LogSite& here, const std::vector<Number>& numbers)
{
    utils::ScopedVariant variant(utils::arrayVariant(VT_I4, utils::createArray(here, VT_I4, numbers.size())));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        auto number = static_cast<LONG>(numbers[i]);
        here.debug("converting array element %d", number);
        utils::putElement(here, variant.get().parray, i, &number);
    }
    return variant.detach();
}

// True, with the property null and the line written, when the VARIANT holds no value.
bool takeNull(const utils::LogSite& here, core::CimProperty& property, const VARIANT& variant)
{
    if (variant.vt != VT_NULL) {
        return false;
    }
    property.setNull();
    here.debug("Property %s value is NULL", property.getName().c_str());
    return true;
}

// Profiles live in the namespace that all vendors share, everything else in the maker's own.
const char* namespaceOf(const core::CimInstance* instance)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::RefPropertyConverter::namespaceOf"};
    ASSERT(here, instance != NULL);
    return instance->getClassName() == names::PROFILE_CLASS ? names::INTEROP_NAMESPACE : names::VEXAL_NAMESPACE;
}

}  // namespace

VARIANT StringPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::StringPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_STRING);
    return utils::textVariant(static_cast<core::CimPropertyString*>(property)->getValue());
}

core::CimProperty* StringPropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::StringPropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_BSTR || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyString>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(utils::narrowBstr(variant->bstrVal));
        here.debug("Property %s value is '%s'", name.c_str(), property->getValue().c_str());
    }
    return property.release();
}

VARIANT StringArrayPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::StringArrayPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_STRING_ARR);
    const std::vector<std::string>& texts = static_cast<core::CimPropertyString_arr*>(property)->getValue();
    utils::ScopedVariant variant(
        utils::arrayVariant(VT_BSTR, texts.empty() ? nullptr : utils::createArray(here, VT_BSTR, texts.size())));
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const utils::ScopedBstr text(texts[i]);
        utils::putElement(here, variant.get().parray, i, text.get());
    }
    return variant.detach();
}

core::CimProperty* StringArrayPropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::StringArrayPropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, ((variant->vt & (VT_BSTR | VT_ARRAY)) == (VT_BSTR | VT_ARRAY)) || (variant->vt == VT_NULL));
    auto property = std::make_unique<core::CimPropertyString_arr>(name.c_str());
    if (takeNull(here, *property, *variant)) {
        return property.release();
    }
    here.debug("Converting %s", name.c_str());
    property->clear();
    std::vector<std::string> texts;
    const utils::TextArrayCopy array(utils::arrayOf(*variant));
    if (array.exists()) {
        // The upper bound may be the largest index there is, so the counter is wider.
        for (LONGLONG index = array.lowerBound(); index <= array.upperBound(); ++index) {
            texts.push_back(array.at(static_cast<LONG>(index)));
            here.debug("Add '%s'", texts.back().c_str());
        }
    }
    here.debug("Property %s contains %d elements", name.c_str(), static_cast<int>(texts.size()));
    property->setValue(std::move(texts));
    return property.release();
}

VARIANT Uint8PropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint8PropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT8);
    const VARIANT variant = utils::byteVariant(static_cast<core::CimPropertyUint8*>(property)->getValue());
    here.debug("Uint8 property '%s' value is %d", property->getName().c_str(), variant.bVal);
    return variant;
}

core::CimProperty* Uint8PropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint8PropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_UI1 || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyUint8>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(variant->bVal);
        here.debug("Property %s value is '%d'", name.c_str(), property->getValue());
    }
    return property.release();
}

VARIANT Uint16PropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint16PropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT16);
    const VARIANT variant = utils::numberVariant(static_cast<core::CimPropertyUint16*>(property)->getValue());
    here.debug("uint16 property '%s' value is %d", property->getName().c_str(), variant.lVal);
    return variant;
}

core::CimProperty* Uint16PropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint16PropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_I4 || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyUint16>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(static_cast<std::uint16_t>(variant->lVal));
        here.debug("Property %s value is '%d'", name.c_str(), property->getValue());
    }
    return property.release();
}

VARIANT Uint16ArrayPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint16ArrayPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT16_ARR);
    const VARIANT variant = numberArrayVariant(here, static_cast<core::CimPropertyUint16_arr*>(property)->getValue());
    here.debug("Creating variant: %d %p", variant.vt, variant.parray);
    return variant;
}

core::CimProperty* Uint16ArrayPropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint16ArrayPropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, ((variant->vt & (VT_I4 | VT_ARRAY)) == (VT_I4 | VT_ARRAY)) || (variant->vt == VT_NULL));
    auto property = std::make_unique<core::CimPropertyUint16_arr>(name.c_str());
    if (takeNull(here, *property, *variant)) {
        return property.release();
    }
    here.debug("Converting %s", name.c_str());
    property->clear();
    SAFEARRAY* const array = utils::arrayOf(*variant);
    LONG upper = -1;
    if (array != nullptr) {
        static constexpr USHORT OWNING = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
        utils::requireElements(array, (array->fFeatures & OWNING) == 0 && array->cbElements <= sizeof(LONGLONG));
        SafeArrayGetUBound(array, 1, &upper);
    }
    std::vector<std::uint16_t> numbers;
    // The lower bound and the result of each read are ignored: an element that is not there counts as 0. The upper
    // bound may be the largest index there is, so the counter is wider.
    for (LONGLONG position = 0; position <= upper; ++position) {
        LONG index = static_cast<LONG>(position);
        LONGLONG slot = 0;
        SafeArrayGetElement(array, &index, &slot);
        numbers.push_back(static_cast<std::uint16_t>(slot));
        here.debug("Add %d", numbers.back());
    }
    here.debug("Property %s contains %d elements", name.c_str(), static_cast<int>(numbers.size()));
    property->setValue(std::move(numbers));
    return property.release();
}

VARIANT Uint32PropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint32PropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT32);
    return utils::numberVariant(static_cast<std::int32_t>(static_cast<core::CimPropertyUint32*>(property)->getValue()));
}

core::CimProperty* Uint32PropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint32PropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_I4 || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyUint32>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(static_cast<std::uint32_t>(variant->lVal));
        here.debug("Property %s value is '%d'", name.c_str(), property->getValue());
    }
    return property.release();
}

VARIANT Uint32ArrayPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint32ArrayPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT32_ARR);
    return numberArrayVariant(here, static_cast<core::CimPropertyUint32_arr*>(property)->getValue());
}

VARIANT Uint64PropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint64PropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_UINT64);
    const std::string text = std::to_string(static_cast<core::CimPropertyUint64*>(property)->getValue());
    here.debug("uint64 property value is %s", text.c_str());
    return utils::textVariant(text);
}

core::CimProperty* Uint64PropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::Uint64PropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_BSTR || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyUint64>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(utils::toUint64(utils::narrowBstr(variant->bstrVal)));
        here.debug("Property %s value is %I64u", name.c_str(), property->getValue());
    }
    return property.release();
}

VARIANT BoolPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::BoolPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_BOOL);
    return utils::boolVariant(static_cast<core::CimPropertyBool*>(property)->getValue());
}

VARIANT DatetimePropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::DatetimePropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_DATETIME);
    const utils::Time time = static_cast<core::CimPropertyDatetime*>(property)->getValue();
    if (time.isPeriod()) {
        const utils::Time::Period period = time.decomposePeriod();
        return utils::textVariant(
            utils::format("%08d%02d%02d%02d.000000:000", period.days, period.hours, period.minutes, period.seconds));
    }
    const utils::Time::Fields fields = time.decomposeTimestamp();
    return utils::textVariant(utils::format("%04d%02d%02d%02d%02d%02d.000000+000", fields.year, fields.month,
                                            fields.day, fields.hour, fields.minute, fields.second));
}

VARIANT RefPropertyConverter::propertyToVariant(core::CimProperty* property)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::RefPropertyConverter::propertyToVariant"};
    ASSERT(here, property != NULL);
    ASSERT(here, property->getType() == core::CimProperty::EPT_REF);
    core::CimInstance* const value = static_cast<core::CimPropertyRef*>(property)->getValue();
    ASSERT(here, value != NULL);
    std::string text = utils::format("\\\\%s", utils::computerName().c_str());
    text += namespaceOf(value);
    text += ":";
    text += value->toPathString();
    return utils::textVariant(text);
}

core::CimProperty* RefPropertyConverter::variantToProperty(std::string name, const VARIANT* variant)
{
    static constexpr utils::LogSite here{FILE_NAME, "wa::RefPropertyConverter::variantToProperty"};
    ASSERT(here, name.size() > 0);
    ASSERT(here, variant != NULL);
    ASSERT(here, variant->vt == VT_BSTR || variant->vt == VT_NULL);
    auto property = std::make_unique<core::CimPropertyRef>(name.c_str());
    if (!takeNull(here, *property, *variant)) {
        property->setValue(utils::narrowBstr(variant->bstrVal));
        here.debug("Property %s value is '%s'", name.c_str(), property->getPath().c_str());
    }
    return property.release();
}

}  // namespace wa
