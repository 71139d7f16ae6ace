#include "Utils/ThreadSlot.h"

#include <pthread.h>

#include <mutex>
#include <set>

namespace utils {

namespace {

struct Slot;

// A thread's pointer.
struct Value
{
    Slot* slot;
    void* value;
};

struct Slot
{
    pthread_key_t key{};
    void (*atEnd)(void* value) = nullptr;
    std::mutex mutex;
    std::set<Value*> values;
};

void threadEnds(void* pointer)
{
    auto* value = static_cast<Value*>(pointer);
    {
        const std::lock_guard guard(value->slot->mutex);
        value->slot->values.erase(value);
    }
    if (value->value != nullptr) {
        value->slot->atEnd(value->value);
    }
    delete value;
}

}  // namespace

ThreadSlot::ThreadSlot(void (*atEnd)(void* value))
{
    auto* slot = new Slot;
    slot->atEnd = atEnd;
    pthread_key_create(&slot->key, &threadEnds);
    m_handle = slot;
}

ThreadSlot::~ThreadSlot()
{
    auto* slot = static_cast<Slot*>(m_handle);
    pthread_key_delete(slot->key);
    while (!slot->values.empty()) {
        threadEnds(*slot->values.begin());
    }
    delete slot;
}

void* ThreadSlot::get() const noexcept
{
    const auto* value = static_cast<Value*>(pthread_getspecific(static_cast<Slot*>(m_handle)->key));
    return value == nullptr ? nullptr : value->value;
}

bool ThreadSlot::set(void* value) noexcept
{
    auto* slot = static_cast<Slot*>(m_handle);
    if (auto* known = static_cast<Value*>(pthread_getspecific(slot->key))) {
        known->value = value;
        return true;
    }
    auto* added = new Value{slot, value};
    pthread_setspecific(slot->key, added);
    const std::lock_guard guard(slot->mutex);
    slot->values.insert(added);
    return true;
}

}  // namespace utils
