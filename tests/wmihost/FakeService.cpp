#include "tests/wmihost/FakeService.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/com/RefusingServices.h"
#include "wmihost/com/Variant.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Rows = std::vector<ComPtr<IWbemClassObject>>;
// Fills the rows that an operation delivers, and returns its status.
using Work = std::function<HRESULT(Rows&)>;

class RowEnumerator final : public ComObject<IEnumWbemClassObject>
{
public:
    explicit RowEnumerator(Rows rows) : m_rows(std::move(rows)) {}

    HRESULT STDMETHODCALLTYPE Reset() override { return code(WBEM_E_INVALID_OPERATION); }
    HRESULT STDMETHODCALLTYPE Next(LONG, ULONG count, IWbemClassObject** objects, ULONG* returned) override
    {
        *returned = 0;
        while (*returned < count && m_next < m_rows.size()) {
            objects[(*returned)++] = ComPtr<IWbemClassObject>(m_rows[m_next++]).detach();
        }
        return *returned == count ? code(WBEM_S_NO_ERROR) : code(WBEM_S_FALSE);
    }
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return code(WBEM_E_NOT_SUPPORTED); }
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject**) override { return code(WBEM_E_NOT_SUPPORTED); }
    HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return code(WBEM_E_NOT_SUPPORTED); }

private:
    Rows m_rows;
    std::size_t m_next = 0;
};

class FakeServices final : public RefusingServices
{
public:
    FakeServices(FakeServiceBehaviour& behaviour, const Namespace& nameSpace)
        : m_behaviour(behaviour), m_namespace(nameSpace)
    {
    }

    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG, IWbemContext*, IWbemClassObject** object,
                                        IWbemCallResult**) override
    {
        return answer("GetObject", viewOf(path), object, [&](Rows& rows) { return get(viewOf(path), rows); });
    }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR path, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        return report("GetObjectAsync", viewOf(path), sink, [&](Rows& rows) { return get(viewOf(path), rows); });
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject** rows) override
    {
        return enumerate("CreateClassEnum", L"", rows, [&](Rows& all) { return classes(all); });
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        return report("CreateClassEnumAsync", L"", sink, [&](Rows& all) { return classes(all); });
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR name, LONG flags, IWbemContext*,
                                                 IEnumWbemClassObject** rows) override
    {
        return enumerate("CreateInstanceEnum", viewOf(name), rows,
                         [&](Rows& all) { return instances(viewOf(name), flags, all); });
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR name, LONG flags, IWbemContext*,
                                                      IWbemObjectSink* sink) override
    {
        return report("CreateInstanceEnumAsync", viewOf(name), sink,
                      [&](Rows& all) { return instances(viewOf(name), flags, all); });
    }
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR, BSTR text, LONG, IWbemContext*, IEnumWbemClassObject** rows) override
    {
        return enumerate("ExecQuery", viewOf(text), rows, [&](Rows& all) { return query(viewOf(text), all); });
    }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(BSTR, BSTR text, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        return report("ExecQueryAsync", viewOf(text), sink, [&](Rows& all) { return query(viewOf(text), all); });
    }
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* object, LONG flags, IWbemContext*,
                                          IWbemCallResult**) override
    {
        return answer("PutInstance", textOf(*object, L"__RELPATH"), nullptr,
                      [&](Rows&) { return put(*object, flags); });
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* object, LONG flags, IWbemContext*,
                                               IWbemObjectSink* sink) override
    {
        return report("PutInstanceAsync", textOf(*object, L"__RELPATH"), sink,
                      [&](Rows&) { return put(*object, flags); });
    }
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR path, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return answer("DeleteInstance", viewOf(path), nullptr, [&](Rows&) { return remove(viewOf(path)); });
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR path, LONG, IWbemContext*, IWbemObjectSink* sink) override
    {
        return report("DeleteInstanceAsync", viewOf(path), sink, [&](Rows&) { return remove(viewOf(path)); });
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(BSTR path, BSTR method, LONG, IWbemContext*, IWbemClassObject* in,
                                         IWbemClassObject** out, IWbemCallResult**) override
    {
        return answer("ExecMethod", viewOf(method), out,
                      [&](Rows& rows) { return run(viewOf(path), viewOf(method), in, rows); });
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR path, BSTR method, LONG, IWbemContext*, IWbemClassObject* in,
                                              IWbemObjectSink* sink) override
    {
        return report("ExecMethodAsync", viewOf(method), sink,
                      [&](Rows& rows) { return run(viewOf(path), viewOf(method), in, rows); });
    }

private:
    bool refuses(const std::string& operation) const { return m_behaviour.refused.contains(operation); }

    // Records the call. Works unless the behaviour refuses the operation or lets it fail.
    HRESULT perform(const std::string& operation, std::wstring_view what, const Work& work, Rows& rows)
    {
        m_behaviour.calls.push_back(operation + (what.empty() ? "" : " " + toUtf8(what)));
        return refuses(operation)                        ? code(WBEM_E_FAILED)
               : m_behaviour.failing.contains(operation) ? m_behaviour.failure
                                                         : work(rows);
    }

    HRESULT answer(const std::string& operation, std::wstring_view what, IWbemClassObject** object, const Work& work)
    {
        Rows rows;
        const HRESULT result = perform(operation, what, work, rows);
        if (object != nullptr) {
            *object = rows.empty() ? nullptr : rows.front().detach();
        }
        return result;
    }

    HRESULT enumerate(const std::string& operation, std::wstring_view what, IEnumWbemClassObject** enumerator,
                      const Work& work)
    {
        Rows rows;
        const HRESULT result = perform(operation, what, work, rows);
        *enumerator = SUCCEEDED(result) ? new RowEnumerator(std::move(rows)) : nullptr;
        return result;
    }

    HRESULT report(const std::string& operation, std::wstring_view what, IWbemObjectSink* sink, const Work& work)
    {
        Rows rows;
        const HRESULT result = perform(operation, what, work, rows);
        if (refuses(operation)) {
            return result;
        }
        for (const auto& row : rows) {
            IWbemClassObject* object = row.get();
            sink->Indicate(1, &object);
        }
        sink->SetStatus(WBEM_STATUS_COMPLETE, result, nullptr, nullptr);
        return S_OK;
    }

    ComPtr<IWbemClassObject> classObject(const ClassPointer& definition) const
    {
        if (!m_behaviour.withoutQualifiers) {
            return ClassObject::ofClass(definition);
        }
        ClassDefinition plain = *definition;
        plain.qualifiers.clear();
        for (Property& property : plain.properties) {
            property.qualifiers.clear();
        }
        return ClassObject::ofClass(std::make_shared<const ClassDefinition>(std::move(plain)));
    }

    HRESULT get(std::wstring_view path, Rows& rows) const
    {
        const ObjectPath parsed = ObjectPath::parse(path);
        if (!parsed.isInstance()) {
            const ClassPointer definition = m_namespace.findClass(parsed.className);
            if (!definition) {
                return code(WBEM_E_NOT_FOUND);
            }
            rows.push_back(classObject(definition));
            return code(WBEM_S_NO_ERROR);
        }
        const auto found = find(path);
        if (found == m_behaviour.instances.end()) {
            return code(WBEM_E_NOT_FOUND);
        }
        ComPtr<IWbemClassObject> copy;
        (*found)->Clone(copy.put());
        rows.push_back(std::move(copy));
        return code(WBEM_S_NO_ERROR);
    }

    HRESULT classes(Rows& rows) const
    {
        for (const ClassPointer& definition : m_namespace.classes()) {
            rows.push_back(classObject(definition));
        }
        return code(WBEM_S_NO_ERROR);
    }

    // For a class that the namespace lacks, returns no rows and no failure.
    HRESULT instances(std::wstring_view className, LONG flags, Rows& rows) const
    {
        const bool exactly = (flags & WBEM_FLAG_SHALLOW) != 0;
        for (const auto& instance : m_behaviour.instances) {
            if (exactly ? sameName(textOf(*instance.get(), L"__CLASS"), className)
                        : instance->InheritsFrom(std::wstring(className).c_str()) == WBEM_S_NO_ERROR)
            {
                rows.push_back(instance);
            }
        }
        return code(WBEM_S_NO_ERROR);
    }

    HRESULT query(std::wstring_view text, Rows& rows) const
    {
        rows = m_behaviour.execQuery(text);
        return code(WBEM_S_NO_ERROR);
    }

    HRESULT put(IWbemClassObject& object, LONG flags)
    {
        if ((flags & WBEM_FLAG_UPDATE_ONLY) == 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const auto found = find(textOf(object, L"__RELPATH"));
        if (found == m_behaviour.instances.end()) {
            return code(WBEM_E_NOT_FOUND);
        }
        ComPtr<IWbemClassObject> copy;
        object.Clone(copy.put());
        *found = std::move(copy);
        return code(WBEM_S_NO_ERROR);
    }

    HRESULT remove(std::wstring_view path)
    {
        const auto found = find(path);
        if (found == m_behaviour.instances.end()) {
            return code(WBEM_E_NOT_FOUND);
        }
        m_behaviour.instances.erase(found);
        return code(WBEM_S_NO_ERROR);
    }

    HRESULT run(std::wstring_view path, std::wstring_view name, IWbemClassObject* in, Rows& rows) const
    {
        const ClassPointer definition = m_namespace.findClass(ObjectPath::parse(path).className);
        const Method* method = definition ? definition->findMethod(name) : nullptr;
        if (method == nullptr) {
            return code(WBEM_E_INVALID_METHOD);
        }
        auto out = method->out ? ClassObject::ofInstance(InstanceData(method->out)) : ComPtr<IWbemClassObject>();
        const HRESULT result = m_behaviour.execMethod(path, name, in, out.get());
        if (SUCCEEDED(result) && out) {
            rows.push_back(std::move(out));
        }
        return result;
    }

    Rows::iterator find(std::wstring_view path) const
    {
        return std::find_if(m_behaviour.instances.begin(), m_behaviour.instances.end(), [&](const auto& instance) {
            return sameName(textOf(*instance.get(), L"__RELPATH"), ObjectPath::parse(path).relative);
        });
    }

    FakeServiceBehaviour& m_behaviour;
    const Namespace& m_namespace;
};

class FakeLocator final : public ComObject<IWbemLocator>
{
public:
    FakeLocator(FakeServiceBehaviour& behaviour, const ClassRepository& repository)
        : m_behaviour(behaviour), m_repository(repository)
    {
    }

    HRESULT STDMETHODCALLTYPE ConnectServer(const BSTR resource, const BSTR, const BSTR, const BSTR, LONG, const BSTR,
                                            IWbemContext*, IWbemServices** services) override
    {
        const Namespace* nameSpace = m_repository.findNamespace(viewOf(resource));
        if (nameSpace == nullptr) {
            return code(WBEM_E_INVALID_NAMESPACE);
        }
        *services = new FakeServices(m_behaviour, *nameSpace);
        return code(WBEM_S_NO_ERROR);
    }

private:
    FakeServiceBehaviour& m_behaviour;
    const ClassRepository& m_repository;
};

}  // namespace

FakeServiceScope::FakeServiceScope(FakeServiceBehaviour& behaviour, const ClassRepository& repository)
    : m_class(CLSID_WbemLocator, [&] { return ComPtr<IUnknown>::adopt(new FakeLocator(behaviour, repository)); })
{
}

}  // namespace wmihost
