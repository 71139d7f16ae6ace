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

TEST(AnsiTextTest, PlainText_isTheSameBothWays)
{
    EXPECT_EQ(narrow(L"Port 1"), "Port 1");
    EXPECT_EQ(wide("Port 1"), L"Port 1");
}

TEST(AnsiTextTest, NullOrEmpty_isEmpty)
{
    EXPECT_EQ(narrow(nullptr), "");
    EXPECT_EQ(narrow(L""), "");
    EXPECT_EQ(narrowBstr(nullptr), "");
}

TEST(AnsiTextTest, EmptyText_isNoNullBstr)
{
    const BSTR made = toBstr("");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(SysStringLen(made), 0U);
    SysFreeString(made);
}

TEST(AnsiTextTest, OutsideTheCodePage_areQuestionMarks)
{
    ASSERT_EQ(GetACP(), 1252U) << "run with LC_ALL=C.UTF-8";
    EXPECT_EQ(narrow(L"a\u4e2db"), "a?b");
    EXPECT_EQ(narrow(L"\u00e9"), "\xe9");
}

TEST(AnsiTextTest, CodePageBytes_becomeTheirCharacters)
{
    EXPECT_EQ(wide("caf\xe9"), L"caf\u00e9");
    EXPECT_EQ(wide("\x80"), L"\u20ac");
}

TEST(AnsiTextTest, Bstr_isReadByItsLength)
{
    const BSTR text = SysAllocStringLen(L"a\0b", 3);
    EXPECT_EQ(narrowBstr(text), std::string("a\0b", 3));
    EXPECT_EQ(narrow(text), "a");
    SysFreeString(text);
}

TEST(AnsiTextTest, ZeroInText_staysInTheBstr)
{
    EXPECT_EQ(wide(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
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

// While it lives, the conversions see another ANSI code page.
template <UINT CodePage>
UINT WINAPI codePageIs()
{
    return CodePage;
}

using CodePageHook = UINT(WINAPI*)();
struct CodePage
{
    const char* name;
    CodePageHook hook;
};

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
                         testing::Values(CodePage{"cp1252", &codePageIs<1252>}, CodePage{"cp1250", &codePageIs<1250>},
                                         CodePage{"cp1251", &codePageIs<1251>}, CodePage{"cp1253", &codePageIs<1253>},
                                         CodePage{"cp1254", &codePageIs<1254>}, CodePage{"cp1258", &codePageIs<1258>},
                                         CodePage{"cp874", &codePageIs<874>}, CodePage{"cp932", &codePageIs<932>},
                                         CodePage{"cp936", &codePageIs<936>}, CodePage{"cp949", &codePageIs<949>},
                                         CodePage{"cp950", &codePageIs<950>}, CodePage{"utf8", &codePageIs<CP_UTF8>}),
                         [](const testing::TestParamInfo<CodePage>& instance) {
                             return std::string(instance.param.name);
                         });

TEST(AnsiTextTest, Lookalikes_areNotTaken)
{
    ASSERT_EQ(GetACP(), 1252U) << "run with LC_ALL=C.UTF-8";
    // Best-fit conversion would give J, a quote, a full stop, I and a backslash.
    EXPECT_EQ(narrow(L"\u0134 \uFF02 \uFF0E \uFF29 \uFF3C"), "? ? ? ? ?");
}

TEST(AnsiTextTest, Pairs_ofSurrogates_areOneCharacter)
{
    EXPECT_EQ(narrow(L"a\U0001F600b"), "a??b") << "a question mark for each half";
    const support::ImportHook codePage("GetACP", &codePageIs<CP_UTF8>);
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

BSTR WINAPI allocateNothing(const OLECHAR* /*text*/, UINT /*size*/)
{
    return nullptr;
}

TEST(AnsiTextTest, Bstr_withoutMemory_isAComError)
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
