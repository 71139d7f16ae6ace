#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Os/Windows/Platform.h"

namespace reliability {

// Produces values that no correct client sends: every type, types that do not match their contents, arrays of any
// shape, values by reference. The same seed gives the same values. One thread at a time.
class RandomValues
{
public:
    explicit RandomValues(unsigned seed) : m_engine(seed) {}

    // The caller owns the value. The target of a value by reference lives until the next clear().
    VARIANT value();
    CIMTYPE cimType();
    // Returns an object path or a similar text.
    std::string path();
    std::string name();

    // Returns a number below the bound, which must be at least 1.
    unsigned below(unsigned bound) { return m_engine() % bound; }

    void clear() { m_referred.clear(); }

private:
    // Owns the target of a value by reference; the destructor clears it.
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
