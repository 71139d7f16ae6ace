#include "fakes/FakeClassObject.h"

#include <utility>

#include "Utils/Utils.h"
#include "support/Describe.h"

namespace support {

namespace {

VARIANT copyOf(const utils::ScopedVariant& value)
{
    VARIANT copy{};
    // The platform declares the source of a copy as writable although it only reads it.
    VariantCopy(&copy, const_cast<VARIANT*>(&value.get()));
    return copy;
}

}  // namespace

void FakeClassObject::add(const std::string& name, VARIANT value, CIMTYPE cimType, long flavor, bool key)
{
    Property& property = m_properties.emplace_back(value);
    property.name = name;
    property.cimType = cimType;
    property.flavor = flavor;
    property.key = key;
}

int FakeClassObject::spawnedReferences() const
{
    int sum = 0;
    for (const FakeClassObject& object : m_spawned) {
        sum += object.references() + object.spawnedReferences();
    }
    return sum;
}

HRESULT FakeClassObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    const std::string text = utils::narrow(name);
    record(utils::format("Get(%s, %ld, %s, %s)", text.c_str(), flags, type == nullptr ? "null" : "type",
                         flavor == nullptr ? "null" : "flavor"));
    if (onGet) {
        onGet();
    }
    if (text != "__PATH" || path.get().vt == VT_EMPTY) {
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }
    *value = copyOf(path);
    return pathStatus;
}

HRESULT FakeClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    const std::string text = utils::narrow(name);
    record("Put(" + text + ", " + std::to_string(flags) + ", " + describe(*value) + ", " + std::to_string(type) + ")");
    if (onPut) {
        onPut();
    }
    const auto status = putStatus.find(text);
    return status == putStatus.end() ? S_OK : status->second;
}

HRESULT FakeClassObject::BeginEnumeration(LONG flags)
{
    record(utils::format("BeginEnumeration(0x%lX)", flags));
    m_keysOnly = flags == WBEM_FLAG_KEYS_ONLY;
    const HRESULT status = m_keysOnly ? beginKeysStatus : beginStatus;
    m_begun = SUCCEEDED(status);
    m_position = 0;
    return status;
}

HRESULT FakeClassObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    if (!m_begun || flags != 0) {
        record("unexpected Next");
        return static_cast<HRESULT>(WBEM_E_UNEXPECTED);
    }
    if (onNext) {
        onNext();
    }
    while (m_position < m_properties.size() && m_keysOnly && !m_properties[m_position].key) {
        ++m_position;
    }
    if (m_position == m_properties.size()) {
        return endOfEnumeration;
    }
    const Property& property = m_properties[m_position++];
    *name = utils::toBstr(property.name);
    if (value != nullptr) {
        *value = copyOf(property.value);
    }
    if (type != nullptr) {
        *type = property.cimType;
    }
    if (flavor != nullptr) {
        *flavor = property.flavor;
    }
    return WBEM_S_NO_ERROR;
}

HRESULT FakeClassObject::EndEnumeration()
{
    record("EndEnumeration()");
    m_begun = false;
    return WBEM_S_NO_ERROR;
}

HRESULT FakeClassObject::SpawnInstance(LONG flags, IWbemClassObject** instance)
{
    record("SpawnInstance(" + std::to_string(flags) + ")");
    if (spawnsNothing) {
        return spawnStatus;
    }
    FakeClassObject& object = m_spawned.emplace_back(calls(), name() + "#" + std::to_string(m_spawned.size() + 1));
    for (const Property& property : m_properties) {
        object.add(property.name, copyOf(property.value), property.cimType, property.flavor, property.key);
    }
    object.putStatus = putStatus;
    object.beginStatus = beginStatus;
    object.onPut = onPut;
    object.AddRef();
    *instance = &object;
    return spawnStatus;
}

HRESULT FakeClassObject::GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in, IWbemClassObject** out)
{
    const std::string text = utils::narrow(name);
    record(utils::format("GetMethod(%s, %ld, %s, out)", text.c_str(), flags, in == nullptr ? "null" : "in"));
    *out = nullptr;
    const auto method = methods.find(text);
    if (method == methods.end()) {
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }
    if (method->second != nullptr) {
        method->second->AddRef();
        *out = method->second;
    }
    return getMethodStatus;
}

}  // namespace support
