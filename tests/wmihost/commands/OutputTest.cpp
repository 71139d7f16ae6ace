#include "wmihost/commands/Output.h"

#include "tests/wmihost/commands/ServedInstances.h"

namespace wmihost {
namespace {

constexpr const char* CLASSES = R"(
[dynamic, provider("FakeProvider")]
class Fake_Rich
{
    [key] string CreationClassName;
    [key] string SystemName;
    [key] string Name;
    [Units("Bits per Second")] uint64 Speed;
    boolean Active;
    datetime Since;
    Fake_Thing ref Owner;
    [ValueMap{"1", "2"}, Values{"Good", "Bad"}] uint16 Codes[];
    string Notes[];
    sint64 Balance;
    real64 Load;
};
[dynamic, provider("FakeProvider")]
class Zerix_EthernetPort
{
    [key] string DeviceID;
    string Name;
    string PermanentAddress;
    string Other;
    [Units("Bits per Second")] uint64 Speed;
    uint64 ActiveMaximumTransmissionUnit;
    uint16 EnabledState;
};
)";

constexpr const char* RICH_INSTANCE = R"(instance of Fake_Rich
{
    CreationClassName = "Fake_Rich";
    SystemName = "here";
    Name = "rück";
    Speed = 2500000000;
    Active = TRUE;
    Since = "20261121094145.000000+000";
    Owner = "\\\\.\\root\\test:Fake_Thing.Name=\"one\"";
    Codes = {2, 7};
    Notes = {"a", "b\"c"};
    Balance = -5;
    Load = 0.5;
};
)";

constexpr const char* OTHER_INSTANCES = R"(
instance of Fake_Thing { Name = "a\x001B[2J\x009B\x202Eb\nc"; };
instance of Zerix_EthernetPort
{
    DeviceID = "{0}";
    Name = "eth0";
    PermanentAddress = "02FC00000001";
    Speed = 1000000000;
    ActiveMaximumTransmissionUnit = 1500;
};
)";

class OutputTest : public ServedInstances
{
protected:
    OutputTest() { serve(std::string(CLASSES) + RICH_INSTANCE + OTHER_INSTANCES); }
};

TEST_F(OutputTest, EachFormat_showsEveryKindOfValue)
{
    expectSession("commands/output.session");
}

TEST_F(OutputTest, MofOfAnInstance_isWhatTheCompilerRead)
{
    EXPECT_EQ(run({"list", "Fake_Rich", "--format", "mof"}), 0);
    EXPECT_EQ(out, std::string(RICH_INSTANCE) + "\n");
}

TEST_F(OutputTest, Csv_keepsControlCharacters)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "csv"}), 0);
    EXPECT_EQ(out,
              "Name\r\n\"a\x1b[2J\xC2\x9B\xE2\x80\xAE"
              "b\nc\"\r\n");
}

TEST_F(OutputTest, Adapters_haveColumnsWithHeadings)
{
    expectSession("commands/output-adapter.session");
}

}  // namespace
}  // namespace wmihost
