// The commands `query` and `related`, whose conditions and relations this program evaluates itself.

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

// Rooms and lamps, and associations between a lamp and its room.
class QueryTest : public CommandTest
{
protected:
    QueryTest()
    {
        addToMof(R"(
[dynamic, provider("FakeProvider")] class Fake_Room { [key] string Name; uint16 Floor; };
[dynamic, provider("FakeProvider"), Lit] class Fake_Lamp { [key] string Name; boolean On; };
[dynamic, provider("FakeProvider")] class Fake_RedLamp : Fake_Lamp { };
[dynamic, provider("FakeProvider"), Association, Fixed]
class Fake_HangsIn { [key] Fake_Lamp ref Lamp; [key] Fake_Room ref Room; };
[dynamic, provider("FakeProvider"), Association]
class Fake_Above { [key] Fake_Room ref Upper; [key] Fake_Room ref Lower; };
)");
        behaviour.enumerate = [](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            for (const wchar_t* room : {L"kitchen", L"attic"}) {
                if (name == L"Fake_Room") {
                    deliver(sink, makeRoom(ns, room));
                }
            }
            if (name == L"Fake_Lamp") {
                deliver(sink, makeLamp(ns, L"Fake_Lamp", L"old"));
            } else if (name == L"Fake_RedLamp") {
                deliver(sink, makeLamp(ns, L"Fake_RedLamp", L"red"));
            } else if (name == L"Fake_HangsIn") {
                deliver(sink, link(ns, L"Fake_HangsIn", {L"Lamp", L"Fake_Lamp.Name=\"old\""},
                                   {L"Room", L"\\\\.\\root\\test:Fake_Room.Name=\"Kitchen\""}));
                deliver(sink, link(ns, L"Fake_HangsIn", {L"Lamp", L"Fake_RedLamp.Name=\"red\""},
                                   {L"Room", L"Fake_Room.Name=\"kitchen\""}));
                deliver(sink, link(ns, L"Fake_HangsIn", {L"Lamp", L"Fake_Lamp.Name=\"gone\""},
                                   {L"Room", L"Fake_Room.Name=\"kitchen\""}));
                deliver(sink, link(ns, L"Fake_HangsIn", {L"Lamp", L"Fake_Lamp.Name=\"old\""},
                                   {L"Room", L"Fake_Room.Name=\"attic\""}));
            } else if (name == L"Fake_Above") {
                deliver(sink, link(ns, L"Fake_Above", {L"Upper", L"Fake_Room.Name=\"attic\""},
                                   {L"Lower", L"Fake_Room.Name=\"kitchen\""}));
            }
            return finish(sink);
        };
        behaviour.get = [](IWbemServices& ns, std::wstring_view path, IWbemObjectSink* sink) {
            if (path.find(L"gone") != std::wstring_view::npos) {
                return finish(sink, code(WBEM_E_NOT_FOUND));
            }
            const std::wstring name(path.substr(path.find(L'"') + 1, path.rfind(L'"') - path.find(L'"') - 1));
            if (path.find(L"Fake_Room") != std::wstring_view::npos) {
                deliver(sink, makeRoom(ns, name.c_str()));
            } else {
                deliver(sink,
                        makeLamp(ns, path.starts_with(L"Fake_Red") ? L"Fake_RedLamp" : L"Fake_Lamp", name.c_str()));
            }
            return finish(sink);
        };
    }

    static ComPtr<IWbemClassObject> makeRoom(IWbemServices& ns, const wchar_t* name)
    {
        const auto room = spawn(ns, L"Fake_Room");
        put(room, L"Name", Variant::ofText(name));
        put(room, L"Floor", Variant::ofLong(name == std::wstring(L"attic") ? 3 : 0));
        return room;
    }
    static ComPtr<IWbemClassObject> makeLamp(IWbemServices& ns, const wchar_t* className, const wchar_t* name)
    {
        const auto lamp = spawn(ns, className);
        put(lamp, L"Name", Variant::ofText(name));
        put(lamp, L"On", Variant::ofBool(true));
        return lamp;
    }
    using End = std::pair<const wchar_t*, const wchar_t*>;
    static ComPtr<IWbemClassObject> link(IWbemServices& ns, const wchar_t* className, End one, End other)
    {
        const auto association = spawn(ns, className);
        put(association, one.first, Variant::ofText(one.second));
        put(association, other.first, Variant::ofText(other.second));
        return association;
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
