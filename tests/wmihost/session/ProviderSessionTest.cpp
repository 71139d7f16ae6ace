#include "wmihost/session/ProviderSession.h"

#include <gtest/gtest.h>

#include <comdef.h>

#include <optional>
#include <stdexcept>
#include <thread>

#include "wmihost/FakeProvider.h"
#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/objects/ObjectReader.h"

namespace wmihost {
namespace {

// Delivers an instance of a class, with the class's name as its key.
void indicateThing(IWbemServices& nameSpace, IWbemObjectSink* sink, std::wstring_view name)
{
    ComPtr<IWbemClassObject> definition;
    ComPtr<IWbemClassObject> thing;
    ASSERT_EQ(nameSpace.GetObject(Bstr(L"fake_thing").get(), 0, nullptr, definition.put(), nullptr), 0);
    ASSERT_EQ(definition->SpawnInstance(0, thing.put()), 0);
    ASSERT_EQ(put(thing, L"Name", Variant::ofText(name)), 0);
    IWbemClassObject* object = thing.get();
    EXPECT_EQ(sink->Indicate(1, &object), 0);
}

class ProviderSessionTest : public testing::Test
{
protected:
    ProviderSession open()
    {
        const Namespace& nameSpace = *repository.findNamespace(L"root\\test");
        return {repository, nameSpace, findRegistration(nameSpace, *classIn(repository, L"Fake_Thing"))};
    }

    const ComApartment apartment;
    const ClassRepository repository = compiled(FAKE_MOF);
    FakeBehaviour behaviour;
    const FakeProviderScope scope{behaviour};
    const RequestOptions options;
};

TEST_F(ProviderSessionTest, Provider_endsWithSession)
{
    {
        const ProviderSession session = open();
        EXPECT_EQ(behaviour.requests, std::vector<std::string>{"start in root\\test"});
        EXPECT_EQ(behaviour.alive, 1);
    }
    EXPECT_EQ(behaviour.alive, 0);
}

TEST_F(ProviderSessionTest, FailedStart_isRefused)
{
    const auto refusalOf = [this](HRESULT returned, std::optional<LONG> reported) -> std::string {
        behaviour.returnedByInitialize = returned;
        behaviour.initStatus = reported;
        try {
            open();
        } catch (const RequestError& error) {
            EXPECT_EQ(error.status(), code(WBEM_E_INITIALIZATION_FAILURE));
            EXPECT_EQ(behaviour.alive, 0);
            return error.what();
        }
        return "the provider started";
    };
    const std::string begin = "the provider FakeProvider did not start: ";
    EXPECT_EQ(refusalOf(0, code(WBEM_E_FAILED)), begin + "WBEM_E_FAILED (0x80041001): the request failed");
    EXPECT_EQ(refusalOf(E_FAIL, 0), begin + "E_FAIL (0x80004005): something failed");
    EXPECT_EQ(refusalOf(0, std::nullopt),
              begin + "WBEM_E_INITIALIZATION_FAILURE (0x80041014): the provider could not start");
}

TEST_F(ProviderSessionTest, Enumeration_keepsOrder_andReportsProgress)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view name, IWbemContext* context, IWbemObjectSink* sink) {
        EXPECT_EQ(name, L"Fake_Thing");
        EXPECT_NE(context, nullptr);
        indicateThing(ns, sink, L"one");
        sink->SetStatus(WBEM_STATUS_PROGRESS, 0x00020000, nullptr, nullptr);
        indicateThing(ns, sink, L"two");
        sink->SetStatus(WBEM_STATUS_PROGRESS, 0x00020001, nullptr, nullptr);
        sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
        return HRESULT{0};
    };
    std::vector<std::pair<unsigned, unsigned>> progress;
    RequestOptions watching;
    watching.onProgress = [&progress](Progress p) { progress.emplace_back(p.total, p.index); };
    const ProviderSession session = open();
    const RequestResult result = session.enumerate(L"Fake_Thing", watching);
    EXPECT_EQ(result.status, 0);
    ASSERT_EQ(result.objects.size(), 2U);
    EXPECT_EQ(textOf(*result.objects[0].get(), L"Name"), L"one");
    EXPECT_EQ(textOf(*result.objects[1].get(), L"Name"), L"two");
    EXPECT_EQ(progress, (std::vector<std::pair<unsigned, unsigned>>{{2, 0}, {2, 1}}));
}

TEST_F(ProviderSessionTest, Status_isReportedOrElseReturned)
{
    const ProviderSession session = open();
    const auto statusOf = [&](HRESULT returned, std::optional<HRESULT> reported) {
        behaviour.get = [=](IWbemServices&, std::wstring_view, IWbemObjectSink* sink) {
            if (reported) {
                sink->SetStatus(WBEM_STATUS_COMPLETE, *reported, nullptr, nullptr);
            }
            return returned;
        };
        return session.get(L"Fake_Thing.Name=\"x\"", options).status;
    };
    EXPECT_EQ(statusOf(code(WBEM_E_FAILED), code(WBEM_E_NOT_FOUND)), code(WBEM_E_NOT_FOUND));
    EXPECT_EQ(statusOf(code(WBEM_E_PROVIDER_NOT_CAPABLE), std::nullopt), code(WBEM_E_PROVIDER_NOT_CAPABLE));
    EXPECT_EQ(statusOf(0, std::nullopt), code(WBEM_E_PROVIDER_FAILURE)) << "a success that nobody reported";
}

TEST_F(ProviderSessionTest, Put_isAnUpdate)
{
    LONG seen = -1;
    behaviour.put = [&seen](IWbemClassObject*, LONG flags, IWbemObjectSink* sink) {
        seen = flags;
        return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    };
    EXPECT_EQ(open().put(instanceOf(repository, L"Fake_Thing").get(), options).status, 0);
    EXPECT_EQ(seen, WBEM_FLAG_UPDATE_ONLY);
}

TEST_F(ProviderSessionTest, Exception_failsTheRequestAlone)
{
    const ProviderSession session = open();
    const auto exceptionOf = [&](const std::function<void()>& thrower) {
        behaviour.enumerate = [&thrower](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink*) {
            thrower();
            return HRESULT{0};
        };
        const RequestResult result = session.enumerate(L"Fake_Thing", options);
        EXPECT_EQ(result.status, code(WBEM_E_PROVIDER_FAILURE));
        EXPECT_TRUE(result.objects.empty());
        return result.exception;
    };
    EXPECT_EQ(exceptionOf([] { throw std::runtime_error("broken"); }), "broken");
    EXPECT_EQ(exceptionOf([] { throw _com_error(E_OUTOFMEMORY); }),
              "E_OUTOFMEMORY (0x8007000E): there is not enough memory");
    EXPECT_EQ(exceptionOf([] { throw 7; }), "an exception of unknown type");
}

TEST_F(ProviderSessionTest, Request_endsWithTheSinksRelease)
{
    std::jthread worker;
    behaviour.enumerate = [&worker](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        worker = std::jthread([&ns, kept = ComPtr<IWbemObjectSink>(sink)] {
            // Waits until the session has left the call and released its reference.
            const auto isShared = [&kept] {
                kept->AddRef();
                return kept->Release() > 1;
            };
            while (isShared()) {
                std::this_thread::yield();
            }
            indicateThing(ns, kept.get(), L"late");
            kept->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
        });
        return HRESULT{0};
    };
    const ProviderSession session = open();
    const RequestResult result = session.enumerate(L"Fake_Thing", options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.objects.size(), 1U);
}

TEST_F(ProviderSessionTest, ClientsToken_isThereDuringTheRequestOnly)
{
    behaviour.get = [](IWbemServices&, std::wstring_view, IWbemObjectSink* sink) {
        EXPECT_EQ(CoImpersonateClient(), S_OK);
        HANDLE token = nullptr;
        EXPECT_NE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
        CloseHandle(token);
        // If a provider does not revert the impersonation, the thread must not keep the client's token.
        return sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    };
    EXPECT_EQ(open().get(L"Fake_Thing.Name=\"x\"", options).status, 0);
    HANDLE token = nullptr;
    EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
}

}  // namespace
}  // namespace wmihost
