#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Platform.h"
#include "adapters/wmi/RefusingServices.h"
#include "bench/provider/Shape.h"
#include "fakes/RefusingObjects.h"

// A minimal fake of WMI's side of a request. It is lighter than the fakes of the tests, which make a text of each call
// and would cost more than the provider that is measured. A class object finds a property by its name without case and
// copies the values that are put; an enumeration returns copies that its caller frees. A pool owns the objects and
// reuses the released ones for the next request, so that no benchmark measures their construction. One thread uses a
// pool, its namespace and all of their objects.
namespace bench {

class ObjectPool;

// Answers QueryInterface for the object's interface.
template <class Interface>
HRESULT query(Interface* self, REFIID riid, void** object)
{
    if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, __uuidof(Interface))) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = self;
    self->AddRef();
    return S_OK;
}

// An object that nobody's references keep alive.
// Base is the direct base class if it adds something to the interface.
template <class Interface, class Base = Interface>
class Unowned : public Base
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        return query<Interface>(this, riid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

protected:
    ~Unowned() = default;
};

// An object whose values a sink counts.
class CountedObject : public support::RefusingClassObject
{
public:
    // The values that it has now, or that were ever put into it.
    virtual std::size_t valueCount() const noexcept = 0;

protected:
    ~CountedObject() = default;
};

// An instance, a class definition or a method's parameters. Each kind has the same twenty properties.
class ClassObject final : public CountedObject
{
public:
    explicit ClassObject(ObjectPool& owner);
    ClassObject(const ClassObject&) = delete;
    ClassObject& operator=(const ClassObject&) = delete;
    ~ClassObject();

    // Gives every property its value. Before this call all values are null.
    void fill();

    // Sets whether the first property is a key. It is a key by default.
    void setKeyed(bool keyed) noexcept { m_keyed = keyed; }

    std::size_t valueCount() const noexcept override;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in,
                                        IWbemClassObject** out) override;

private:
    std::size_t find(LPCWSTR name) noexcept;

    ObjectPool& m_owner;
    ULONG m_references = 0;
    bool m_keyed = true;
    std::array<VARIANT, PROPERTY_COUNT> m_values{};
    // The position where a search starts. Properties are usually put in the order of their class.
    std::size_t m_expected = 0;
    std::size_t m_position = 0;
    std::size_t m_end = 0;
};

// The objects of one client.
class ObjectPool
{
public:
    // Holds enough objects for a request that delivers this many instances.
    explicit ObjectPool(std::size_t instances);
    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;

    // Returns an empty object with one reference, or null when all objects are in use.
    ClassObject* take() noexcept;
    void giveBack(ClassObject* object) noexcept { m_idle.push_back(object); }

    ClassObject& definition() noexcept { return *m_definition; }
    ClassObject& signature() noexcept { return *m_signature; }

private:
    std::vector<std::unique_ptr<ClassObject>> m_objects;
    std::vector<ClassObject*> m_idle;
    ClassObject* m_definition = nullptr;
    ClassObject* m_signature = nullptr;
};

// Returns the definition as every class, and refuses every other operation.
class Namespace final : public Unowned<IWbemServices, wa::RefusingServices>
{
public:
    explicit Namespace(IWbemClassObject& definition) : m_definition(definition) {}

    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** result) override;

private:
    IWbemClassObject& m_definition;
};

// Counts the results that it receives. A benchmark checks them, since a failing request would measure nothing useful.
class Sink final : public Unowned<IWbemObjectSink>
{
public:
    // The number of objects, of their values, and of final statuses equal to 0, since the last call.
    struct Told
    {
        std::uint64_t objects = 0;
        std::uint64_t values = 0;
        std::uint64_t successes = 0;
        bool operator==(const Told&) const = default;
    };
    Told take() noexcept;

    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR text, IWbemClassObject* object) override;

private:
    Told m_told;
};

// While it lives, the calling thread serves a call whose client is the process itself: impersonation succeeds and
// leaves the thread without a token. Throws std::runtime_error when COM refuses.
class CallContext final : public Unowned<IServerSecurity>
{
public:
    CallContext();
    CallContext(const CallContext&) = delete;
    CallContext& operator=(const CallContext&) = delete;
    ~CallContext();

    HRESULT STDMETHODCALLTYPE ImpersonateClient() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE RevertToSelf() override { return S_OK; }
    BOOL STDMETHODCALLTYPE IsImpersonating() override { return FALSE; }
    HRESULT STDMETHODCALLTYPE QueryBlanket(DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*) override
    {
        return E_NOTIMPL;
    }

private:
    IUnknown* m_before = nullptr;
};

}  // namespace bench
