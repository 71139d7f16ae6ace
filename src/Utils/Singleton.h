#pragma once

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>

#include "Utils/Log.h"
#include "Utils/ProcessEnd.h"

namespace utils {

// One current instance of T per module. Instances stack: a new one becomes current, and deleting it makes the one
// before it current again. T names itself by `static constexpr const char* qualifiedName` ("wa::WmiConverter").
// Construction and destruction of further instances belong on one thread; getInstance may be called from any.
template <class T>
class Singleton
{
public:
    // The current instance, created on first use; never null. No lock is taken. A thread that finds another thread
    // creating the first instance waits for it, and tries itself when that constructor throws. A call from within the
    // constructor returns the unfinished instance.
    static T* getInstance()
    {
        for (;;) {
            unsigned turn = s_turn.load(std::memory_order_acquire);
            if (isTaken(turn)) {
                if (s_creator.load(std::memory_order_relaxed) == std::this_thread::get_id()) {
                    return current();
                }
                std::this_thread::yield();
                continue;
            }
            // An instance registers itself before its construction is complete. Where the turn has not changed, no
            // thread has begun a construction in the meantime, so this instance is complete.
            T* const instance = current();
            if (instance != nullptr && s_turn.load(std::memory_order_acquire) == turn) {
                return instance;
            }
            if (instance == nullptr && s_turn.compare_exchange_strong(turn, turn + 1, std::memory_order_acq_rel)) {
                return create();
            }
        }
    }

protected:
    // Registers the base alone: the T around it does not exist before its own constructor has begun.
    Singleton() noexcept : m_previous(s_current.exchange(this, std::memory_order_acq_rel))
    {
        if (logLevel() >= 2) {
            logCreation();
        }
    }

    static T* current() noexcept
    {
        return (T*)s_current.load(std::memory_order_acquire);  // NOLINT: T's base is private
    }

public:
    virtual ~Singleton() { s_current.store(m_previous, std::memory_order_release); }
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

private:
    // The calling thread's turn to create the instance; ends also when the constructor throws.
    class Turn
    {
    public:
        Turn() { s_creator.store(std::this_thread::get_id(), std::memory_order_relaxed); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn()
        {
            s_creator.store(std::thread::id(), std::memory_order_relaxed);
            s_turn.fetch_add(1, std::memory_order_release);
        }
    };

    static bool isTaken(unsigned turn) noexcept { return turn % 2 != 0; }

    static void logCreation() noexcept
    {
        try {
            const std::string name = T::qualifiedName;
            const std::string function = "utils::Singleton<class " + name + ">::Singleton";
            logDebug("Utils/Singleton", function.c_str(), 68,
                     format("New singleton instance for %s", name.substr(name.rfind(':') + 1).c_str()));
        } catch (const std::bad_alloc&) {
            // The line is lost, the instance is not.
        }
    }

    // The turn is the calling thread's.
    static T* create()
    {
        const Turn turn;
        new T;
        std::atexit(&Singleton::deleteAll);
        return current();
    }

    // Runs when the module is unloaded, through the module's own exit table.
    static void deleteAll()
    {
        while (!processIsEnding() && s_current.load(std::memory_order_acquire) != nullptr) {
            delete s_current.load(std::memory_order_acquire);
        }
    }

    static inline std::atomic<Singleton*> s_current{nullptr};
    // Odd while a thread creates the instance.
    static inline std::atomic<unsigned> s_turn{0};
    static inline std::atomic<std::thread::id> s_creator{};

    Singleton* m_previous;
};

// The form that served classes derive from: `class WmiConverter : public utils::AutoSingleton<WmiConverter>`.
// A class that must exist from module load on says `template class utils::AutoSingleton<T>;` in its source file:
// the explicit instantiation is what makes the static holder exist.
template <class T>
class AutoSingleton : private Singleton<T>
{
public:
    using Singleton<T>::getInstance;

protected:
    AutoSingleton() = default;

private:
    struct Holder
    {
        // Without memory the module still loads, and the first use creates the instance.
        Holder() noexcept : instance(Singleton<T>::current() != nullptr ? Singleton<T>::current() : create()) {}
        ~Holder()
        {
            if (!processIsEnding()) {
                delete instance;
            }
        }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

        static T* create() noexcept
        {
            try {
                return new T;
            } catch (const std::bad_alloc&) {
                return nullptr;
            }
        }

        // Null when there was no memory.
        T* instance;
    };

    static Holder s_holder;
};

template <class T>
typename AutoSingleton<T>::Holder AutoSingleton<T>::s_holder;

}  // namespace utils
