#pragma once

#include "tests/wmihost/CommandTest.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {

// Helps to test commands with many instances: the provider serves the instances in root\test that the MOF declares.
class ServedInstances : public CommandTest
{
protected:
    void serve(std::string_view text)
    {
        addToMof(text);
        compileMofFile(mof, m_repository);
        behaviour.enumerate = [this](IWbemServices&, std::wstring_view name, IWbemContext*, IWbemObjectSink* sink) {
            for (const InstanceData* instance : served().instancesOf(name)) {
                deliver(sink, ClassObject::ofInstance(*instance));
            }
            return finish(sink);
        };
        behaviour.get = [this](IWbemServices&, std::wstring_view path, IWbemObjectSink* sink) {
            const InstanceData* instance = served().findInstance(path);
            if (instance == nullptr) {
                return finish(sink, code(WBEM_E_NOT_FOUND));
            }
            deliver(sink, ClassObject::ofInstance(*instance));
            return finish(sink);
        };
    }

    // Replaces the instance with the same keys.
    void keep(IWbemClassObject& object)
    {
        Bstr text;
        EXPECT_EQ(object.GetObjectText(0, text.put()), 0);
        compileMofText("#pragma namespace(\"root\\\\test\")\n" + toUtf8(text.view()), "kept.mof", m_repository);
    }
    void drop(std::wstring_view path) { m_repository.openNamespace(L"root\\test").removeInstance(path); }

private:
    const Namespace& served() const { return *m_repository.findNamespace(L"root\\test"); }

    ClassRepository m_repository;
};

}  // namespace wmihost
