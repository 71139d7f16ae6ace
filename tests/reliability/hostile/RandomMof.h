#pragma once

#include <random>
#include <string>
#include <string_view>

namespace reliability {

// MOF texts with mistakes: sound ones in which characters, words and runs of characters have been changed, lost,
// repeated or put elsewhere. The same seed gives the same texts. One thread at a time.
class RandomMof
{
public:
    explicit RandomMof(unsigned seed) : m_engine(seed) {}

    // The sound text with one to six changes. It may hold any byte, null included.
    std::string changed(std::string_view sound);

    // Below the bound, which is at least 1.
    std::size_t below(std::size_t bound) { return m_engine() % bound; }

private:
    void change(std::string& text);

    std::mt19937 m_engine;
};

}  // namespace reliability
