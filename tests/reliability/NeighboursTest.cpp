#include <comdef.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>

#include "Utils/Exception.h"
#include "core/CimPropertyTypes.h"
#include "core/MethodErrors.h"
#include "reliability/Surroundings.h"
#include "support/CapturedModules.h"
#include "support/LogCapture.h"

// Brokers, namespaces, objects and sinks that fail, lie or call back, each against the built provider: what the client
// gets, that nothing is held afterwards, and that the next request is served.
namespace {

using reliability::Outcome;
using reliability::Scenario;
using reliability::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> only(const std::string& status)
{
    return {"sink.SetStatus(0, " + status + ", null, null)"};
}

// What a request answers and reports. Most reports are one final status.
struct Expected
{
    std::string answer;
    std::vector<std::string> reports;
};

Expected failsWith(const std::string& status)
{
    return {status, only(status)};
}

Expected throws(const std::string& exception)
{
    return {"threw " + exception, {}};
}

class NeighboursTest : public testing::Test
{
protected:
    NeighboursTest()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        support::captureModule(m_module.handle());
        std::filesystem::create_directories(ZERIX_TABLES);
        m_table.open(std::string(ZERIX_TABLES) + "/neighbours-" +
                     testing::UnitTest::GetInstance()->current_test_info()->name() + ".md");
    }
    ~NeighboursTest() override { support::releaseModule(m_module.handle()); }

    Outcome ask(Scenario scenario, Surroundings& surroundings)
    {
        const reliability::Provider provider(m_module, surroundings);
        return surroundings.request(scenario, provider.get());
    }

    // One request with spoiled surroundings and then one with sound ones.
    void expect(const std::string& what, Scenario scenario, const std::function<void(Surroundings&)>& spoil,
                const Expected& expected)
    {
        {
            Surroundings surroundings;
            spoil(surroundings);
            const Outcome found = ask(scenario, surroundings);
            EXPECT_EQ(found.answer, expected.answer) << what;
            EXPECT_EQ(found.reports(), expected.reports) << what;
            EXPECT_THAT(found.disorder, IsEmpty()) << what;
            EXPECT_EQ(surroundings.nameSpace.references(), 0) << what;
            const std::vector<std::string> reports = found.reports();
            m_table << "| " << what << " | " << reliability::nameOf(scenario) << " | " << found.answer << " | "
                    << (reports.empty() ? "" : reports.back()) << " |\n";
        }
        EXPECT_TRUE(m_module.canUnload()) << what;
        Surroundings sound;
        const Outcome next = ask(scenario, sound);
        EXPECT_EQ(next.answer, "0x00000000") << "after " << what;
        EXPECT_EQ(next.reports().back(), "sink.SetStatus(0, 0x00000000, null, null)") << "after " << what;
    }

    const support::LogCapture m_log{1};
    support::CallLog m_registryCalls;
    reliability::ProviderModule m_module{m_registryCalls};
    std::ofstream m_table;
};

struct Thrown
{
    const char* name;
    std::function<void()> raise;
    // As a test sees it where it leaves the request.
    const char* seen;
    const char* put;
    // Empty where it leaves the removal.
    const char* remove;
    const char* invoke;
};

const std::vector<Thrown>& thrown()
{
    static const std::vector<Thrown> all{
        {"utils::Exception", [] { throw utils::Exception("%s", "x"); }, "utils::Exception", "0x80041001", "0x8004101D",
         "0x80041001"},
        {"utils::EForbidden", [] { throw utils::EForbidden("x"); }, "utils::Exception", "0x80041003", "0x8004101D",
         "0x80041001"},
        {"utils::EInvalidParameter", [] { throw utils::EInvalidParameter("x"); }, "utils::Exception", "0x80041008",
         "0x8004101D", "0x80041001"},
        {"utils::ENotSupported", [] { throw utils::ENotSupported("x"); }, "utils::Exception", "0x8004100C",
         "0x8004101D", "0x80041001"},
        {"utils::ENotFound", [] { throw utils::ENotFound("x"); }, "utils::Exception", "0x80041002", "0x8004101D",
         "0x80041001"},
        {"utils::EFailed", [] { throw utils::EFailed("x"); }, "utils::Exception", "0x80041001", "0x8004101D",
         "0x80041001"},
        {"wa::EInvalidParameter", [] { throw wa::EInvalidParameter("x"); }, "utils::Exception", "0x80041001",
         "0x8004101D", "0x80041008"},
        {"wa::EMethodNotSupported", [] { throw wa::EMethodNotSupported("x"); }, "utils::Exception", "0x80041001",
         "0x8004101D", "0x80041055"},
        {"wa::EWmiNotFound", [] { throw wa::EWmiNotFound("x"); }, "utils::Exception", "0x80041001", "0x8004101D",
         "0x8004102F"},
        {"std::bad_alloc", [] { throw std::bad_alloc(); }, "std::bad_alloc", "0x80041001", "", "0x80041001"},
        {"std::runtime_error", [] { throw std::runtime_error("x"); }, "St13runtime_error", "0x80041001", "",
         "0x80041001"},
        {"_com_error", [] { throw _com_error(E_FAIL); }, "_com_error", "0x8004101D", "", "0x80041001"},
        {"int", [] { throw 1; }, "something", "0x8004101D", "", "0x80041001"},
    };
    return all;
}

TEST_F(NeighboursTest, whatTheBrokerThrowsBecomesTheStatusOfEachRequest)
{
    for (const Thrown& each : thrown()) {
        const auto raise = each.raise;
        const std::string name = each.name;
        expect(
            "getInstances throws " + name, Scenario::enumerate,
            [&](Surroundings& s) {
                s.broker.onGetInstances = [raise]() -> utils::SafeList<core::CimInstance*> {
                    raise();
                    return {};
                };
            },
            throws(each.seen));
        const auto find = [&](Surroundings& s) {
            s.broker.onFind = [raise]() -> core::CimInstance* {
                raise();
                return nullptr;
            };
        };
        expect("getInstanceByPath throws " + name, Scenario::get, find, failsWith("0x80041001"));
        expect("getInstanceByPath throws " + name, Scenario::remove, find,
               *each.remove == '\0' ? throws(each.seen) : failsWith(each.remove));
        expect(
            "modifyInstance throws " + name, Scenario::put,
            [&](Surroundings& s) { s.broker.onModify = [raise](core::CimPropertyList&) { raise(); }; },
            failsWith(each.put));
        expect(
            "invokeMethod throws " + name, Scenario::invoke,
            [&](Surroundings& s) {
                s.broker.onInvoke = [raise](core::CimPropertyList&, core::CimInstance*&) {
                    raise();
                    return 0U;
                };
            },
            failsWith(each.invoke));
    }
}

TEST_F(NeighboursTest, aNamespaceThatGivesNoClassFailsTheReadsAndSilencesTheMethod)
{
    const std::vector<std::pair<std::string, std::function<void(Surroundings&)>>> spoilers{
        {"GetObject fails", [](Surroundings& s) { s.nameSpace.getObjectStatus = E_ACCESSDENIED; }},
        {"GetObject answers another success",
         [](Surroundings& s) { s.nameSpace.getObjectStatus = WBEM_S_OPERATION_CANCELLED; }},
        {"the class is unknown", [](Surroundings& s) { s.nameSpace.classes.clear(); }},
        {"the class is null", [](Surroundings& s) { s.nameSpace.classes[reliability::PORT_CLASS] = nullptr; }},
    };
    for (const auto& [name, spoil] : spoilers) {
        expect(name, Scenario::enumerate, spoil, throws("utils::Exception"));
        expect(name, Scenario::get, spoil, failsWith("0x80041001"));
        expect(name, Scenario::invoke, spoil, failsWith("0x00000000"));
    }
}

TEST_F(NeighboursTest, aClassThatSpawnsNothingFailsTheReads)
{
    const std::vector<std::pair<std::string, std::function<void(Surroundings&)>>> spoilers{
        {"SpawnInstance fails", [](Surroundings& s) { s.classObject.spawnStatus = E_OUTOFMEMORY; }},
        {"SpawnInstance fails and gives nothing",
         [](Surroundings& s) {
             s.classObject.spawnStatus = E_OUTOFMEMORY;
             s.classObject.spawnsNothing = true;
         }},
        {"SpawnInstance gives nothing", [](Surroundings& s) { s.classObject.spawnsNothing = true; }},
    };
    for (const auto& [name, spoil] : spoilers) {
        expect(name, Scenario::enumerate, spoil, throws("utils::Exception"));
        expect(name, Scenario::get, spoil, failsWith("0x80041001"));
    }
}

TEST_F(NeighboursTest, aMethodWithoutASignatureIsRunAndReportsNoValues)
{
    const std::vector<std::pair<std::string, std::function<void(Surroundings&)>>> spoilers{
        {"GetMethod fails", [](Surroundings& s) { s.classObject.getMethodStatus = E_FAIL; }},
        {"the method is unknown", [](Surroundings& s) { s.classObject.methods.clear(); }},
        {"the signature is null", [](Surroundings& s) { s.classObject.methods["Reset"] = nullptr; }},
        {"the signature spawns nothing", [](Surroundings& s) { s.signature.spawnsNothing = true; }},
    };
    for (const auto& [name, spoil] : spoilers) {
        expect(name, Scenario::invoke, spoil, failsWith("0x00000000"));
    }
}

TEST_F(NeighboursTest, anObjectThatCannotBeWalkedOrRefusesValuesCostsNobodyTheAnswer)
{
    const std::vector<std::string> oneObject{"sink.Indicate(1, Class#1)", "sink.SetStatus(0, 0x00000000, null, null)"};
    const std::vector<std::string> method{"sink.Indicate(1, Out#2)", "sink.SetStatus(0, 0x00000000, null, null)"};
    expect(
        "the keys cannot be walked", Scenario::put, [](Surroundings& s) { s.object.beginKeysStatus = E_FAIL; },
        failsWith("0x00000000"));
    expect(
        "the object cannot be walked", Scenario::put, [](Surroundings& s) { s.object.beginStatus = E_FAIL; },
        failsWith("0x00000000"));
    expect(
        "the walk breaks off", Scenario::put, [](Surroundings& s) { s.object.endOfEnumeration = E_FAIL; },
        failsWith("0x00000000"));
    expect(
        "the object has no path", Scenario::put, [](Surroundings& s) { VariantClear(s.object.path.address()); },
        throws("utils::Exception"));
    expect("the signature cannot be walked", Scenario::invoke,
           [](Surroundings& s) { s.signature.beginStatus = E_FAIL; }, {"0x00000000", method});
    expect("every Put fails", Scenario::get,
           [](Surroundings& s) {
               for (const char* name : {"DeviceID", "Texts", "Small", "Medium", "Mediums", "Large", "Larges", "Huge",
                                        "Flag", "When", "Profile"})
               {
                   s.classObject.putStatus[name] = E_OUTOFMEMORY;
               }
           },
           {"0x00000000", oneObject});
    expect("every Put of a result fails", Scenario::invoke,
           [](Surroundings& s) {
               for (const char* name : {"ReturnValue", "Job", "Text", "Numbers"}) {
                   s.signature.putStatus[name] = E_OUTOFMEMORY;
               }
           },
           {"0x00000000", method});
}

TEST_F(NeighboursTest, aSinkThatFailsEveryCallChangesNoAnswer)
{
    for (const Scenario scenario :
         {Scenario::enumerate, Scenario::get, Scenario::put, Scenario::remove, Scenario::invoke}) {
        Surroundings sound;
        const Outcome normal = ask(scenario, sound);
        expect(reliability::nameOf(scenario), scenario,
               [](Surroundings& s) {
                   s.sink.indicateAnswers.assign(10, E_FAIL);
                   s.sink.statusAnswers.assign(10, E_FAIL);
               },
               {normal.answer, normal.reports()});
    }
}

TEST_F(NeighboursTest, unusualBrokerAnswersAreServed)
{
    expect(
        "an empty list", Scenario::enumerate, [](Surroundings& s) { s.broker.onGetInstances = nullptr; },
        failsWith("0x00000000"));
    expect(
        "no instance", Scenario::get, [](Surroundings& s) { s.broker.onFind = nullptr; }, failsWith("0x80041002"));
    expect(
        "no job", Scenario::remove, [](Surroundings& s) { s.broker.onFind = nullptr; }, failsWith("0x80041002"));
    expect(
        "a reference to nowhere", Scenario::get,
        [](Surroundings& s) {
            auto* property = new core::CimPropertyRef("Nowhere", &s.instance);
            property->setValue(std::string("C.k=1"));
        },
        failsWith("0x80041001"));
    expect(
        "a time that no calendar has", Scenario::get,
        [](Surroundings& s) {
            auto* property = new core::CimPropertyDatetime("Never", &s.instance);
            property->setValue(utils::Time::timestamp(~0ULL));
        },
        failsWith("0x80041001"));
}

TEST_F(NeighboursTest, aNullOfEveryTypeIsDelivered)
{
    expect("a null of every type", Scenario::get,
           [](Surroundings& s) {
               new core::CimPropertyString("NullText", &s.instance);
               new core::CimPropertyString_arr("NullTexts", &s.instance);
               new core::CimPropertyUint8("NullSmall", &s.instance);
               new core::CimPropertyUint16("NullMedium", &s.instance);
               new core::CimPropertyUint16_arr("NullMediums", &s.instance);
               new core::CimPropertyUint32("NullLarge", &s.instance);
               new core::CimPropertyUint32_arr("NullLarges", &s.instance);
               new core::CimPropertyUint64("NullHuge", &s.instance);
               new core::CimPropertyBool("NullFlag", &s.instance);
               new core::CimPropertyDatetime("NullWhen", &s.instance);
               new core::CimPropertyRef("NullPort", &s.instance);
           },
           {"0x00000000", {"sink.Indicate(1, Class#1)", "sink.SetStatus(0, 0x00000000, null, null)"}});
}

// A type that the provider knows nothing of.
class StrangeProperty : public core::CimProperty
{
public:
    using CimProperty::CimProperty;
    EPropertyType getType() const override { return static_cast<EPropertyType>(99); }
    void makeNonNull() { setIsNull(false); }
};

TEST_F(NeighboursTest, aPropertyOfAnUnknownTypeCostsOnlyItself)
{
    expect("a property of type 99", Scenario::get,
           [](Surroundings& s) { (new StrangeProperty("Strange", &s.instance))->makeNonNull(); },
           {"0x00000000", {"sink.Indicate(1, Class#1)", "sink.SetStatus(0, 0x00000000, null, null)"}});
}

TEST_F(NeighboursTest, aLongListIsDeliveredWhole)
{
    constexpr int COUNT = 2000;
    Surroundings surroundings;
    surroundings.broker.onGetInstances = [&] {
        utils::SafeList<core::CimInstance*> list;
        for (int i = 0; i < COUNT; ++i) {
            list.append(&surroundings.job);
        }
        return list;
    };
    surroundings.nameSpace.classes["Zerix_ConcreteJob"] = &surroundings.classObject;
    const Outcome found = ask(Scenario::enumerate, surroundings);
    EXPECT_EQ(found.answer, "0x00000000");
    EXPECT_THAT(found.disorder, IsEmpty());
    const std::vector<std::string> reports = found.reports();
    ASSERT_EQ(reports.size(), 2U * COUNT + 1);
    EXPECT_EQ(reports[reports.size() - 2], "sink.SetStatus(2, 0x07D007CF, null, null)");
    EXPECT_EQ(reports.back(), "sink.SetStatus(0, 0x00000000, null, null)");
}

// A client that asks again while it is being answered.
class ReenteringSink final : public support::FakeUnknown<IWbemObjectSink>
{
public:
    ReenteringSink(support::CallLog& calls, std::function<void()> again)
        : FakeUnknown(calls, "outer"), m_again(std::move(again))
    {
    }

    HRESULT STDMETHODCALLTYPE Indicate(LONG, IWbemClassObject**) override
    {
        record("Indicate");
        m_again();
        return WBEM_S_NO_ERROR;
    }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*) override
    {
        record("SetStatus(" + std::to_string(flags) + ", " + support::hex(result) + ")");
        return WBEM_S_NO_ERROR;
    }

private:
    std::function<void()> m_again;
};

// A sink whose client gives it up with the final status. What touches it after the last reference faults.
class LeavingSink final : public IWbemObjectSink
{
public:
    explicit LeavingSink(std::string& seen) : m_seen(seen) {}

    static void* operator new(std::size_t size)
    {
        void* const page = VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        return page != nullptr ? page : throw std::bad_alloc();
    }
    static void operator delete(void* page) { VirtualFree(page, 0, MEM_RELEASE); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++m_references); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const int left = --m_references;
        if (left == 0) {
            m_seen += "gone";
            delete this;
        }
        return static_cast<ULONG>(left);
    }
    HRESULT STDMETHODCALLTYPE Indicate(LONG, IWbemClassObject**) override { return WBEM_S_NO_ERROR; }
    HRESULT STDMETHODCALLTYPE SetStatus(LONG flags, HRESULT result, BSTR, IWbemClassObject*) override
    {
        if (flags == WBEM_STATUS_COMPLETE) {
            m_seen += support::hex(result) + " ";
            Release();
        }
        return WBEM_S_NO_ERROR;
    }

private:
    ~LeavingSink() = default;

    std::string& m_seen;
    int m_references = 1;
};

TEST_F(NeighboursTest, aSinkThatGoesWithItsFinalStatusIsLeftAlone)
{
    for (const Scenario scenario :
         {Scenario::enumerate, Scenario::get, Scenario::put, Scenario::remove, Scenario::invoke}) {
        Surroundings surroundings;
        std::string seen;
        surroundings.client = new LeavingSink(seen);
        const Outcome found = ask(scenario, surroundings);
        EXPECT_EQ(found.answer, "0x00000000") << reliability::nameOf(scenario);
        EXPECT_THAT(found.disorder, IsEmpty()) << reliability::nameOf(scenario);
        EXPECT_EQ(seen, "0x00000000 gone") << reliability::nameOf(scenario);
    }
}

TEST_F(NeighboursTest, aSinkMayAskTheProviderAgainWhileItIsAnswered)
{
    Surroundings outer;
    Surroundings inner;
    const reliability::Provider provider(m_module, outer);
    std::vector<std::string> innerAnswers;
    ReenteringSink sink(outer.calls, [&] {
        const Outcome found = inner.request(Scenario::get, provider.get());
        innerAnswers.push_back(found.answer + found.disorder);
    });
    outer.client = &sink;
    const Outcome found = outer.request(Scenario::enumerate, provider.get());
    EXPECT_EQ(found.answer, "0x00000000");
    EXPECT_THAT(found.disorder, IsEmpty());
    EXPECT_THAT(innerAnswers, ElementsAre("0x00000000", "0x00000000"));
    EXPECT_THAT(found.calls, testing::Contains("outer.SetStatus(2, 0x00020001)"));
    EXPECT_EQ(found.calls.back(), "call.RevertToSelf()");
}

}  // namespace
