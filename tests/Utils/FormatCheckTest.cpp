#include "Utils/FormatCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using utils::formatcheck::conversion;
using utils::formatcheck::Kind;
using utils::formatcheck::kindOf;

enum Plain
{
    PLAIN
};

static_assert(kindOf<int>() == Kind::INT32);
static_assert(kindOf<unsigned short>() == Kind::INT32);
static_assert(kindOf<bool>() == Kind::INT32);
static_assert(kindOf<Plain>() == Kind::INT32);
static_assert(kindOf<long long>() == Kind::INT64);
static_assert(kindOf<const char*>() == Kind::TEXT);
static_assert(kindOf<char*>() == Kind::TEXT);
static_assert(kindOf<const void*>() == Kind::POINTER);
static_assert(kindOf<const wchar_t*>() == Kind::POINTER);
static_assert(kindOf<double>() == Kind::OTHER);
static_assert(kindOf<std::string>() == Kind::OTHER);

constexpr Kind kindIn(const char* text)
{
    return conversion(text);
}

static_assert(kindIn("d") == Kind::INT32);
static_assert(kindIn("u") == Kind::INT32);
static_assert(kindIn("x") == Kind::INT32);
static_assert(kindIn("08X") == Kind::INT32);
static_assert(kindIn("-5d") == Kind::INT32);
static_assert(kindIn("I64u") == Kind::INT64);
static_assert(kindIn("llu") == Kind::INT64);
static_assert(kindIn("s") == Kind::TEXT);
static_assert(kindIn("p") == Kind::POINTER);
static_assert(kindIn("f") == Kind::OTHER);
static_assert(kindIn("ls") == Kind::OTHER);
static_assert(kindIn("") == Kind::OTHER);

constexpr char characterAfter(const char* text)
{
    conversion(text);
    return *text;
}

static_assert(characterAfter("08I64x rest") == ' ');

template <std::size_t SIZE>
struct Literal
{
    // NOLINTNEXTLINE: a literal is the only use
    consteval Literal(const char (&text)[SIZE]) { std::copy_n(text, SIZE, characters); }

    char characters[SIZE]{};  // NOLINT: a template argument must be a structure of public arrays
};

template <Literal TEXT, class... Args>
concept Accepts = requires
{
    typename std::bool_constant<(utils::formatcheck::check<Args...>(TEXT.characters), true)>;
};

template <class... Args>
struct With
{
    template <Literal TEXT>
    static constexpr bool accepts = Accepts<TEXT, Args...>;
};

static_assert(With<>::accepts<"">);
static_assert(With<>::accepts<"100%% sure">);
static_assert(With<int, const char*>::accepts<"%d of %s">);
static_assert(With<unsigned long long>::accepts<"%I64u">);
static_assert(!With<>::accepts<"%d">);
static_assert(!With<int>::accepts<"nothing">);
static_assert(!With<int>::accepts<"%d %d">);
static_assert(!With<int>::accepts<"%s">);
static_assert(!With<int>::accepts<"%I64u">);
static_assert(!With<long long>::accepts<"%d">);
static_assert(!With<const char*>::accepts<"%p">);
static_assert(!With<std::string>::accepts<"%s">);
static_assert(!With<double>::accepts<"%f">);
static_assert(!With<int>::accepts<"%d %">);

TEST(FormatCheckTest, Format_hasItsTextAndTheCallsLine)
{
    constexpr utils::FormatHere<int> format("%d");
    EXPECT_STREQ(format.text().text(), "%d");
    EXPECT_EQ(format.line(), static_cast<std::uint32_t>(__LINE__ - 2));
}

}  // namespace
