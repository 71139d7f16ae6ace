#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "wmihost/com/Com.h"

namespace wmihost {

// While it lives, COM creates the objects of a class in this process, each with a call of the function.
class KnownClass
{
public:
    using Create = std::function<ComPtr<IUnknown>()>;

    KnownClass(const CLSID& id, Create create)
    {
        const auto factory = ComPtr<IClassFactory>::adopt(new Factory(std::move(create)));
        EXPECT_EQ(CoRegisterClassObject(id, factory.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie), S_OK);
    }
    KnownClass(const KnownClass&) = delete;
    KnownClass& operator=(const KnownClass&) = delete;
    ~KnownClass() { CoRevokeClassObject(m_cookie); }

private:
    class Factory final : public ComObject<IClassFactory>
    {
    public:
        explicit Factory(Create create) : m_create(std::move(create)) {}

        HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override
        {
            return m_create()->QueryInterface(iid, object);
        }
        HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    private:
        const Create m_create;
    };

    DWORD m_cookie = 0;
};

}  // namespace wmihost
