#pragma once

#include <utility>
#include <vector>

#include "Os/Windows/AnsiText.h"
#include "Os/Windows/Platform.h"

// Scope objects for what COM hands out. None is copied; each undoes its one thing on every way out.
namespace utils {

// Owns one reference, or none. The interface pointer must not be null where it is used through `->`.
template <class T>
class ComReference
{
public:
    ComReference() = default;
    explicit ComReference(T* owned) noexcept : m_object(owned) {}
    ComReference(ComReference&& other) noexcept : m_object(other.detach()) {}
    ComReference& operator=(ComReference&&) = delete;
    ComReference(const ComReference&) = delete;
    ComReference& operator=(const ComReference&) = delete;
    ~ComReference() { reset(); }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }

    // Where a call stores the reference that it hands over.
    T** out() noexcept
    {
        reset();
        return &m_object;
    }

    void reset() noexcept
    {
        if (T* object = detach()) {
            object->Release();
        }
    }

    // Hands the reference to the caller.
    T* detach() noexcept { return std::exchange(m_object, nullptr); }

private:
    T* m_object = nullptr;
};

// Owns a sequence of references, and gives back those that are left, the first one first.
template <class T>
class ComReferences
{
public:
    ComReferences() = default;
    // Takes over every reference.
    explicit ComReferences(std::vector<T*>&& owned) noexcept : m_objects(std::move(owned)) {}
    ComReferences(const ComReferences&) = delete;
    ComReferences& operator=(const ComReferences&) = delete;
    ~ComReferences()
    {
        while (m_next < m_objects.size()) {
            releaseNext();
        }
    }

    // Takes over the reference, also when it throws.
    void append(ComReference<T> object)
    {
        m_objects.push_back(object.get());
        object.detach();
    }

    std::size_t size() const noexcept { return m_objects.size(); }

    // The first one that is left, where a call reads it as an array of one. There must be one.
    T** next() noexcept { return &m_objects[m_next]; }
    void releaseNext() noexcept { m_objects[m_next++]->Release(); }

    // Hands every reference to the caller. None may have been released before.
    std::vector<T*> detach() noexcept { return std::exchange(m_objects, {}); }

private:
    std::vector<T*> m_objects;
    std::size_t m_next = 0;
};

class ScopedBstr
{
public:
    ScopedBstr() = default;
    explicit ScopedBstr(const std::string& text) : m_text(toBstr(text)) {}
    ScopedBstr(const ScopedBstr&) = delete;
    ScopedBstr& operator=(const ScopedBstr&) = delete;
    ~ScopedBstr() { SysFreeString(m_text); }

    BSTR get() const noexcept { return m_text; }

    BSTR* out() noexcept
    {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }

private:
    BSTR m_text = nullptr;
};

class ScopedVariant
{
public:
    ScopedVariant() noexcept { VariantInit(&m_value); }
    // Takes over what the VARIANT owns.
    explicit ScopedVariant(const VARIANT& owned) noexcept : m_value(owned) {}
    ScopedVariant(ScopedVariant&& other) noexcept : m_value(other.detach()) {}
    ScopedVariant& operator=(ScopedVariant&&) = delete;
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;
    ~ScopedVariant() { VariantClear(&m_value); }

    const VARIANT& get() const noexcept { return m_value; }

    // Hands what the VARIANT owns to the caller.
    VARIANT detach() noexcept
    {
        const VARIANT value = m_value;
        VariantInit(&m_value);
        return value;
    }

    // The value where a call reads or stores it. Storing takes an empty one: nothing is cleared first.
    VARIANT* address() noexcept { return &m_value; }

private:
    VARIANT m_value;
};

}  // namespace utils
