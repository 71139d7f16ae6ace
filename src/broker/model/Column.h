#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "core/CimInstance.h"
#include "core/CimPropertyTypes.h"

// How a class of the broker is described: one column per property, each with the function that reads its value from a
// row. A row holds the data that an instance of the class is made from. Building, refreshing, looking up and changing
// instances all follow the one description.
namespace broker {

// What happens to a value that a client puts.
enum class PutRule
{
    // The value may be put back unchanged; a change is refused.
    READ_ONLY,
    // The value changes by itself. A client that puts back what it read a moment ago does not ask for a change, so the
    // value is ignored.
    VOLATILE,
    WRITABLE
};

template <class Row>
struct Column
{
    const char* name;
    bool isKey;
    // Whether a path may write the key's value in any case.
    bool ignoresCase;
    PutRule rule;
    // Makes the property. It is null and has no owner.
    std::unique_ptr<core::CimProperty> (*make)(const char* name);
    // Sets the property from the row if the two differ. The property must come from this column.
    void (*refresh)(core::CimProperty& property, const Row& row);
    // Adds the listeners that limit a writable property; null if it has no limits.
    void (*limit)(core::CimProperty& property);
};

namespace detail {

template <class Value>
struct PropertyOf;
template <class Value>
struct PropertyOf<std::optional<Value>> : PropertyOf<Value>
{
};
template <>
struct PropertyOf<std::uint8_t>
{
    using Type = core::CimPropertyUint8;
};
template <>
struct PropertyOf<std::uint16_t>
{
    using Type = core::CimPropertyUint16;
};
template <>
struct PropertyOf<std::vector<std::uint16_t>>
{
    using Type = core::CimPropertyUint16_arr;
};
template <>
struct PropertyOf<std::uint32_t>
{
    using Type = core::CimPropertyUint32;
};
template <>
struct PropertyOf<std::vector<std::uint32_t>>
{
    using Type = core::CimPropertyUint32_arr;
};
template <>
struct PropertyOf<std::uint64_t>
{
    using Type = core::CimPropertyUint64;
};
template <>
struct PropertyOf<std::string>
{
    using Type = core::CimPropertyString;
};
template <>
struct PropertyOf<const char*>
{
    using Type = core::CimPropertyString;
};
template <>
struct PropertyOf<std::vector<std::string>>
{
    using Type = core::CimPropertyString_arr;
};
template <>
struct PropertyOf<bool>
{
    using Type = core::CimPropertyBool;
};
template <>
struct PropertyOf<utils::Time>
{
    using Type = core::CimPropertyDatetime;
};
template <>
struct PropertyOf<core::CimInstance*>
{
    using Type = core::CimPropertyRef;
};

template <class Read>
struct RowOf;
template <class Value, class Row>
struct RowOf<Value (*)(const Row&)>
{
    using Type = Row;
};
template <class Value, class Row>
struct RowOf<Value Row::*>
{
    using Type = Row;
};

template <class Property, class Value>
void assign(Property& property, const Value& value)
{
    if (property.isNull() || property.getValue() != value) {
        property.setValue(value);
    }
}

template <class Property, class Value>
void assign(Property& property, const std::optional<Value>& value)
{
    if (value) {
        assign(property, *value);
    } else {
        property.setNull();
    }
}

inline void assign(core::CimPropertyString_arr& property, const std::vector<std::string>& value)
{
    // WMI cannot distinguish an empty array of texts from no array, so it gets no array.
    if (value.empty()) {
        property.setNull();
    } else {
        assign<core::CimPropertyString_arr, std::vector<std::string>>(property, value);
    }
}

inline void assign(core::CimPropertyRef& property, core::CimInstance* value)
{
    if (value == nullptr) {
        property.setNull();
    } else {
        property.setValue(value);
    }
}

template <class Property>
std::unique_ptr<core::CimProperty> make(const char* name)
{
    return std::make_unique<Property>(name);
}

}  // namespace detail

// A column that reads its values by `Read`: a member of the row, or a function of it. The type of what it reads is the
// type of the property; an empty optional and a null instance are the null value.
template <auto Read>
constexpr auto column(const char* name, PutRule rule = PutRule::READ_ONLY)
{
    using Row = typename detail::RowOf<decltype(Read)>::Type;
    using Value = std::remove_cvref_t<std::invoke_result_t<decltype(Read), const Row&>>;
    using Property = typename detail::PropertyOf<Value>::Type;
    return Column<Row>{name,
                       false,
                       false,
                       rule,
                       &detail::make<Property>,
                       [](core::CimProperty& property, const Row& row) {
                           detail::assign(static_cast<Property&>(property), std::invoke(Read, row));
                       },
                       nullptr};
}

// A key of the class.
template <auto Read>
constexpr auto key(const char* name)
{
    auto result = column<Read>(name);
    result.isKey = true;
    return result;
}

// A key whose value is compared without case, since it is the name of a class or a host, or is made of GUIDs and
// addresses.
template <auto Read>
constexpr auto keyWithoutCase(const char* name)
{
    auto result = key<Read>(name);
    result.ignoresCase = true;
    return result;
}

// A property that clients may change, with the function that adds its limits.
template <auto Read>
constexpr auto writable(const char* name, void (*limit)(core::CimProperty&))
{
    auto result = column<Read>(name, PutRule::WRITABLE);
    result.limit = limit;
    return result;
}

}  // namespace broker
