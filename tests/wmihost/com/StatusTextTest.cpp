#include "wmihost/com/StatusText.h"

#include <gtest/gtest.h>

#include <utility>

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

TEST(StatusText, Status_hasNumberAndMeaning)
{
    EXPECT_EQ(statusText(code(WBEM_E_NOT_FOUND)), "WBEM_E_NOT_FOUND (0x80041002): there is no such object");
    EXPECT_EQ(statusText(0), "WBEM_S_NO_ERROR (0x00000000): the request succeeded");
    EXPECT_EQ(statusText(REGDB_E_CLASSNOTREG), "REGDB_E_CLASSNOTREG (0x80040154): the COM class is not registered");
}

TEST(StatusText, ProvidersCodes_haveTheirNames)
{
    const std::pair<unsigned, const char*> rows[] = {{0x80041001, "WBEM_E_FAILED"},
                                                     {0x80041003, "WBEM_E_ACCESS_DENIED"},
                                                     {0x80041005, "WBEM_E_TYPE_MISMATCH"},
                                                     {0x80041008, "WBEM_E_INVALID_PARAMETER"},
                                                     {0x8004100C, "WBEM_E_NOT_SUPPORTED"},
                                                     {0x8004100F, "WBEM_E_INVALID_OBJECT"},
                                                     {0x8004101D, "WBEM_E_UNEXPECTED"},
                                                     {0x80041024, "WBEM_E_PROVIDER_NOT_CAPABLE"},
                                                     {0x8004102F, "WBEM_E_INVALID_METHOD_PARAMETERS"},
                                                     {0x80041055, "WBEM_E_METHOD_NOT_IMPLEMENTED"}};
    for (const auto& [number, name] : rows) {
        EXPECT_EQ(statusInfo(static_cast<HRESULT>(number)).name, name);
    }
}

TEST(StatusText, UnknownStatus_isReported)
{
    EXPECT_EQ(statusText(static_cast<HRESULT>(0x8FFFFFFF)),
              "an unknown failure (0x8FFFFFFF): WMI and COM document no such code");
    EXPECT_EQ(statusText(0x12345), "an unknown success (0x00012345): WMI and COM document no such code");
}

}  // namespace
}  // namespace wmihost
