#include "wmihost/com/Guard.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace wmihost {
namespace {

TEST(Guard, Answer_isHandedThrough)
{
    EXPECT_EQ(guarded([] { return code(WBEM_S_NO_MORE_DATA); }), 0x40005);
    EXPECT_EQ(guarded([] { return code(WBEM_E_NOT_FOUND); }), static_cast<HRESULT>(0x80041002));
}

TEST(Guard, Exception_becomesACode)
{
    EXPECT_EQ(guarded([]() -> HRESULT { throw std::bad_alloc(); }), code(WBEM_E_OUT_OF_MEMORY));
    EXPECT_EQ(guarded([]() -> HRESULT { throw std::runtime_error("x"); }), code(WBEM_E_CRITICAL_ERROR));
    EXPECT_EQ(guarded([]() -> HRESULT { throw 7; }), code(WBEM_E_CRITICAL_ERROR)) << "not a std::exception";
}

}  // namespace
}  // namespace wmihost
