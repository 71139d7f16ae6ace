#include "Os/Windows/AnsiText.h"

#include <comdef.h>
#include <gtest/gtest.h>

#include "support/ImportHook.h"

namespace {

using utils::narrow;
using utils::narrowBstr;
using utils::toBstr;

std::wstring wide(const std::string& text)
{
    const BSTR made = toBstr(text);
    std::wstring result(made, SysStringLen(made));
    SysFreeString(made);
    return result;
}

TEST(AnsiTextTest, plainTextsComeThroughBothWays)
{
    EXPECT_EQ(narrow(L"Port 1"), "Port 1");
    EXPECT_EQ(wide("Port 1"), L"Port 1");
}

TEST(AnsiTextTest, nullAndEmptyAreEmpty)
{
    EXPECT_EQ(narrow(nullptr), "");
    EXPECT_EQ(narrow(L""), "");
    EXPECT_EQ(narrowBstr(nullptr), "");
}

TEST(AnsiTextTest, anEmptyTextIsABstrOfItsOwnNotNull)
{
    const BSTR made = toBstr("");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(SysStringLen(made), 0U);
    SysFreeString(made);
}

TEST(AnsiTextTest, charactersOutsideTheCodePageBecomeQuestionMarks)
{
    ASSERT_EQ(GetACP(), 1252U) << "run with LC_ALL=C";
    EXPECT_EQ(narrow(L"a\u4e2db"), "a?b");
    EXPECT_EQ(narrow(L"\u00e9"), "\xe9");
}

TEST(AnsiTextTest, bytesOfTheCodePageBecomeTheirCharacters)
{
    EXPECT_EQ(wide("caf\xe9"), L"caf\u00e9");
    EXPECT_EQ(wide("\x80"), L"\u20ac");
}

TEST(AnsiTextTest, aBstrIsReadByItsLength)
{
    const BSTR text = SysAllocStringLen(L"a\0b", 3);
    EXPECT_EQ(narrowBstr(text), std::string("a\0b", 3));
    EXPECT_EQ(narrow(text), "a");
    SysFreeString(text);
}

TEST(AnsiTextTest, zerosInATextStayInTheBstr)
{
    EXPECT_EQ(wide(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(AnsiTextTest, longTextsAreNotCut)
{
    EXPECT_EQ(narrow(std::wstring(5000, L'a').c_str()), std::string(5000, 'a'));
    EXPECT_EQ(wide(std::string(5000, 'a')), std::wstring(5000, L'a'));
}

TEST(WideTextTest, holdsTheTextZeroTerminatedHoweverLong)
{
    for (const std::size_t size : {0U, 1U, 254U, 255U, 256U, 257U, 5000U}) {
        const utils::WideText text(std::string(size, 'a'));
        EXPECT_EQ(text.length(), static_cast<int>(size));
        EXPECT_EQ(std::wstring(text.get()), std::wstring(size, L'a'));
    }
}

TEST(WideTextTest, mayHoldZerosOfItsOwn)
{
    const utils::WideText text(std::string("a\0\xe9", 3));
    EXPECT_EQ(std::wstring(text.get(), 3), std::wstring(L"a\0\u00e9", 3));
    EXPECT_EQ(text.length(), 3);
}

UINT WINAPI utf8()
{
    return CP_UTF8;
}

LPCSTR replacementAsked = "not called";

int WINAPI noteReplacement(UINT /*codePage*/, DWORD /*flags*/, LPCWSTR /*text*/, int length, LPSTR /*out*/,
                           int /*size*/, LPCSTR replacement, LPBOOL /*used*/)
{
    replacementAsked = replacement;
    return length;
}

TEST(AnsiTextTest, noReplacementIsAskedForWhereTheCodePageIsUtf8)
{
    const support::ImportHook convert("WideCharToMultiByte", &noteReplacement);
    narrow(L"\u0434");
    EXPECT_STREQ(replacementAsked, "?");
    const support::ImportHook codePage("GetACP", &utf8);
    narrow(L"\u0434");
    EXPECT_EQ(replacementAsked, nullptr);
}

BSTR WINAPI allocateNothing(const OLECHAR* /*text*/, UINT /*size*/)
{
    return nullptr;
}

TEST(AnsiTextTest, aBstrThatCannotBeAllocatedIsAComError)
{
    const support::ImportHook hook("SysAllocStringLen", &allocateNothing);
    try {
        toBstr("a");
        FAIL() << "nothing was thrown";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), static_cast<HRESULT>(0x8007000E));
    }
}

}  // namespace
