#pragma once

#include <random>
#include <string>
#include <string_view>

namespace reliability {

// Produces MOF texts with mistakes: valid texts in which characters, words and runs of characters are changed, removed,
// repeated or moved. The same seed gives the same texts. One thread at a time.
class RandomMof
{
public:
    explicit RandomMof(unsigned seed) : m_engine(seed) {}

    // Returns the valid text with one to six changes. It may contain any byte, null included.
    std::string changed(std::string_view sound);

    // Returns a number below the bound, which must be at least 1.
    std::size_t below(std::size_t bound) { return m_engine() % bound; }

private:
    void change(std::string& text);

    std::mt19937 m_engine;
};

}  // namespace reliability
