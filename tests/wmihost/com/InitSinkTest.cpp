#include "wmihost/com/InitSink.h"

#include <gtest/gtest.h>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

TEST(InitSink, Sink_knowsWhetherAStatusCame)
{
    const auto sink = ComPtr<InitSink>::adopt(new InitSink);
    EXPECT_EQ(sink->status(), std::nullopt);
    EXPECT_EQ(sink->SetStatus(WBEM_S_INITIALIZED, 0), 0);
    EXPECT_EQ(sink->status(), HRESULT{0});
}

TEST(InitSink, Failure_isKept)
{
    const auto sink = ComPtr<InitSink>::adopt(new InitSink);
    EXPECT_EQ(sink->SetStatus(code(WBEM_E_FAILED), 0), 0);
    EXPECT_EQ(sink->status(), code(WBEM_E_FAILED));
}

}  // namespace
}  // namespace wmihost
