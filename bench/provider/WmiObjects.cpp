#include "bench/provider/WmiObjects.h"

#include <algorithm>
#include <cwchar>
#include <stdexcept>

#include "adapters/wmi/Status.h"

namespace bench {

namespace {

// Compares names without case. Names contain only English letters. The comparison of the run-time library would cost
// more than everything else that an object does.
bool sameName(const wchar_t* left, const wchar_t* right) noexcept
{
    const auto lower = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c + (L'a' - L'A') : c; };
    while (*left != 0 && lower(*left) == lower(*right)) {
        ++left;
        ++right;
    }
    return lower(*left) == lower(*right);
}

void copyInto(VARIANT& target, const VARIANT& source)
{
    target = source;
    if (source.vt == VT_BSTR) {
        target.bstrVal = SysAllocStringLen(source.bstrVal, SysStringLen(source.bstrVal));
    }
}

void makeNull(VARIANT& value) noexcept
{
    if (value.vt == VT_BSTR) {
        SysFreeString(value.bstrVal);
    }
    value.vt = VT_NULL;
}

}  // namespace

ClassObject::ClassObject(ObjectPool& owner) : m_owner(owner)
{
    std::for_each(m_values.begin(), m_values.end(), makeNull);
}

ClassObject::~ClassObject()
{
    std::for_each(m_values.begin(), m_values.end(), makeNull);
}

void ClassObject::fill()
{
    for (std::size_t i = 0; i < PROPERTY_COUNT; ++i) {
        makeNull(m_values[i]);
        m_values[i] = valueOf(PROPERTIES[i].type);
    }
}

std::size_t ClassObject::valueCount() const noexcept
{
    return static_cast<std::size_t>(
        std::count_if(m_values.begin(), m_values.end(), [](const VARIANT& value) { return value.vt != VT_NULL; }));
}

HRESULT ClassObject::QueryInterface(REFIID riid, void** object)
{
    return query<IWbemClassObject>(this, riid, object);
}

ULONG ClassObject::Release()
{
    const ULONG count = --m_references;
    if (count == 0) {
        std::for_each(m_values.begin(), m_values.end(), makeNull);
        m_expected = 0;
        m_owner.giveBack(this);
    }
    return count;
}

std::size_t ClassObject::find(LPCWSTR name) noexcept
{
    for (std::size_t i = 0; i < PROPERTY_COUNT; ++i) {
        const std::size_t place = (m_expected + i) % PROPERTY_COUNT;
        if (sameName(name, PROPERTIES[place].wideName)) {
            m_expected = place + 1;
            return place;
        }
    }
    return PROPERTY_COUNT;
}

HRESULT ClassObject::Get(LPCWSTR name, LONG /*flags*/, VARIANT* value, CIMTYPE* /*type*/, LONG* /*flavor*/)
{
    if (std::wcscmp(name, L"__PATH") != 0) {
        return wa::hresult(WBEM_E_NOT_FOUND);
    }
    value->vt = VT_BSTR;
    value->bstrVal = SysAllocString(PATH);
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::Put(LPCWSTR name, LONG /*flags*/, VARIANT* value, CIMTYPE /*type*/)
{
    const std::size_t place = find(name);
    if (place == PROPERTY_COUNT) {
        return wa::hresult(WBEM_E_NOT_FOUND);
    }
    makeNull(m_values[place]);
    copyInto(m_values[place], *value);
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::BeginEnumeration(LONG flags)
{
    m_position = 0;
    m_end = PROPERTY_COUNT;
    if ((flags & WBEM_FLAG_KEYS_ONLY) != 0) {
        m_end = m_keyed ? 1 : 0;
    }
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::Next(LONG /*flags*/, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    if (m_position == m_end) {
        return WBEM_S_NO_MORE_DATA;
    }
    const PropertyShape& property = PROPERTIES[m_position];
    *name = SysAllocString(property.wideName);
    if (value != nullptr) {
        copyInto(*value, m_values[m_position]);
    }
    if (type != nullptr) {
        *type = property.type;
    }
    if (flavor != nullptr) {
        *flavor = 0;
    }
    ++m_position;
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::EndEnumeration()
{
    m_end = m_position;
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::SpawnInstance(LONG /*flags*/, IWbemClassObject** instance)
{
    ClassObject* const object = m_owner.take();
    if (object == nullptr) {
        return wa::hresult(WBEM_E_OUT_OF_MEMORY);
    }
    *instance = object;
    return WBEM_S_NO_ERROR;
}

HRESULT ClassObject::GetMethod(LPCWSTR name, LONG /*flags*/, IWbemClassObject** /*in*/, IWbemClassObject** out)
{
    if (!sameName(name, METHOD)) {
        return wa::hresult(WBEM_E_NOT_FOUND);
    }
    *out = &m_owner.signature();
    (*out)->AddRef();
    return WBEM_S_NO_ERROR;
}

ObjectPool::ObjectPool(std::size_t instances)
{
    // Besides the instances: the class, the signature, and a method's parameters in both directions.
    const std::size_t count = instances + 5;
    m_objects.reserve(count);
    m_idle.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        m_objects.push_back(std::make_unique<ClassObject>(*this));
        m_idle.push_back(m_objects.back().get());
    }
    m_definition = take();
    m_signature = take();
}

ClassObject* ObjectPool::take() noexcept
{
    if (m_idle.empty()) {
        return nullptr;
    }
    ClassObject* const object = m_idle.back();
    m_idle.pop_back();
    object->AddRef();
    return object;
}

HRESULT Namespace::GetObject(BSTR /*path*/, LONG /*flags*/, IWbemContext* /*context*/, IWbemClassObject** object,
                             IWbemCallResult** /*result*/)
{
    *object = &m_definition;
    m_definition.AddRef();
    return WBEM_S_NO_ERROR;
}

Sink::Told Sink::take() noexcept
{
    return std::exchange(m_told, {});
}

HRESULT Sink::Indicate(LONG count, IWbemClassObject** objects)
{
    for (LONG i = 0; i < count; ++i) {
        ++m_told.objects;
        m_told.values += static_cast<CountedObject*>(objects[i])->valueCount();
    }
    return WBEM_S_NO_ERROR;
}

HRESULT Sink::SetStatus(LONG flags, HRESULT result, BSTR /*text*/, IWbemClassObject* /*object*/)
{
    if (flags == WBEM_STATUS_COMPLETE && result == WBEM_S_NO_ERROR) {
        ++m_told.successes;
    }
    return WBEM_S_NO_ERROR;
}

CallContext::CallContext()
{
    if (FAILED(CoSwitchCallContext(this, &m_before))) {
        throw std::runtime_error("cannot set the call context");
    }
}

CallContext::~CallContext()
{
    IUnknown* mine = nullptr;
    CoSwitchCallContext(m_before, &mine);
}

}  // namespace bench
