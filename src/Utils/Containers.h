#pragma once

#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "Utils/Assert.h"
#include "Utils/Mutex.h"

namespace utils {

// An ordered map. Not thread-safe. It never deletes pointer values: whoever fills it with owned pointers deletes them.
template <class K, class V>
class Map
{
public:
    Map() = default;
    virtual ~Map() = default;
    Map(const Map&) = default;
    Map& operator=(const Map&) = default;
    Map(Map&&) noexcept = default;
    Map& operator=(Map&&) noexcept = default;

    bool contains(const K& key) const { return m_entries.count(key) != 0; }

    // The value under the key, or null when there is none. Valid until the entry is changed.
    const V* find(const K& key) const
    {
        const auto entry = m_entries.find(key);
        return entry == m_entries.end() ? nullptr : &entry->second;
    }

    void set(const K& key, V value) { m_entries[key] = std::move(value); }

    std::size_t size() const noexcept { return m_entries.size(); }
    auto begin() const noexcept { return m_entries.begin(); }
    auto end() const noexcept { return m_entries.end(); }

private:
    std::map<K, V> m_entries;
};

// An ordered map whose every operation holds the map's own mutex. Any thread.
template <class K, class V>
class SafeMap
{
public:
    SafeMap() = default;
    virtual ~SafeMap()
    {
        const MutexGuard guard(m_mutex);
        m_entries.clear();
    }
    SafeMap(const SafeMap&) = delete;
    SafeMap& operator=(const SafeMap&) = delete;

    bool contains(const K& key)
    {
        const MutexGuard guard(m_mutex);
        return m_entries.count(key) != 0;
    }

    // The value under the key. A missing key is inserted first, with a null or false value.
    V get(const K& key)
    {
        const MutexGuard guard(m_mutex);
        return m_entries[key];
    }

    void set(const K& key, V value)
    {
        const MutexGuard guard(m_mutex);
        m_entries[key] = value;
    }

    // As set, without taking the mutex; returns the value that it replaces, null or false where there was none.
    // REQUIRES: no other thread can reach the map yet.
    V exchangeUnshared(const K& key, V value) { return std::exchange(m_entries[key], value); }

private:
    Mutex m_mutex;
    std::map<K, V> m_entries;
};

// A list of pointers in insertion order, guarded by its own mutex. Any thread; iterators release the mutex between
// elements, so no lock is held while the caller works on one. Holds no null: null is the end of an iteration.
// T is a pointer type. A list that is copied or moved to has its own mutex; a copy never owns the elements.
template <class T>
class SafeList
{
public:
    class IteratorImplementation
    {
    public:
        IteratorImplementation() = default;
        // The element at the position, moving on; null at the end.
        virtual T next() = 0;
        // Back to the first element, then as next().
        virtual T first() = 0;
        virtual std::size_t size() = 0;
        virtual ~IteratorImplementation() = default;
        // A new iterator over the same list, at its first element. The caller owns it.
        virtual IteratorImplementation* clone() = 0;
        // As next(), without taking the mutex.
        virtual T advance() = 0;

        IteratorImplementation(const IteratorImplementation&) = delete;
        IteratorImplementation& operator=(const IteratorImplementation&) = delete;
    };

    class SimpleIteratorImplementation : public IteratorImplementation
    {
    public:
        // A null list makes an iterator over nothing. Takes no lock; the caller does where one is needed.
        explicit SimpleIteratorImplementation(SafeList* list) : m_list(list) {}

        T next() override
        {
            if (m_list == nullptr) {
                return nullptr;
            }
            const MutexGuard guard(m_list->m_mutex);
            return advance();
        }

        T first() override
        {
            if (m_list == nullptr) {
                return nullptr;
            }
            const MutexGuard guard(m_list->m_mutex);
            m_started = false;
            return advance();
        }

        std::size_t size() override { return m_list == nullptr ? 0 : m_list->size(); }

        // A new iterator at the first element that skips nothing. Callers rely on both.
        IteratorImplementation* clone() override { return new SimpleIteratorImplementation(m_list); }

        T advance() override
        {
            if (m_list == nullptr) {
                return nullptr;
            }
            const auto position = m_started ? std::next(m_last) : m_list->m_elements.begin();
            if (position == m_list->m_elements.end()) {
                return nullptr;
            }
            m_last = position;
            m_started = true;
            return *position;
        }

    private:
        // The element handed out last, not the one behind it, which may be appended only now: an iteration sees what
        // joins the list while the caller works on its last element.
        typename std::list<T>::iterator m_last{};
        bool m_started = false;
        SafeList* m_list;
    };

    // Owns its implementation. Moves, never copies; a moved-from iterator has none and asserts.
    class Iterator
    {
    public:
        explicit Iterator(IteratorImplementation* implementation) noexcept : m_implementation(implementation) {}
        Iterator(Iterator&&) noexcept = default;
        Iterator& operator=(Iterator&&) noexcept = default;

        // The first element, or null when there is none.
        virtual T first()
        {
            const IteratorImplementation* implementation = m_implementation.get();
            ASSERT_AT(site, 156, implementation != NULL);
            return m_implementation->first();
        }

        virtual ~Iterator() = default;

        // The following element, or null at the end.
        T next()
        {
            const IteratorImplementation* implementation = m_implementation.get();
            ASSERT_AT(site, 147, implementation != NULL);
            return m_implementation->next();
        }

    private:
        static constexpr LogSite site{"Utils/Containers", "utils::SafeList::Iterator"};

        std::unique_ptr<IteratorImplementation> m_implementation;
    };

    SafeList() = default;
    SafeList(const SafeList& other)
    {
        const MutexGuard guard(other.m_mutex);
        m_elements = other.m_elements;
    }
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): the creation of the new mutex can fail
    SafeList(SafeList&& other)
    {
        const MutexGuard guard(other.m_mutex);
        m_elements.swap(other.m_elements);
        m_ownsElements = std::exchange(other.m_ownsElements, false);
    }
    SafeList& operator=(const SafeList&) = delete;
    SafeList& operator=(SafeList&&) = delete;
    virtual ~SafeList() { clear(); }

    // An iterator at the first element.
    virtual Iterator getIterator()
    {
        const MutexGuard guard(m_mutex);
        return Iterator(new SimpleIteratorImplementation(this));
    }

    // Appends. Throws std::length_error when the list is full.
    void append(T element)
    {
        const MutexGuard guard(m_mutex);
        appendUnshared(element);
    }

    // As append, without taking the mutex, which would be a call of the kernel.
    // REQUIRES: no other thread can reach the list yet.
    void appendUnshared(T element)
    {
        if (m_elements.size() >= m_elements.max_size()) {
            throw std::length_error("list<T> too long");
        }
        m_elements.push_back(element);
    }

    // Removes all elements, and deletes each where the list owns them.
    void clear()
    {
        const MutexGuard guard(m_mutex);
        if (m_ownsElements) {
            for (T element : m_elements) {
                delete element;
            }
        }
        m_elements.clear();
    }

    std::size_t size()
    {
        const MutexGuard guard(m_mutex);
        return m_elements.size();
    }

    // Sets whether clearing or destroying the list deletes its elements. The default is false.
    void setOwnsElements(bool owns) noexcept { m_ownsElements = owns; }

private:
    bool m_ownsElements = false;
    std::list<T> m_elements;
    mutable Mutex m_mutex;
};

}  // namespace utils
