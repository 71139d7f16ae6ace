#include "wmihost/com/ResponseSink.h"

#include <gtest/gtest.h>

#include "wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

constexpr std::chrono::milliseconds NO_TIME{0};

class ResponseSinkTest : public testing::Test
{
protected:
    const ClassRepository repository = compiled("class A { [key] string K; };");
    std::vector<std::pair<unsigned, unsigned>> progress;
    std::shared_ptr<Response> response =
        std::make_shared<Response>([this](Progress p) { progress.emplace_back(p.total, p.index); });
    ComPtr<IWbemObjectSink> sink = ComPtr<IWbemObjectSink>::adopt(new ResponseSink(response));
};

TEST_F(ResponseSinkTest, Objects_areKeptByReference)
{
    auto object = instanceOf(repository, L"A");
    IWbemClassObject* raw = object.get();
    EXPECT_EQ(sink->Indicate(1, &raw), 0);
    raw->AddRef();
    EXPECT_EQ(raw->Release(), 2U);
    EXPECT_EQ(response->takeObjects().size(), 1U);
    EXPECT_TRUE(response->takeObjects().empty());
}

TEST_F(ResponseSinkTest, BadCount_isRefused)
{
    IWbemClassObject* none = nullptr;
    EXPECT_EQ(sink->Indicate(-1, &none), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(sink->Indicate(1, nullptr), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(sink->Indicate(1, &none), code(WBEM_E_INVALID_PARAMETER));
    EXPECT_EQ(sink->Indicate(0, nullptr), 0);
}

TEST_F(ResponseSinkTest, Progress_hasTheTotalInTheHighWord)
{
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_PROGRESS, 0x00030002, nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_PROGRESS, static_cast<HRESULT>(0xFFFF0001), nullptr, nullptr), 0);
    EXPECT_EQ(progress, (std::vector<std::pair<unsigned, unsigned>>{{3, 2}, {65535, 1}}));
    EXPECT_EQ(response->status(), std::nullopt);
}

TEST_F(ResponseSinkTest, FinalStatus_isTheFirst_andEndsTheAnswer)
{
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_COMPLETE, code(WBEM_E_NOT_FOUND), nullptr, nullptr), 0);
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr), code(WBEM_E_UNEXPECTED));
    EXPECT_EQ(response->status(), code(WBEM_E_NOT_FOUND));
    auto object = instanceOf(repository, L"A");
    IWbemClassObject* raw = object.get();
    EXPECT_EQ(sink->Indicate(1, &raw), code(WBEM_E_UNEXPECTED));
    EXPECT_TRUE(response->takeObjects().empty());
}

TEST_F(ResponseSinkTest, OtherFlags_areRefused)
{
    EXPECT_EQ(sink->SetStatus(WBEM_STATUS_REQUIREMENTS, 0, nullptr, nullptr), code(WBEM_E_INVALID_PARAMETER));
}

TEST_F(ResponseSinkTest, Response_endsWithTheLastReference)
{
    ComPtr<IWbemObjectSink> second = sink;
    sink->SetStatus(WBEM_STATUS_COMPLETE, 0, nullptr, nullptr);
    sink.reset();
    EXPECT_FALSE(response->waitUntilOver(NO_TIME));
    second.reset();
    EXPECT_TRUE(response->waitUntilOver(NO_TIME));
}

TEST_F(ResponseSinkTest, QueryInterface_knowsItsInterfacesOnly)
{
    ComPtr<IUnknown> same;
    EXPECT_EQ(sink->QueryInterface(IID_PPV_ARGS(same.put())), S_OK);
    void* other = this;
    EXPECT_EQ(sink->QueryInterface(__uuidof(IWbemServices), &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(sink->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
}

}  // namespace
}  // namespace wmihost
