#pragma once

#include <string>
#include <vector>

namespace core {

class CimInstance;

// A named, typed, nullable value of an instance. Not locked: a property and its instance are used by one request at a
// time.
class CimProperty
{
public:
    // The numbers are the keys of the WMI converters and appear in messages; the gaps are part of the enumeration.
    // Of a fixed type, so that a number which is none of these may be asked about.
    enum EPropertyType : int
    {
        EPT_UINT8 = 0,
        EPT_UINT16 = 4,
        EPT_UINT16_ARR = 5,
        EPT_UINT32 = 8,
        EPT_UINT32_ARR = 9,
        EPT_UINT64 = 12,
        EPT_STRING = 16,
        EPT_STRING_ARR = 17,
        EPT_BOOL = 18,
        EPT_DATETIME = 24,
        EPT_REF = 26
    };

    // Is called before a change is made. A listener that refuses a value throws from onVerify.
    class Listener
    {
    public:
        Listener() = default;
        virtual void onModify(CimProperty* property, const CimProperty* newValue);
        virtual void onVerify(CimProperty* property, const CimProperty* newValue);
        virtual ~Listener() = default;
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;
    };

    // Starts null, not modifiable and no key. With an owner it joins the owner's property list, which then owns it, and
    // may hide an earlier property of the same name. Throws utils::Exception for an empty name.
    explicit CimProperty(const char* name, CimInstance* owner = nullptr);
    virtual ~CimProperty() = default;
    CimProperty(const CimProperty&) = delete;
    CimProperty& operator=(const CimProperty&) = delete;

    // The value as text. Throws utils::ENotSupported for the types that have none.
    virtual std::string toString() const;

    virtual EPropertyType getType() const = 0;

    // Takes over the new value without asking the listeners' onVerify; call verify first. Throws utils::ENotSupported
    // for the types that cannot be changed this way.
    virtual void modify(const CimProperty* newValue);

    // Throws what the first listener that refuses the new value throws. Changes nothing.
    virtual void verify(const CimProperty* newValue);

    const std::string& getName() const noexcept { return m_name; }
    CimInstance* getOwner() const noexcept { return m_owner; }

    bool isNull() const noexcept { return m_isNull; }
    // Marks the property null; the stored value stays.
    void setNull() noexcept { m_isNull = true; }

    bool isKey() const noexcept { return m_key; }
    void setKey(bool key) noexcept { m_key = key; }

    bool isModifiable() const noexcept { return m_modifiable; }
    void setModifiable(bool modifiable) noexcept { m_modifiable = modifiable; }

    // True once a later property of the same name has joined the list.
    bool isOverriden() const noexcept { return m_overriden; }
    void setOverriden(bool overriden) noexcept { m_overriden = overriden; }

    // Appends a listener, which stays the caller's and must outlive the property. Throws utils::Exception for null.
    void addListener(Listener* listener);

    // In order of registration; the embedded ones come first.
    const std::vector<Listener*>& listeners() const noexcept { return m_listeners; }

protected:
    void setIsNull(bool isNull) noexcept { m_isNull = isNull; }

private:
    // Makes itself the owner of the properties that fill it.
    friend class CimInstance;

    // Refuses a change of a property that is not modifiable. Has rules for uint8, uint16, uint64 and string only:
    // every other type is refused, changed or not.
    class IsModifyEnabledListener : public Listener
    {
    public:
        void onVerify(CimProperty* property, const CimProperty* newValue) override;
    };

    // Refuses a value of another type.
    class VerifyTypeListener : public Listener
    {
    public:
        void onVerify(CimProperty* property, const CimProperty* newValue) override;
    };

    std::string m_name;
    bool m_isNull = true;
    CimInstance* m_owner = nullptr;
    bool m_overriden = false;
    bool m_modifiable = false;
    bool m_key = false;
    std::vector<Listener*> m_listeners;
    IsModifyEnabledListener m_isModifyEnabled;
    VerifyTypeListener m_verifyType;
};

// Asks every listener of the property, in order, whether it may take the new value; the first refusal is thrown.
// Throws utils::EInvalidParameter when either is null.
void verifyProperty(CimProperty* property, const CimProperty* newValue);

}  // namespace core
