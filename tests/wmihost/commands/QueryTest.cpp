// The commands `query` and `related`, whose conditions and relations this program evaluates itself.

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"

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
        behaviour.enumerate = [this](IWbemServices& ns, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            asked.emplace_back(name);
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

    std::vector<std::wstring> asked;
};

TEST_F(QueryTest, Select_showsTheChosenProperties)
{
    EXPECT_EQ(run({"query", "SELECT Floor, Name FROM Fake_Room WHERE Floor > 1 OR Name LIKE 'k%'"}), 0) << error;
    EXPECT_EQ(out, "Floor  Name\n-----  -------\n    0  kitchen\n    3  attic\n");
    EXPECT_EQ(run({"query", "select * from fake_room where not Floor = 0"}), 0) << error;
    EXPECT_EQ(out, "Name   Floor\n-----  -----\nattic      3\n");
}

TEST_F(QueryTest, Select_ofABaseClass_bringsTheDerivedOnesToo)
{
    EXPECT_EQ(run({"query", "SELECT Name, __CLASS FROM Fake_Lamp"}), 0) << error;
    EXPECT_EQ(out, "Name  __CLASS\n----  ------------\nold   Fake_Lamp\nred   Fake_RedLamp\n");
    EXPECT_EQ(run({"query", "SELECT Name FROM Fake_Lamp WHERE __CLASS = 'Fake_Lamp'"}), 0) << error;
    EXPECT_EQ(out, "Name\n----\nold\n");
    EXPECT_EQ(run({"query", "SELECT Name FROM Fake_Lamp WHERE __THIS ISA 'Fake_RedLamp'"}), 0) << error;
    EXPECT_EQ(out, "Name\n----\nred\n");
}

TEST_F(QueryTest, Select_withoutResult_saysSo)
{
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room WHERE Floor = 9", "--format", "json"}), 0);
    EXPECT_EQ(out, "[]\n");
    EXPECT_EQ(error, "the query found nothing\n");
}

TEST_F(QueryTest, Quiet_saysNothingOfAnEmptyResult)
{
    for (const char* const query :
         {"SELECT * FROM Fake_Room WHERE Floor = 9", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE Role = Upper",
          "ASSOCIATORS OF {Fake_Room} WHERE SchemaOnly ResultClass = Fake_HangsIn",
          "SELECT * FROM meta_class WHERE __CLASS = 'Nobodys'"})
    {
        EXPECT_EQ(run({"query", query}), 0) << query;
        EXPECT_EQ(error, "the query found nothing\n") << query;
        EXPECT_EQ(run({"query", query, "--quiet"}), 0) << query;
        EXPECT_EQ(error, "") << query;
    }
}

TEST_F(QueryTest, Csv_ofSeveralClasses_isOneDocument)
{
    EXPECT_EQ(run({"related", "Fake_Room='kitchen'", "--format", "csv"}), 0) << error;
    EXPECT_EQ(out,
              "__CLASS,Name,On,Floor\r\n"
              "Fake_Lamp,old,TRUE,\r\n"
              "Fake_RedLamp,red,TRUE,\r\n"
              "Fake_Room,attic,,3\r\n");
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Lamp", "--format", "csv"}), 0) << error;
    EXPECT_EQ(out, "__CLASS,Name,On\r\nFake_Lamp,old,TRUE\r\nFake_RedLamp,red,TRUE\r\n");
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room", "--format", "csv"}), 0) << error;
    EXPECT_EQ(out, "Name,Floor\r\nkitchen,0\r\nattic,3\r\n");
    EXPECT_EQ(run({"related", "Fake_Room='kitchen'", "--format", "csv", "--where", "Role=Upper"}), 0) << error;
    EXPECT_EQ(out, "__CLASS\r\n");
}

TEST_F(QueryTest, Hint_namesTheClassAndNoOptionThatIsNotThere)
{
    _putenv("COLUMNS=12");
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room"}), 0);
    EXPECT_EQ(error, "Fake_Room: 1 property does not fit the line (Floor); --format json shows all\n");
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room", "--quiet"}), 0);
    EXPECT_EQ(error, "");
}

TEST_F(QueryTest, SystemProperties_canBeSelected)
{
    EXPECT_EQ(
        run({"query", "SELECT __GENUS, __DERIVATION FROM Fake_RedLamp WHERE __PROPERTY_COUNT = 2", "--format", "csv"}),
        0)
        << error;
    EXPECT_EQ(out, "__GENUS,__DERIVATION\r\n2,\"[\"\"Fake_Lamp\"\"]\"\r\n");
    EXPECT_EQ(run({"list", "Fake_RedLamp", "--property", "__*COUNT,__G*", "--format", "csv"}), 0) << error;
    EXPECT_EQ(out, "__PROPERTY_COUNT,__GENUS\r\n2,2\r\n");
}

TEST_F(QueryTest, BadQuery_isRefusedBeforeAnythingIsAsked)
{
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room WHERE Floor >"}), 2);
    EXPECT_EQ(error,
              "wmihost query: at character 38: expected a value: a text between quotes, a number, TRUE, FALSE or NULL\n"
              "  SELECT * FROM Fake_Room WHERE Floor >\n"
              "                                       ^\n"
              "  Example: wmihost query \"SELECT Name, Speed FROM Zerix_EthernetPort WHERE EnabledState = 2 AND Name "
              "LIKE 'eth%'\"\n"
              "  wmihost query --help shows all that it takes\n");
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room WHERE Floor = low"}), 2);
    EXPECT_EQ(run({"query", "SELECT Flor FROM Fake_Room"}), 1);
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Room WHERE Flor = 1"}), 1);
    EXPECT_EQ(run({"query", "SELECT * FROM Fake_Rom"}), 1);
    EXPECT_TRUE(asked.empty());
}

class RelatedCases : public QueryTest, public testing::WithParamInterface<TextRow>
{
};

TEST_P(RelatedCases, FindWhatIsDocumented)
{
    EXPECT_EQ(run({"query", GetParam().given, "--format", "json"}), 0) << error;
    std::string found;
    for (const char* const key : {"\"__PATH\": \"", "\"class\": \""}) {
        for (std::size_t at = out.find(key); at != std::string::npos; at = out.find(key, at + 1)) {
            const std::size_t begin = at + std::string(key).size();
            std::string value = out.substr(begin, out.find('\n', begin) - begin);
            value = value.substr(0, value.rfind('"'));
            const std::size_t relative = value.find(':');
            found += (found.empty() ? "" : " ") + (relative == std::string::npos ? value : value.substr(relative + 1));
        }
    }
    std::erase(found, '\\');
    EXPECT_EQ(found, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RelatedCases,
    testing::Values(
        TextRow{"All", "ASSOCIATORS OF {Fake_Room.Name='kitchen'}",
                "Fake_Lamp.Name=\"old\" Fake_RedLamp.Name=\"red\" Fake_Room.Name=\"attic\""},
        TextRow{"FromTheOtherEnd", "ASSOCIATORS OF {Fake_Lamp='old'}",
                "Fake_Room.Name=\"Kitchen\" Fake_Room.Name=\"attic\""},
        TextRow{"AssocClass", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE AssocClass = Fake_Above",
                "Fake_Room.Name=\"attic\""},
        TextRow{"ResultClass", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE ResultClass = Fake_Lamp",
                "Fake_Lamp.Name=\"old\" Fake_RedLamp.Name=\"red\""},
        TextRow{"ResultClassDerived", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE ResultClass = Fake_RedLamp",
                "Fake_RedLamp.Name=\"red\""},
        TextRow{"Role", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE Role = Lower", "Fake_Room.Name=\"attic\""},
        TextRow{"OtherRole", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE Role = Upper", ""},
        TextRow{"ResultRole", "ASSOCIATORS OF {Fake_Room='attic'} WHERE ResultRole = Lower",
                "Fake_Room.Name=\"kitchen\""},
        TextRow{"RequiredQualifier", "ASSOCIATORS OF {Fake_Room='attic'} WHERE RequiredQualifier = Lit",
                "Fake_Lamp.Name=\"old\""},
        TextRow{"RequiredAssocQualifier", "ASSOCIATORS OF {Fake_Room='attic'} WHERE RequiredAssocQualifier = Fixed",
                "Fake_Lamp.Name=\"old\""},
        TextRow{"TwoKeywords",
                "ASSOCIATORS OF {Fake_Room='attic'} WHERE ResultClass = Fake_Lamp RequiredQualifier = Lit",
                "Fake_Lamp.Name=\"old\""},
        TextRow{"Schema", "ASSOCIATORS OF {Fake_Room} WHERE SchemaOnly", "Fake_Lamp Fake_Room"},
        TextRow{"SchemaOfADerivedClass", "ASSOCIATORS OF {Fake_RedLamp} WHERE SchemaOnly", "Fake_Room"},
        TextRow{"SchemaReferences", "REFERENCES OF {Fake_Room} WHERE SchemaOnly", "Fake_HangsIn Fake_Above"},
        TextRow{"SchemaRole", "REFERENCES OF {Fake_Lamp} WHERE SchemaOnly Role = Room", ""},
        TextRow{"MetaClass", "SELECT * FROM meta_class WHERE __this ISA 'Fake_Lamp'", "Fake_Lamp Fake_RedLamp"},
        TextRow{"MetaClassByName", "SELECT * FROM meta_class WHERE __CLASS = 'fake_room'", "Fake_Room"},
        TextRow{"MetaClassBySuperclass", "SELECT * FROM meta_class WHERE __SUPERCLASS = 'Fake_Lamp'", "Fake_RedLamp"},
        TextRow{"MetaClassWithoutSuperclass",
                "SELECT * FROM meta_class WHERE __SUPERCLASS IS NULL AND __CLASS LIKE '%[_]La%'", "Fake_Lamp"},
        TextRow{"ClassDefsOnly", "ASSOCIATORS OF {Fake_Room='kitchen'} WHERE ClassDefsOnly",
                "Fake_Lamp Fake_RedLamp Fake_Room"},
        TextRow{"References", "REFERENCES OF {Fake_Room='attic'}",
                "Fake_HangsIn.Lamp=\"Fake_Lamp.Name=\"old\"\",Room=\"Fake_Room.Name=\"attic\"\" "
                "Fake_Above.Lower=\"Fake_Room.Name=\"kitchen\"\",Upper=\"Fake_Room.Name=\"attic\"\""},
        TextRow{"ReferencesOfAClass", "REFERENCES OF {Fake_Room='attic'} WHERE ResultClass = Fake_Above",
                "Fake_Above.Lower=\"Fake_Room.Name=\"kitchen\"\",Upper=\"Fake_Room.Name=\"attic\"\""},
        TextRow{"ReferencesInARole", "REFERENCES OF {Fake_Room='attic'} WHERE Role = Lower", ""},
        TextRow{"ReferencesWithAQualifier", "REFERENCES OF {Fake_Room='attic'} WHERE RequiredQualifier = Fixed",
                "Fake_HangsIn.Lamp=\"Fake_Lamp.Name=\"old\"\",Room=\"Fake_Room.Name=\"attic\"\""},
        TextRow{"ReferencesClassDefsOnly", "REFERENCES OF {Fake_Room='kitchen'} WHERE ClassDefsOnly",
                "Fake_HangsIn Fake_Above"}),
    rowName);

TEST_F(QueryTest, KeysOnly_leavesOutTheRest)
{
    EXPECT_EQ(
        run({"query", "ASSOCIATORS OF {Fake_Room='attic'} WHERE ResultClass=Fake_Room KEYSONLY", "--format", "mof"}), 0)
        << error;
    EXPECT_EQ(out, "instance of Fake_Room\n{\n    Name = \"kitchen\";\n};\n\n");
}

TEST_F(QueryTest, Related_isTheShortForm)
{
    EXPECT_EQ(run({"related", "Fake_Room='kitchen'"}), 0) << error;
    EXPECT_EQ(out,
              "Fake_Lamp\n"
              "Name  On\n"
              "----  ---\n"
              "old   yes\n"
              "\n"
              "Fake_RedLamp\n"
              "Name  On\n"
              "----  ---\n"
              "red   yes\n"
              "\n"
              "Fake_Room\n"
              "Name   Floor\n"
              "-----  -----\n"
              "attic      3\n");
    EXPECT_EQ(run({"related", "//./root/test:Fake_Room='attic'", "--references", "--where", "ResultClass=Fake_Above"}),
              0)
        << error;
    EXPECT_EQ(out,
              "Fake_Above\n"
              "Upper                   Lower\n"
              "----------------------  ------------------------\n"
              "Fake_Room.Name=\"attic\"  Fake_Room.Name=\"kitchen\"\n");
    EXPECT_EQ(run({"related", "Fake_Room='gone'"}), 1);
    EXPECT_NE(error.find("WBEM_E_NOT_FOUND"), std::string::npos) << error;
    EXPECT_EQ(run({"related", "Fake_Room='attic'", "--where", "Colour=x"}), 2);
    EXPECT_EQ(run({"related", "Fake_Room='attic'", "--where", "ResultClass=Fake_Lmp"}), 1);
    EXPECT_NE(error.find("did you mean Fake_Lamp?"), std::string::npos) << error;
}

}  // namespace
}  // namespace wmihost
