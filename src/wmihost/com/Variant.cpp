#include "wmihost/com/Variant.h"

#include <cstddef>
#include <new>
#include <utility>

namespace wmihost {
namespace {

VARIANT nullValue()
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_NULL;
    return value;
}

VARIANT copyOf(const VARIANT& value)
{
    VARIANT copy;
    VariantInit(&copy);
    if (FAILED(VariantCopy(&copy, const_cast<VARIANT*>(&value)))) {
        throw std::bad_alloc();
    }
    return copy;
}

void check(HRESULT result)
{
    if (FAILED(result)) {
        throw std::bad_alloc();
    }
}

// What SafeArrayPutElement wants to be pointed at: the text or the object itself, else the value's bytes.
void* elementAddress(VARIANT& value)
{
    switch (value.vt) {
        case VT_BSTR:
            return value.bstrVal;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return value.punkVal;
        default:
            return &value.ullVal;
    }
}

}  // namespace

Variant::Variant() : m_value(nullValue()) {}

Variant::Variant(const VARIANT& value) : m_value(copyOf(value)) {}

Variant::Variant(const Variant& other) : m_value(copyOf(other.m_value)) {}

Variant::Variant(Variant&& other) noexcept : m_value(std::exchange(other.m_value, nullValue())) {}

Variant& Variant::operator=(Variant other) noexcept
{
    std::swap(m_value, other.m_value);
    return *this;
}

Variant::~Variant()
{
    VariantClear(&m_value);
}

Variant Variant::ofText(std::wstring_view text)
{
    Variant result;
    result.m_value.bstrVal = Bstr(text).detach();
    result.m_value.vt = VT_BSTR;
    return result;
}

Variant Variant::ofLong(long value)
{
    Variant result;
    result.m_value.vt = VT_I4;
    result.m_value.lVal = value;
    return result;
}

Variant Variant::ofBool(bool value)
{
    Variant result;
    result.m_value.vt = VT_BOOL;
    result.m_value.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}

Variant Variant::ofByte(unsigned char value)
{
    Variant result;
    result.m_value.vt = VT_UI1;
    result.m_value.bVal = value;
    return result;
}

Variant Variant::ofShort(short value)
{
    Variant result;
    result.m_value.vt = VT_I2;
    result.m_value.iVal = value;
    return result;
}

Variant Variant::ofFloat(float value)
{
    Variant result;
    result.m_value.vt = VT_R4;
    result.m_value.fltVal = value;
    return result;
}

Variant Variant::ofDouble(double value)
{
    Variant result;
    result.m_value.vt = VT_R8;
    result.m_value.dblVal = value;
    return result;
}

Variant Variant::ofArray(VARTYPE elementType, const std::vector<Variant>& elements)
{
    Variant result;
    SAFEARRAY* array = SafeArrayCreateVector(elementType, 0, static_cast<ULONG>(elements.size()));
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    result.m_value.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
    result.m_value.parray = array;
    for (LONG i = 0; i < static_cast<LONG>(elements.size()); ++i) {
        check(SafeArrayPutElement(array, &i, elementAddress(*elements[static_cast<std::size_t>(i)].in())));
    }
    return result;
}

Variant Variant::ofTexts(const std::vector<std::wstring>& texts)
{
    std::vector<Variant> elements;
    for (const std::wstring& text : texts) {
        elements.push_back(ofText(text));
    }
    return ofArray(VT_BSTR, elements);
}

VARIANT* Variant::put()
{
    VariantClear(&m_value);
    m_value = nullValue();
    return &m_value;
}

VARIANT Variant::detach()
{
    return std::exchange(m_value, nullValue());
}

std::wstring_view viewOf(BSTR text)
{
    return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

std::vector<Variant> elementsOf(const VARIANT& array)
{
    std::vector<Variant> elements;
    if (array.parray == nullptr) {
        return elements;
    }
    LONG low = 0;
    LONG high = -1;
    check(SafeArrayGetLBound(array.parray, 1, &low));
    check(SafeArrayGetUBound(array.parray, 1, &high));
    for (LONG i = low; i <= high; ++i) {
        Variant element;
        VARIANT* slot = element.put();
        // The slot is large enough for every element type, and its members all start at the same place.
        check(SafeArrayGetElement(array.parray, &i, &slot->ullVal));
        slot->vt = static_cast<VARTYPE>(array.vt & ~VT_ARRAY);
        elements.push_back(std::move(element));
    }
    return elements;
}

bool sameValue(const VARIANT& left, const VARIANT& right)
{
    if (left.vt != right.vt) {
        return false;
    }
    if ((left.vt & VT_ARRAY) != 0) {
        const auto a = elementsOf(left);
        const auto b = elementsOf(right);
        if (a.size() != b.size()) {
            return false;
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (!sameValue(a[i].get(), b[i].get())) {
                return false;
            }
        }
        return true;
    }
    switch (left.vt) {
        case VT_NULL:
        case VT_EMPTY:
            return true;
        case VT_BSTR:
            return viewOf(left.bstrVal) == viewOf(right.bstrVal);
        case VT_UI1:
            return left.bVal == right.bVal;
        case VT_I2:
        case VT_BOOL:
            return left.iVal == right.iVal;
        case VT_I4:
            return left.lVal == right.lVal;
        case VT_R4:
            return left.fltVal == right.fltVal;
        case VT_R8:
            return left.dblVal == right.dblVal;
        case VT_UNKNOWN:
            return left.punkVal == right.punkVal;
        default:
            return false;
    }
}

Bstr::Bstr(std::wstring_view text) : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
{
    if (m_text == nullptr) {
        throw std::bad_alloc();
    }
}

BSTR* Bstr::put()
{
    SysFreeString(std::exchange(m_text, nullptr));
    return &m_text;
}

BSTR Bstr::detach()
{
    return std::exchange(m_text, nullptr);
}

}  // namespace wmihost
