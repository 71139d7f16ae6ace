// The commands `query` and `related`, whose conditions and relations this program evaluates itself.

#include "tests/wmihost/commands/ServedInstances.h"

namespace wmihost {
namespace {

// Rooms and lamps, and associations between a lamp and its room. One of them leads to a lamp that does not exist.
class QueryTest : public ServedInstances
{
protected:
    QueryTest()
    {
        serve(R"(
[dynamic, provider("FakeProvider")] class Fake_Room { [key] string Name; uint16 Floor; };
[dynamic, provider("FakeProvider"), Lit] class Fake_Lamp { [key] string Name; boolean On; };
[dynamic, provider("FakeProvider")] class Fake_RedLamp : Fake_Lamp { };
[dynamic, provider("FakeProvider"), Association, Fixed]
class Fake_HangsIn { [key] Fake_Lamp ref Lamp; [key] Fake_Room ref Room; };
[dynamic, provider("FakeProvider"), Association]
class Fake_Above { [key] Fake_Room ref Upper; [key] Fake_Room ref Lower; };
class Fake_Furniture { [key] string Name; };
[dynamic, provider("FakeProvider")] class Fake_Shelf : Fake_Furniture { };

instance of Fake_Room { Name = "kitchen"; Floor = 0; };
instance of Fake_Room { Name = "attic"; Floor = 3; };
instance of Fake_Lamp { Name = "old"; On = TRUE; };
instance of Fake_RedLamp { Name = "red"; On = TRUE; };
instance of Fake_Shelf { Name = "long"; };
instance of Fake_HangsIn
{
    Lamp = "Fake_Lamp.Name=\"old\"";
    Room = "\\\\.\\root\\test:Fake_Room.Name=\"kitchen\"";
};
instance of Fake_HangsIn { Lamp = "Fake_RedLamp.Name=\"red\""; Room = "Fake_Room.Name=\"kitchen\""; };
instance of Fake_HangsIn { Lamp = "Fake_Lamp.Name=\"gone\""; Room = "Fake_Room.Name=\"KITCHEN\""; };
instance of Fake_HangsIn { Lamp = "Fake_Lamp.Name=\"old\""; Room = "Fake_Room.Name=\"attic\""; };
instance of Fake_Above { Upper = "Fake_Room.Name=\"attic\""; Lower = "Fake_Room.Name=\"kitchen\""; };
)");
    }
};

TEST_F(QueryTest, Select_answersAsRecorded)
{
    expectSession("commands/query.session");
}

TEST_F(QueryTest, Related_answersAsRecorded)
{
    expectSession("commands/related.session");
}

}  // namespace
}  // namespace wmihost
