#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Utils/Time.h"
#include "core/CimProperty.h"

// One class per value type. Every setter stores the value and makes the property non-null; setNull leaves the value.
// Getters give the stored value whether or not the property is null; references stay valid until the value changes.
namespace core {

// Takes over the value and the null flag of newValue, which verify has found to be of the property's own type; the
// value is copied even when it is null. Calls onModify of every listener first. Throws utils::Exception when either is
// null. One per type that can be changed.
void modifyProperty(class CimPropertyUint8* property, const CimProperty* newValue);
void modifyProperty(class CimPropertyUint16* property, const CimProperty* newValue);
void modifyProperty(class CimPropertyUint32* property, const CimProperty* newValue);
void modifyProperty(class CimPropertyUint64* property, const CimProperty* newValue);
void modifyProperty(class CimPropertyString* property, const CimProperty* newValue);

// What the value classes share: the stored value with its getter and setter.
template <class Value>
class CimPropertyOf : public CimProperty
{
public:
    using CimProperty::CimProperty;

    const Value& getValue() const noexcept { return m_value; }

    void setValue(Value value)
    {
        m_value = std::move(value);
        setIsNull(false);
    }

protected:
    // The value of the other property and its null flag.
    void take(const CimPropertyOf& other)
    {
        m_value = other.m_value;
        setIsNull(other.isNull());
    }

    template <class Property>
    friend void modifyTyped(Property* property, const CimProperty* newValue);

    Value m_value{};
};

class CimPropertyUint8 : public CimPropertyOf<std::uint8_t>
{
public:
    using CimPropertyOf::CimPropertyOf;

    std::string toString() const override;
    EPropertyType getType() const override { return EPT_UINT8; }
    void modify(const CimProperty* newValue) override { modifyProperty(this, newValue); }
    void verify(const CimProperty* newValue) override { verifyProperty(this, newValue); }
};

class CimPropertyUint16 : public CimPropertyOf<std::uint16_t>
{
public:
    using CimPropertyOf::CimPropertyOf;

    std::string toString() const override;
    EPropertyType getType() const override { return EPT_UINT16; }
    void modify(const CimProperty* newValue) override { modifyProperty(this, newValue); }
    void verify(const CimProperty* newValue) override { verifyProperty(this, newValue); }
};

// toString shows the value as a signed number, so that 4294967295 is "-1": existing paths and scripts hold it so.
class CimPropertyUint32 : public CimPropertyOf<std::uint32_t>
{
public:
    using CimPropertyOf::CimPropertyOf;

    std::string toString() const override;
    EPropertyType getType() const override { return EPT_UINT32; }
    void modify(const CimProperty* newValue) override { modifyProperty(this, newValue); }
    void verify(const CimProperty* newValue) override { verifyProperty(this, newValue); }
};

class CimPropertyUint64 : public CimPropertyOf<std::uint64_t>
{
public:
    using CimPropertyOf::CimPropertyOf;

    std::string toString() const override;
    EPropertyType getType() const override { return EPT_UINT64; }
    void modify(const CimProperty* newValue) override { modifyProperty(this, newValue); }
    void verify(const CimProperty* newValue) override { verifyProperty(this, newValue); }
};

class CimPropertyString : public CimPropertyOf<std::string>
{
public:
    explicit CimPropertyString(const char* name, CimInstance* owner = nullptr) : CimPropertyOf(name, owner) {}

    std::string toString() const override { return getValue(); }
    EPropertyType getType() const override { return EPT_STRING; }
    void modify(const CimProperty* newValue) override { modifyProperty(this, newValue); }
    void verify(const CimProperty* newValue) override { verifyProperty(this, newValue); }

    // Limits in bytes; 0 means none. They apply only once the length listeners are registered.
    void setMinLength(std::uint32_t length) noexcept { m_minLength = length; }
    void setMaxLength(std::uint32_t length) noexcept { m_maxLength = length; }

    // Registers the two length checks behind the listeners that are there. Call once.
    void registerLengthListeners();

private:
    // The limits are those of the property that is changed, the length that of the new value, null or not: with a
    // minimum, null over null is refused too.
    class CheckMinLengthListener : public Listener
    {
    public:
        void onVerify(CimProperty* property, const CimProperty* newValue) override;
    };

    class CheckMaxLengthListener : public Listener
    {
    public:
        void onVerify(CimProperty* property, const CimProperty* newValue) override;
    };

    std::uint32_t m_minLength = 0;
    std::uint32_t m_maxLength = 0;
    CheckMinLengthListener m_checkMinLength;
    CheckMaxLengthListener m_checkMaxLength;
};

// Arrays have no text and cannot be changed through modify.
class CimPropertyUint16_arr : public CimPropertyOf<std::vector<std::uint16_t>>
{
public:
    using CimPropertyOf::CimPropertyOf;

    EPropertyType getType() const override { return EPT_UINT16_ARR; }
    // Empties the array and makes it non-null.
    virtual void clear() { setValue({}); }
};

class CimPropertyUint32_arr : public CimPropertyOf<std::vector<std::uint32_t>>
{
public:
    using CimPropertyOf::CimPropertyOf;

    EPropertyType getType() const override { return EPT_UINT32_ARR; }
    // Empties the array and makes it non-null.
    virtual void clear() { setValue({}); }
};

class CimPropertyString_arr : public CimPropertyOf<std::vector<std::string>>
{
public:
    using CimPropertyOf::CimPropertyOf;

    EPropertyType getType() const override { return EPT_STRING_ARR; }
    // Empties the array and makes it non-null.
    virtual void clear() { setValue({}); }
};

// Holds 0 or 1. Has no text and cannot be changed through modify; nor can a datetime.
class CimPropertyBool : public CimPropertyOf<bool>
{
public:
    using CimPropertyOf::CimPropertyOf;

    EPropertyType getType() const override { return EPT_BOOL; }
};

class CimPropertyDatetime : public CimPropertyOf<utils::Time>
{
public:
    using CimPropertyOf::CimPropertyOf;

    EPropertyType getType() const override { return EPT_DATETIME; }
};

// A reference to another instance: the instance itself, or its path as a client wrote it. The two are stored apart,
// each by its own setter; where both are there the instance wins.
class CimPropertyRef : public CimProperty
{
public:
    using CimProperty::CimProperty;

    // The path of the instance where there is one, otherwise the path text.
    std::string toString() const override;
    EPropertyType getType() const override { return EPT_REF; }

    // The instance, or null when only a path text is known. Not owned.
    CimInstance* getValue() const noexcept { return m_instance; }
    const std::string& getPath() const noexcept { return m_path; }

    // Stores the instance, which stays its owner's and must live as long as this value is read. Null takes it away.
    void setValue(CimInstance* instance) noexcept;
    // Stores a path text, which is neither parsed nor looked up.
    void setValue(std::string path) noexcept;

private:
    CimInstance* m_instance = nullptr;
    std::string m_path;
};

}  // namespace core
