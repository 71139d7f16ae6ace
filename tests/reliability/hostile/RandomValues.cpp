#include "reliability/hostile/RandomValues.h"

#include <array>
#include <limits>

#include "Os/Windows/AnsiText.h"

namespace reliability {

namespace {

constexpr std::array<VARTYPE, 16> ELEMENTS{VT_I2,  VT_I4, VT_R4,  VT_R8,  VT_CY, VT_DATE, VT_BSTR,    VT_ERROR,
                                           VT_UI1, VT_I1, VT_UI2, VT_UI4, VT_I8, VT_BOOL, VT_VARIANT, VT_DECIMAL};

constexpr std::array<CIMTYPE, 12> CIM_TYPES{CIM_STRING,
                                            CIM_STRING | CIM_FLAG_ARRAY,
                                            CIM_UINT8,
                                            CIM_UINT16,
                                            CIM_UINT16 | CIM_FLAG_ARRAY,
                                            CIM_UINT32,
                                            CIM_UINT32 | CIM_FLAG_ARRAY,
                                            CIM_UINT64,
                                            CIM_BOOLEAN,
                                            CIM_DATETIME,
                                            CIM_REFERENCE,
                                            CIM_SINT32};

}  // namespace

RandomValues::Referred::~Referred()
{
    VariantClear(&value);
    if (array != nullptr) {
        SafeArrayDestroy(array);
    }
}

std::string RandomValues::text()
{
    static const std::array<const char*, 12> pieces{
        "a", "Zerix_ConcreteJob", ".", "=", ",", "\"", "\\", "\\\"", ":", "1", "%s", "\xE4"};
    std::string result;
    for (unsigned left = below(12); left != 0; --left) {
        result += pieces[below(pieces.size())];
    }
    // Sometimes longer than any buffer.
    return below(50) == 0 ? result + std::string(below(2000), 'x') : result;
}

std::string RandomValues::name()
{
    return below(20) == 0 ? text() : "P" + std::to_string(below(5));
}

std::string RandomValues::path()
{
    static const std::array<const char*, 5> sound{"Zerix_ConcreteJob.InstanceID=\"1\"", "Zerix_EthernetPort.k=1",
                                                  "root\\DCIM\\vexal:Zerix_EthernetPort.a=\"b\",c=2",
                                                  "\\\\HOST\\root\\interop:C.k=\"a\\\"b\"", "Zerix_EthernetPort."};
    std::string result = below(2) == 0 ? text() : sound[below(sound.size())];
    for (unsigned changes = below(4); changes != 0 && !result.empty(); --changes) {
        result[below(static_cast<unsigned>(result.size()))] = static_cast<char>(1 + below(255));
    }
    return result;
}

VARIANT RandomValues::scalar()
{
    VARIANT result{};
    result.vt = ELEMENTS[below(ELEMENTS.size())];
    switch (below(5)) {
        case 0:
            result.vt = VT_EMPTY;
            break;
        case 1:
            result.vt = VT_NULL;
            break;
        default:
            break;
    }
    if (result.vt == VT_VARIANT || result.vt == VT_DECIMAL) {
        result.vt = VT_I4;
    }
    if (result.vt == VT_BSTR) {
        result.bstrVal = below(5) == 0 ? nullptr : utils::toBstr(text());
    } else {
        result.llVal = static_cast<LONGLONG>(m_engine()) << below(32);
    }
    return result;
}

SAFEARRAY* RandomValues::array()
{
    const VARTYPE type = ELEMENTS[below(ELEMENTS.size())];
    std::array<SAFEARRAYBOUND, 3> bounds{};
    const unsigned dimensions = below(4) == 0 ? 1 + below(3) : 1;
    for (unsigned i = 0; i < dimensions; ++i) {
        bounds[i] = {static_cast<ULONG>(below(5)), static_cast<LONG>(below(11)) - 5};
    }
    if (type == VT_BSTR && below(10) == 0) {
        // The array's last index is the largest possible one.
        bounds[0] = {2, std::numeric_limits<LONG>::max() - 1};
    }
    SAFEARRAY* const result = SafeArrayCreate(type, dimensions, bounds.data());
    if (result == nullptr || type != VT_BSTR || dimensions != 1) {
        return result;
    }
    for (ULONG i = 0; i < bounds[0].cElements; ++i) {
        LONG index = bounds[0].lLbound + static_cast<LONG>(i);
        const BSTR element = utils::toBstr(text());
        SafeArrayPutElement(result, &index, element);
        SysFreeString(element);
    }
    return result;
}

VARIANT RandomValues::value()
{
    VARIANT result{};
    const bool isArray = below(2) == 0;
    const bool byReference = below(5) == 0;
    if (!isArray && !byReference) {
        return scalar();
    }
    if (!isArray) {
        auto& referred = *m_referred.emplace_back(std::make_unique<Referred>());
        referred.value = scalar();
        result.vt = static_cast<VARTYPE>(VT_BYREF | VT_VARIANT);
        result.pvarVal = &referred.value;
        return result;
    }
    SAFEARRAY* const content = below(8) == 0 ? nullptr : array();
    VARTYPE declared = ELEMENTS[below(ELEMENTS.size())];
    VARTYPE real = VT_EMPTY;
    if (below(2) == 0 && content != nullptr && SUCCEEDED(SafeArrayGetVartype(content, &real))) {
        declared = real;
    }
    result.vt = static_cast<VARTYPE>(VT_ARRAY | declared);
    result.parray = content;
    if (byReference) {
        auto& referred = *m_referred.emplace_back(std::make_unique<Referred>());
        referred.array = content;
        result.vt |= VT_BYREF;
        result.pparray = below(8) == 0 ? nullptr : &referred.array;
    }
    return result;
}

CIMTYPE RandomValues::cimType()
{
    return below(20) == 0 ? static_cast<CIMTYPE>(m_engine()) : CIM_TYPES[below(CIM_TYPES.size())];
}

}  // namespace reliability
