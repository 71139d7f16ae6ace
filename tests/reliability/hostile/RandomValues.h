#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Os/Windows/Platform.h"

namespace reliability {

// Values that no sound client sends: every type, types that do not fit what they hold, arrays of any shape, values by
// reference. The same seed gives the same values. One thread at a time.
class RandomValues
{
public:
    explicit RandomValues(unsigned seed) : m_engine(seed) {}

    // The caller owns the value. What a value by reference points to lives until the next clear().
    VARIANT value();
    CIMTYPE cimType();
    // An object path, or something like one.
    std::string path();
    std::string name();

    // Below the bound, which is at least 1.
    unsigned below(unsigned bound) { return m_engine() % bound; }

    void clear() { m_referred.clear(); }

private:
    // Clears what it holds.
    struct Referred
    {
        VARIANT value{};
        SAFEARRAY* array = nullptr;

        Referred() = default;
        Referred(const Referred&) = delete;
        Referred& operator=(const Referred&) = delete;
        ~Referred();
    };

    VARIANT scalar();
    SAFEARRAY* array();
    std::string text();

    std::mt19937 m_engine;
    std::vector<std::unique_ptr<Referred>> m_referred;
};

}  // namespace reliability
