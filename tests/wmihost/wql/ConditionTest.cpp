#include "wmihost/wql/Condition.h"

#include <gtest/gtest.h>

#include "tests/wmihost/CaseFile.h"
#include "tests/wmihost/TestObjects.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/com/StatusText.h"

namespace wmihost::wql {
namespace {

constexpr const char* MOF = R"(
class Inner { [key] string Name; uint32 Size; };
class Special : Inner { };
class Outer
{
    [key] string Name;
    uint16 Count;
    sint32 Below;
    uint64 Large;
    real64 Share;
    boolean Primary;
    datetime Start;
    datetime Duration;
    [ValueMap{"2", "3"} : ToSubclass, Values{"Enabled", "Disabled"} : ToSubclass] uint16 State;
    string Texts[];
    string Nothing;
    uint32 NoNumber;
    object Target;
    object Missing;
};
class Derived : Outer { };
)";

ComPtr<IWbemClassObject> sampleObject(const ClassRepository& repository)
{
    const auto inner = instanceOf(repository, L"Special");
    put(inner, L"Name", Variant::ofText(L"disk"));
    put(inner, L"Size", Variant::ofLong(7));
    const auto object = instanceOf(repository, L"Derived");
    put(object, L"Name", Variant::ofText(L"eth0"));
    put(object, L"Count", Variant::ofLong(10));
    put(object, L"Below", Variant::ofLong(-5));
    put(object, L"Large", Variant::ofText(L"18446744073709551615"));
    put(object, L"Share", Variant::ofDouble(0.5));
    put(object, L"Primary", Variant::ofBool(true));
    put(object, L"Start", Variant::ofText(L"20261121120000.500000+060"));
    put(object, L"Duration", Variant::ofText(L"00000001020304.000000:000"));
    put(object, L"State", Variant::ofLong(2));
    put(object, L"Texts", Variant::ofTexts({L"a", L"b"}));
    put(object, L"Target", Variant::ofObject(inner));
    return object;
}

TEST(Condition, Condition_isDecidedOrRefused)
{
    const ComApartment apartment;
    const ClassRepository repository = compiled(MOF);
    const ClassPointer definition = classIn(repository, L"Derived");
    const auto object = sampleObject(repository);
    expectOutcomes(ZERIX_WMIHOST_TESTS "/wql/conditions.cases", [&](const std::string& text) -> std::string {
        try {
            const Condition condition = parseCondition(text);
            checkCondition(condition, *definition);
            const auto result = holds(condition, *definition, *object.get());
            return !result ? "unknown" : *result ? "true" : "false";
        } catch (const QueryError& error) {
            const std::string message = error.what();
            return message.substr(0, message.find('\n'));
        } catch (const RequestError& error) {
            return std::string(statusInfo(error.status()).name) + ": " + error.what();
        }
    });
}

}  // namespace
}  // namespace wmihost::wql
