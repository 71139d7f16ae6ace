#include "fakes/EveryType.h"

#include "support/Samples.h"

namespace support {

namespace {

VARIANT scalar(VARTYPE type, LONG number)
{
    VARIANT value = samples::i4(number);
    value.vt = type;
    return value;
}

VARIANT emptyArray(VARTYPE type, std::size_t size)
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    value.parray = SafeArrayCreateVector(type, 0, static_cast<ULONG>(size));
    return value;
}

}  // namespace

VARIANT numbersVariant(std::initializer_list<LONG> numbers)
{
    const VARIANT value = emptyArray(VT_I4, numbers.size());
    LONG index = 0;
    for (LONG number : numbers) {
        SafeArrayPutElement(value.parray, &index, &number);
        ++index;
    }
    return value;
}

VARIANT textsVariant(std::initializer_list<const char*> texts)
{
    const VARIANT value = emptyArray(VT_BSTR, texts.size());
    LONG index = 0;
    for (const char* const text : texts) {
        SafeArrayPutElement(value.parray, &index, utils::ScopedBstr(std::string(text)).get());
        ++index;
    }
    return value;
}

void addEveryType(core::CimInstance& instance, core::CimInstance& referred)
{
    samples::add<core::CimPropertyUint8>(instance, "Uint8", std::uint8_t{255});
    samples::add<core::CimPropertyUint16>(instance, "Uint16", std::uint16_t{65535});
    samples::add<core::CimPropertyUint16_arr>(instance, "Uint16s", std::vector<std::uint16_t>{1, 65535});
    samples::add<core::CimPropertyUint32>(instance, "Uint32", 4294967295U);
    samples::add<core::CimPropertyUint32_arr>(instance, "Uint32s", std::vector<std::uint32_t>{1, 4294967295U});
    samples::add<core::CimPropertyUint64>(instance, "Uint64", std::uint64_t{18446744073709551615U});
    samples::add<core::CimPropertyString_arr>(instance, "Texts", std::vector<std::string>{"a", ""});
    samples::add<core::CimPropertyBool>(instance, "Bool", true);
    samples::add<core::CimPropertyDatetime>(instance, "Time", utils::Time::timestamp(951'782'400'000'000));
    samples::add<core::CimPropertyDatetime>(instance, "Period", utils::Time::period(90'061'000'000));
    samples::add<core::CimPropertyRef>(instance, "Reference", &referred);
    new core::CimPropertyString("Nothing", &instance);
}

void addEveryType(FakeClassObject& object)
{
    object.add("DeviceID", samples::bstr("a"), CIM_STRING, 0, true);
    object.add("Name", samples::bstr("eth1"), CIM_STRING);
    object.add("Nothing", samples::null(), CIM_STRING);
    object.add("Uint8", scalar(VT_UI1, 255), CIM_UINT8);
    object.add("Uint16", samples::i4(70000), CIM_UINT16);
    object.add("Uint16s", numbersVariant({1, 70000}), CIM_UINT16 | CIM_FLAG_ARRAY);
    object.add("Uint32", samples::i4(-1), CIM_UINT32);
    object.add("Uint32s", numbersVariant({1}), CIM_UINT32 | CIM_FLAG_ARRAY);
    object.add("Uint64", samples::bstr("18446744073709551615"), CIM_UINT64);
    object.add("Texts", textsVariant({"a", ""}), CIM_STRING | CIM_FLAG_ARRAY);
    object.add("Bool", scalar(VT_BOOL, VARIANT_TRUE), CIM_BOOLEAN);
    object.add("Time", samples::bstr("20000229000000.000000+000"), CIM_DATETIME);
    object.add("Reference", samples::bstr("Zerix_ConcreteJob.InstanceID=\"7\""), CIM_REFERENCE);
    object.add("Sint32", samples::i4(1), CIM_SINT32);
    object.add("__SYSTEM", samples::bstr("x"), CIM_STRING, WBEM_FLAVOR_ORIGIN_SYSTEM);
}

}  // namespace support
