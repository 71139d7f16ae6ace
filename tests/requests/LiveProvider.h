#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "requests/RequestTest.h"
#include "wmihost/com/NamespaceServices.h"
#include "wmihost/com/ResponseSink.h"
#include "wmihost/mof/MofCompiler.h"

namespace requests {

// Returns a text property of the object, or an empty text if the property has another type.
inline std::string textOf(IWbemClassObject* object, const wchar_t* property)
{
    utils::ScopedVariant value;
    object->Get(property, 0, value.address(), nullptr, nullptr);
    return value.get().vt == VT_BSTR ? utils::narrowBstr(value.get().bstrVal) : "";
}

// The built provider and the built broker on this machine's real adapters, with the classes of the installed MOF.
class LiveProvider : public testing::Test
{
protected:
    struct Answer
    {
        // The return value of the request. The status that the sink received is equal.
        HRESULT status;
        std::vector<wmihost::ComPtr<IWbemClassObject>> objects;
    };

    void SetUp() override
    {
        wmihost::compileMofFile(std::filesystem::path(ZERIX_MOF), repository);
        *provider.out() = module.createProvider();
        serve(L"root\\DCIM\\vexal");
        module.captureLog();
    }

    // From this call on, the provider serves this namespace.
    void serve(std::wstring name)
    {
        own = repository.findNamespace(name);
        ASSERT_NE(own, nullptr);
        services = wmihost::ComPtr<wmihost::NamespaceServices>::adopt(new wmihost::NamespaceServices(repository, *own));
        utils::ComReference<IWbemProviderInit> init;
        provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()));
        init->Initialize(nullptr, 0, name.data(), nullptr, services.get(), &context, nullptr);
    }

    // The classes that the served namespace declares.
    std::vector<std::string> classNames() const
    {
        std::vector<std::string> result;
        for (const auto& definition : own->classes()) {
            const std::wstring& name = definition->name;
            if (name.rfind(L"Zerix_", 0) == 0) {
                result.emplace_back(name.begin(), name.end());
            }
        }
        return result;
    }

    Answer enumerate(const std::string& className)
    {
        const utils::ScopedBstr name(className);
        return send(
            [&](IWbemObjectSink* sink) { return provider->CreateInstanceEnumAsync(name.get(), 0, &context, sink); });
    }

    Answer get(const std::string& path)
    {
        const utils::ScopedBstr text(path);
        return send([&](IWbemObjectSink* sink) { return provider->GetObjectAsync(text.get(), 0, &context, sink); });
    }

    // Writes an object that the test has read.
    Answer put(IWbemClassObject* object)
    {
        return send([&](IWbemObjectSink* sink) {
            return provider->PutInstanceAsync(object, WBEM_FLAG_UPDATE_ONLY, &context, sink);
        });
    }

    // Calls the method without arguments: all of its inputs are null.
    Answer execute(const std::string& path, const std::string& className, const std::string& method)
    {
        const utils::ScopedBstr text(path);
        const utils::ScopedBstr classText(className);
        const utils::ScopedBstr methodText(method);
        utils::ComReference<IWbemClassObject> definition;
        services->GetObject(classText.get(), 0, &context, definition.out(), nullptr);
        utils::ComReference<IWbemClassObject> signature;
        definition->GetMethod(methodText.get(), 0, signature.out(), nullptr);
        utils::ComReference<IWbemClassObject> arguments;
        signature->SpawnInstance(0, arguments.out());
        return send([&](IWbemObjectSink* sink) {
            return provider->ExecMethodAsync(text.get(), methodText.get(), 0, &context, arguments.get(), sink);
        });
    }

    ComApartment apartment;
    support::LogCapture log{1};
    support::CallLog calls;
    support::FakeContext context{calls};
    support::CallContext call{calls};
    support::ProviderModule module;
    wmihost::ClassRepository repository;
    const wmihost::Namespace* own = nullptr;
    wmihost::ComPtr<wmihost::NamespaceServices> services;
    utils::ComReference<IWbemServices> provider;

private:
    template <class Request>
    static Answer send(Request request)
    {
        const auto response = std::make_shared<wmihost::Response>(nullptr);
        const auto sink = wmihost::ComPtr<wmihost::ResponseSink>::adopt(new wmihost::ResponseSink(response));
        const HRESULT status = request(sink.get());
        EXPECT_EQ(response->status(), status);
        return {status, response->takeObjects()};
    }
};

}  // namespace requests
