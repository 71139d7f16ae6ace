#include "Os/Windows/AnsiText.h"

#include <gtest/gtest.h>

#include "support/ComErrors.h"
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

TEST(AnsiTextTest, Texts_areInTheCodePage)
{
    ASSERT_EQ(GetACP(), 1252U) << "run with LC_ALL=C.UTF-8";
    EXPECT_EQ(narrow(L"Port 1"), "Port 1");
    EXPECT_EQ(wide("Port 1"), L"Port 1");
    EXPECT_EQ(wide("caf\xe9 \x80"), L"caf\u00e9 \u20ac");
    EXPECT_EQ(narrow(L"\u00e9"), "\xe9");
    EXPECT_EQ(narrow(L"a\u4e2db"), "a?b") << "what the code page does not have";
    // Best-fit conversion would give J, a quote, a full stop, I and a backslash.
    EXPECT_EQ(narrow(L"\u0134 \uFF02 \uFF0E \uFF29 \uFF3C"), "? ? ? ? ?");
}

TEST(AnsiTextTest, NullOrEmpty_isEmpty)
{
    EXPECT_EQ(narrow(nullptr), "");
    EXPECT_EQ(narrow(L""), "");
    EXPECT_EQ(narrowBstr(nullptr), "");
    const BSTR made = toBstr("");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(SysStringLen(made), 0U);
    SysFreeString(made);
}

TEST(AnsiTextTest, Bstr_isReadByItsLength)
{
    const BSTR text = SysAllocStringLen(L"a\0b", 3);
    EXPECT_EQ(narrowBstr(text), std::string("a\0b", 3));
    EXPECT_EQ(narrow(text), "a");
    SysFreeString(text);
    EXPECT_EQ(wide(std::string("a\0b", 3)), std::wstring(L"a\0b", 3)) << "the way back too";
}

TEST(AnsiTextTest, LongText_isNotCut)
{
    EXPECT_EQ(narrow(std::wstring(5000, L'a').c_str()), std::string(5000, 'a'));
    EXPECT_EQ(wide(std::string(5000, 'a')), std::wstring(5000, L'a'));
}

TEST(WideTextTest, Text_ofAnyLength_isZeroTerminated)
{
    for (const std::size_t size : {0U, 1U, 254U, 255U, 256U, 257U, 5000U}) {
        const utils::WideText text(std::string(size, 'a'));
        EXPECT_EQ(text.length(), static_cast<int>(size));
        EXPECT_EQ(std::wstring(text.get()), std::wstring(size, L'a'));
    }
}

TEST(WideTextTest, Text_withZeros_isHeldWhole)
{
    const utils::WideText text(std::string("a\0\xe9", 3));
    EXPECT_EQ(std::wstring(text.get(), 3), std::wstring(L"a\0\u00e9", 3));
    EXPECT_EQ(text.length(), 3);
}

struct CodePage
{
    const char* name;
    UINT(WINAPI* hook)();
};

// While the hook lives, the conversions see another ANSI code page.
template <UINT NUMBER>
CodePage codePage(const char* name)
{
    return {name, support::returning<NUMBER>(&GetACP)};
}

class EveryCodePageTest : public testing::TestWithParam<CodePage>
{
protected:
    support::ImportHook m_codePage{"GetACP", GetParam().hook};
};

// "?" or a text that converts back to the same character, but never a similar character.
TEST_P(EveryCodePageTest, Character_isItselfOrAQuestionMark)
{
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const std::wstring character(1, static_cast<wchar_t>(code));
        const BSTR text = SysAllocStringLen(character.data(), 1);
        const std::string made = narrowBstr(text);
        SysFreeString(text);
        ASSERT_TRUE(made == "?" || wide(made) == character) << std::hex << code << " became '" << made << "'";
        if (code != 0) {
            ASSERT_EQ(narrow(character.c_str()), made);
        }
    }
}

TEST_P(EveryCodePageTest, Ascii_isItselfBesideOthers)
{
    for (wchar_t c = 1; c < 128; ++c) {
        const std::wstring text{L'\u4e2d', c};
        EXPECT_EQ(narrow(text.c_str()).back(), static_cast<char>(c));
        EXPECT_EQ(wide(narrow(text.c_str())).back(), c);
    }
}

INSTANTIATE_TEST_SUITE_P(CodePages, EveryCodePageTest,
                         testing::Values(codePage<1252>("cp1252"), codePage<1250>("cp1250"), codePage<1251>("cp1251"),
                                         codePage<1253>("cp1253"), codePage<1254>("cp1254"), codePage<1258>("cp1258"),
                                         codePage<874>("cp874"), codePage<932>("cp932"), codePage<936>("cp936"),
                                         codePage<949>("cp949"), codePage<950>("cp950"), codePage<CP_UTF8>("utf8")),
                         [](const testing::TestParamInfo<CodePage>& instance) {
                             return std::string(instance.param.name);
                         });

TEST(AnsiTextTest, Pairs_ofSurrogates_areOneCharacter)
{
    EXPECT_EQ(narrow(L"a\U0001F600b"), "a??b") << "a question mark for each half";
    const support::ImportHook utf8("GetACP", support::returning<CP_UTF8>(&GetACP));
    EXPECT_EQ(narrow(L"a\U0001F600b"),
              "a\xF0\x9F\x98\x80"
              "b");
    EXPECT_EQ(narrow(L"\xD83D\U0001F600\xDE00 \xDE00\xD83D"), "?\xF0\x9F\x98\x80? ??");
}

TEST(AnsiTextTest, Bytes_ofTheCodePage_comeThroughBothWays)
{
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(narrow(wide(text).c_str()), text) << byte;
    }
}

TEST(AnsiTextTest, Bstr_withoutMemory_isAComError)
{
    const support::ImportHook hook("SysAllocStringLen", support::returning<nullptr>(&SysAllocStringLen));
    EXPECT_EQ(support::comErrorOf([] { toBstr("a"); }), "0x8007000E");
}

}  // namespace
