#include "wmihost/com/Variant.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <stdexcept>
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

// The address that SafeArrayPutElement expects: that of the text or the object itself, otherwise that of the value.
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

// The address where SafeArrayGetElement may write an element of that type.
void* elementSlot(VARIANT& slot, VARTYPE type)
{
    switch (type) {
        case VT_VARIANT:
            return &slot;
        case VT_DECIMAL:
            return &slot.decVal;
        default:
            return &slot.ullVal;
    }
}

// The largest element for which that slot has room.
std::size_t slotSize(VARTYPE type)
{
    switch (type) {
        case VT_VARIANT:
            return sizeof(VARIANT);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        default:
            return sizeof(VARIANT::ullVal);
    }
}

VARTYPE elementTypeIn(const VARIANT& array)
{
    return static_cast<VARTYPE>(array.vt & VT_TYPEMASK);
}

Variant elementAt(const VARIANT& list, LONG index)
{
    const VARTYPE type = elementTypeIn(list);
    Variant element;
    VARIANT* slot = element.put();
    check(SafeArrayGetElement(list.parray, &index, elementSlot(*slot, type)));
    if (type != VT_VARIANT) {
        slot->vt = type;
    }
    return element;
}

bool sameElements(const VARIANT& left, const VARIANT& right)
{
    if (!isList(left) || !isList(right)) {
        return false;
    }
    const auto a = elementsOf(left);
    const auto b = elementsOf(right);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Variant& x, const Variant& y) { return sameValue(x.get(), y.get()); });
}

bool sameObject(IUnknown* left, IUnknown* right)
{
    ComPtr<IWbemClassObject> a;
    ComPtr<IWbemClassObject> b;
    if (left == right || left == nullptr || right == nullptr) {
        return left == right;
    }
    return SUCCEEDED(left->QueryInterface(IID_PPV_ARGS(a.put()))) &&
           SUCCEEDED(right->QueryInterface(IID_PPV_ARGS(b.put()))) && a->CompareTo(0, b.get()) == WBEM_S_SAME;
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

Variant Variant::ofObject(ComPtr<IWbemClassObject> object)
{
    Variant result;
    if (object) {
        result.m_value.vt = VT_UNKNOWN;
        result.m_value.punkVal = object.detach();
    }
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

std::optional<Variant> dereferenced(const VARIANT& value)
{
    Variant result;
    if (FAILED(VariantCopyInd(result.put(), const_cast<VARIANT*>(&value)))) {
        return std::nullopt;
    }
    return result;
}

bool isList(const VARIANT& value)
{
    if ((value.vt & VT_ARRAY) == 0 || (value.vt & VT_BYREF) != 0) {
        return false;
    }
    // A null array has no elements.
    return value.parray == nullptr ||
           (SafeArrayGetDim(value.parray) == 1 && SafeArrayGetElemsize(value.parray) <= slotSize(elementTypeIn(value)));
}

std::vector<Variant> elementsOf(const VARIANT& list)
{
    if (!isList(list)) {
        throw std::invalid_argument("the value is not an array of one dimension");
    }
    std::vector<Variant> elements;
    if (list.parray == nullptr) {
        return elements;
    }
    LONG low = 0;
    LONG high = -1;
    check(SafeArrayGetLBound(list.parray, 1, &low));
    check(SafeArrayGetUBound(list.parray, 1, &high));
    for (LONG i = low; i <= high; ++i) {
        elements.push_back(elementAt(list, i));
    }
    return elements;
}

bool sameValue(const VARIANT& left, const VARIANT& right)
{
    if (left.vt != right.vt) {
        return false;
    }
    if ((left.vt & VT_ARRAY) != 0) {
        return sameElements(left, right);
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
            return sameObject(left.punkVal, right.punkVal);
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
