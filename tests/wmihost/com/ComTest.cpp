#include "wmihost/com/Com.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace wmihost {
namespace {

// Records its destruction.
class Thing final : public ComObject<IClassFactory>
{
public:
    explicit Thing(int& alive) : m_alive(alive) { ++m_alive; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return E_NOTIMPL; }

protected:
    ~Thing() override { --m_alive; }

private:
    int& m_alive;
};

ULONG referencesOf(IClassFactory* object)
{
    object->AddRef();
    return object->Release();
}

class ComTest : public testing::Test
{
protected:
    int alive = 0;
    ComPtr<IClassFactory> thing = ComPtr<IClassFactory>::adopt(new Thing(alive));
};

TEST_F(ComTest, LastReference_destroysTheObject)
{
    ComPtr<IClassFactory> second = thing;
    EXPECT_EQ(referencesOf(thing.get()), 2U);
    thing.reset();
    EXPECT_EQ(alive, 1);
    second.reset();
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(second);
}

TEST_F(ComTest, Assignment_releasesWhatWasHeld)
{
    int others = 0;
    auto other = ComPtr<IClassFactory>::adopt(new Thing(others));
    other = thing;
    EXPECT_EQ(others, 0);
    EXPECT_EQ(other.get(), thing.get());
    IClassFactory** const place = other.put();
    EXPECT_EQ(*place, nullptr);
    EXPECT_EQ(referencesOf(thing.get()), 1U);
}

TEST_F(ComTest, MoveAndDetach_handTheReferenceOver)
{
    ComPtr<IClassFactory> second = std::move(thing);
    EXPECT_FALSE(thing);  // NOLINT(bugprone-use-after-move): that it is empty is the rule
    IClassFactory* const raw = second.detach();
    EXPECT_FALSE(second);
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(raw->Release(), 0U);
    EXPECT_EQ(alive, 0);
}

TEST_F(ComTest, Object_hasItsInterfaceAndIUnknown)
{
    for (const IID& iid : {__uuidof(IUnknown), __uuidof(IClassFactory)}) {
        ComPtr<IUnknown> same;
        EXPECT_EQ(thing->QueryInterface(iid, reinterpret_cast<void**>(same.put())), S_OK);
        EXPECT_EQ(same.get(), thing.get());
        EXPECT_EQ(referencesOf(thing.get()), 2U);
    }
    void* other = this;
    EXPECT_EQ(thing->QueryInterface(__uuidof(IWbemServices), &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(thing->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
}

TEST(ComApartmentTest, Com_isThereDuringTheScope)
{
    ComPtr<IWbemContext> context;
    const auto create = [&context] {
        return CoCreateInstance(CLSID_WbemContext, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(context.put()));
    };
    EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
    {
        const ComApartment apartment;
        EXPECT_EQ(create(), S_OK);
        context.reset();
    }
    EXPECT_EQ(create(), CO_E_NOTINITIALIZED);
}

TEST(ComApartmentTest, Thread_withAnotherApartment_isRefused)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_THROW(ComApartment(), std::runtime_error);
    CoUninitialize();
}

}  // namespace
}  // namespace wmihost
