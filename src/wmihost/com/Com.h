#pragma once

#include <atomic>
#include <utility>

#include "wmihost/com/Platform.h"

namespace wmihost {

// Holds one reference to a COM object; null holds none. Not synchronised. Microsoft::WRL::ComPtr is not used: in
// mingw-w64 10 its Attach adds a reference in place of taking over the caller's, so that the object is never destroyed.
template <class Interface>
class ComPtr
{
public:
    ComPtr() = default;
    // Takes an additional reference.
    explicit ComPtr(Interface* object) : m_object(object)
    {
        if (m_object != nullptr) {
            m_object->AddRef();
        }
    }
    ComPtr(const ComPtr& other) : ComPtr(other.m_object) {}
    ComPtr(ComPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComPtr() { reset(); }

    // Takes over the caller's reference.
    static ComPtr adopt(Interface* object)
    {
        ComPtr result;
        result.m_object = object;
        return result;
    }

    void reset()
    {
        if (Interface* object = std::exchange(m_object, nullptr)) {
            object->Release();
        }
    }

    // For functions that store a new reference; releases the old one first.
    Interface** put()
    {
        reset();
        return &m_object;
    }

    // Gives the reference to the caller, who releases it.
    Interface* detach() { return std::exchange(m_object, nullptr); }

    Interface* get() const { return m_object; }
    Interface* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    Interface* m_object = nullptr;
};

// The IUnknown part of an object with one interface. A new object has one reference, which belongs to its creator; the
// last Release destroys it. AddRef and Release may be called on any thread.
template <class Interface>
class ComObject : public Interface
{
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (iid != __uuidof(IUnknown) && iid != __uuidof(Interface)) {
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual ~ComObject() = default;

private:
    std::atomic<ULONG> m_references{1};
};

// The multithreaded apartment for as long as the scope lives. Throws std::runtime_error if COM refuses.
class ComApartment
{
public:
    ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment();
};

}  // namespace wmihost
