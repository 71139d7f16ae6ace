#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wmihost/com/Com.h"

namespace wmihost {

// A VARIANT that owns its value; copies are deep. Out of memory throws std::bad_alloc.
class Variant
{
public:
    // VT_NULL, WMI's "no value".
    Variant();
    explicit Variant(const VARIANT& value);
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept;
    Variant& operator=(Variant other) noexcept;
    ~Variant();

    static Variant ofText(std::wstring_view text);
    static Variant ofLong(long value);
    static Variant ofBool(bool value);
    static Variant ofByte(unsigned char value);
    static Variant ofShort(short value);
    static Variant ofFloat(float value);
    static Variant ofDouble(double value);
    // Takes over the reference. A null object makes VT_NULL.
    static Variant ofObject(ComPtr<IWbemClassObject> object);
    // An array with lower bound 0 whose elements are all of the given type.
    static Variant ofArray(VARTYPE elementType, const std::vector<Variant>& elements);
    static Variant ofTexts(const std::vector<std::wstring>& texts);

    const VARIANT& get() const { return m_value; }
    // For functions that take a VARIANT* and only read it.
    VARIANT* in() const { return const_cast<VARIANT*>(&m_value); }
    // For functions that store a new value; clears the old one first.
    VARIANT* put();
    // Hands the value to the caller, who clears it.
    VARIANT detach();

    VARTYPE type() const { return m_value.vt; }
    bool isNull() const { return m_value.vt == VT_NULL || m_value.vt == VT_EMPTY; }
    bool isArray() const { return (m_value.vt & VT_ARRAY) != 0; }

private:
    VARIANT m_value;
};

// The text of a BSTR; a null one is empty.
std::wstring_view viewOf(BSTR text);

// A copy of the value, or of the value that the VARIANT points at (VT_BYREF). None if it points at nothing usable.
std::optional<Variant> dereferenced(const VARIANT& value);

// Whether the value is an array of one dimension whose elements a VARIANT can hold. WMI has no other arrays.
bool isList(const VARIANT& value);

// The elements of a list in order, each as a VARIANT of the element type, or of its own type in an array of VARIANTs.
// Throws std::invalid_argument if the value is not a list, std::bad_alloc without memory.
std::vector<Variant> elementsOf(const VARIANT& list);

// Whether two values have the same type and the same content: texts byte for byte, objects as CompareTo says.
bool sameValue(const VARIANT& left, const VARIANT& right);

// A BSTR that owns its text.
class Bstr
{
public:
    Bstr() = default;
    explicit Bstr(std::wstring_view text);
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(m_text); }

    BSTR get() const { return m_text; }
    BSTR* put();
    BSTR detach();
    std::wstring_view view() const { return viewOf(m_text); }

private:
    BSTR m_text = nullptr;
};

}  // namespace wmihost
