#include "Os/Windows/Variants.h"

#include <comdef.h>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/ComScope.h"
#include "Utils/Log.h"

namespace utils {

namespace {

// The platform writes as many bytes as the array's elements have and ignores the destination's type. The slot of a
// VARIANT is large enough for every element type, VARIANT included.
VARIANT elementValue(const VARIANT& element, VARTYPE type)
{
    if (type == VT_VARIANT) {
        return element;
    }
    VARIANT value{};
    if (type == VT_DECIMAL) {
        value.decVal = *reinterpret_cast<const DECIMAL*>(&element);
    } else {
        value.llVal = *reinterpret_cast<const LONGLONG*>(&element);
    }
    value.vt = type;
    return value;
}

// What the VARIANT says, unless the array knows better: its own type decides what an element owns.
VARTYPE elementType(const VARIANT& value, SAFEARRAY* array)
{
    auto type = static_cast<VARTYPE>(value.vt & ~(VT_ARRAY | VT_BYREF));
    SafeArrayGetVartype(array, &type);
    return type;
}

// Clears the elements on every way out.
class ScopedElements
{
public:
    explicit ScopedElements(std::vector<VARIANT>&& elements) noexcept : m_elements(std::move(elements)) {}
    ScopedElements(const ScopedElements&) = delete;
    ScopedElements& operator=(const ScopedElements&) = delete;
    ~ScopedElements()
    {
        for (VARIANT& element : m_elements) {
            VariantClear(&element);
        }
    }

    const std::vector<VARIANT>& get() const noexcept { return m_elements; }

private:
    std::vector<VARIANT> m_elements;
};

std::string arrayToString(const VARIANT& value)
{
    const ScopedElements elements(expandVariantArray(value));
    std::string text = "{";
    const char* separator = "";
    for (const VARIANT& element : elements.get()) {
        text += separator;
        text += variantToString(element);
        separator = ", ";
    }
    return text + "}";
}

}  // namespace

VARIANT byteVariant(std::uint8_t value) noexcept
{
    VARIANT variant{};
    variant.vt = VT_UI1;
    variant.bVal = value;
    return variant;
}

VARIANT numberVariant(std::int32_t value) noexcept
{
    VARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

VARIANT boolVariant(bool value) noexcept
{
    VARIANT variant{};
    variant.vt = VT_BOOL;
    variant.boolVal = value ? 1 : 0;
    return variant;
}

VARIANT textVariant(const std::string& text)
{
    VARIANT variant{};
    variant.bstrVal = toBstr(text);
    variant.vt = VT_BSTR;
    return variant;
}

VARIANT arrayVariant(VARTYPE elements, SAFEARRAY* array) noexcept
{
    VARIANT variant{};
    variant.vt = static_cast<VARTYPE>(VT_ARRAY | elements);
    variant.parray = array;
    return variant;
}

SAFEARRAY* arrayOf(const VARIANT& value) noexcept
{
    if ((value.vt & VT_BYREF) == 0) {
        return value.parray;
    }
    return value.pparray == nullptr ? nullptr : *value.pparray;
}

std::vector<VARIANT> expandVariantArray(const VARIANT& value)
{
    static constexpr LogSite here{"Os/Windows/Windows", "utils::expandVariantArray"};
    std::vector<VARIANT> elements;
    if ((value.vt & VT_ARRAY) == 0) {
        return elements;
    }
    SAFEARRAY* const array = arrayOf(value);
    LONG lower = 0;
    LONG upper = -1;
    // One index reads an element of one dimension only.
    if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetLBound(array, 1, &lower)) ||
        FAILED(SafeArrayGetUBound(array, 1, &upper)))
    {
        return elements;
    }
    const VARTYPE type = elementType(value, array);
    // All at once: an element that cannot be stored could not be freed either.
    elements.reserve(static_cast<std::size_t>(static_cast<LONGLONG>(upper) - lower + 1));
    // Counted in 64 bits: an upper bound may be the largest index there is.
    for (LONGLONG position = lower; position <= upper; ++position) {
        LONG index = static_cast<LONG>(position);
        VARIANT element{};
        const HRESULT status = SafeArrayGetElement(array, &index, &element);
        if (FAILED(status)) {
            here.error("error 0x%X with SafeArrayGetElement %d", status, index);
        } else {
            elements.push_back(elementValue(element, type));
        }
    }
    return elements;
}

std::string variantToString(const VARIANT& value)
{
    if (value.vt == VT_NULL) {
        return "<NULL>";
    }
    if ((value.vt & VT_ARRAY) != 0) {
        return arrayToString(value);
    }
    ScopedVariant copy;
    // The platform declares a source that it only reads as writable.
    HRESULT status = VariantCopy(copy.address(), const_cast<VARIANT*>(&value));
    if (FAILED(status)) {
        throw _com_error(status);
    }
    status = VariantChangeType(copy.address(), copy.address(), VARIANT_ALPHABOOL, VT_BSTR);
    if (FAILED(status)) {
        return format("error 0x%X with ChangeType", static_cast<unsigned>(status));
    }
    return narrowBstr(copy.get().bstrVal);
}

}  // namespace utils
