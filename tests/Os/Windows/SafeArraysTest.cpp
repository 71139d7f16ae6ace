#include "Os/Windows/SafeArrays.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "support/ComErrors.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

using support::comErrorOf;

constexpr utils::LogSite CALLER{"File", "caller"};

// Owns an array of texts with the given lower bound.
class Texts
{
public:
    explicit Texts(const std::vector<std::string>& texts, LONG lower = 0)
    {
        SAFEARRAYBOUND bound{static_cast<ULONG>(texts.size()), lower};
        m_array = SafeArrayCreate(VT_BSTR, 1, &bound);
        for (const std::string& text : texts) {
            const utils::ScopedBstr element(text);
            SafeArrayPutElement(m_array, &lower, element.get());
            ++lower;
        }
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    ~Texts() { SafeArrayDestroy(m_array); }

    SAFEARRAY* get() const noexcept { return m_array; }

private:
    SAFEARRAY* m_array = nullptr;
};

TEST(SafeArraysTest, TextArrayCopy_readsBetweenItsBounds)
{
    const Texts texts({"a", "b"}, 3);
    const utils::TextArrayCopy copy(texts.get());
    EXPECT_TRUE(copy.exists());
    EXPECT_EQ(copy.lowerBound(), 3);
    EXPECT_EQ(copy.upperBound(), 4);
    EXPECT_EQ(copy.at(3), "a");
    EXPECT_EQ(copy.at(4), "b");
    EXPECT_EQ(comErrorOf([&] { copy.at(2); }), "0x80070057");
    EXPECT_EQ(comErrorOf([&] { copy.at(5); }), "0x80070057");
}

TEST(SafeArraysTest, TextArrayCopy_ofNothing_doesNotExist)
{
    EXPECT_FALSE(utils::TextArrayCopy(nullptr).exists());
}

TEST(SafeArraysTest, TextArrayCopy_ofOtherElements_isRefused)
{
    SAFEARRAY* const numbers = SafeArrayCreateVector(VT_I4, 0, 1);
    EXPECT_EQ(comErrorOf([&] { const utils::TextArrayCopy copy(numbers); }), "0x80020005");
    SafeArrayDestroy(numbers);
}

TEST(SafeArraysTest, Elements_ofTwoDimensions_areRefused)
{
    std::array<SAFEARRAYBOUND, 2> bounds{{{1, 0}, {1, 0}}};
    SAFEARRAY* const table = SafeArrayCreate(VT_I4, 2, bounds.data());
    EXPECT_EQ(comErrorOf([&] { utils::requireElements(table, true); }), "0x80020005");
    SafeArrayDestroy(table);
}

TEST(SafeArraysTest, ArrayThatCannotBeMade_isNullWithALine)
{
    const support::LogCapture log(2);
    const support::ImportHook hook("SafeArrayCreateVector", support::returning<nullptr>(&SafeArrayCreateVector));
    SAFEARRAY* const array = utils::createArray(CALLER, VT_I4, 2);
    EXPECT_EQ(array, nullptr);
    LONG element = 1;
    utils::putElement(CALLER, array, 0, &element);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"error|File|caller|Could not create SAFEARRAY",
                                                        "error|File|caller|SafeArrayPutElement error #-2147024809"}));
}

}  // namespace
