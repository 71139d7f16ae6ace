#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "requests/RequestTest.h"

// The exports and imports of the built DLL, read from its headers.
namespace {

using Names = std::set<std::string>;

class ModuleFile
{
public:
    explicit ModuleFile(HMODULE module)
        : m_base(reinterpret_cast<std::byte*>(module)),
          m_headers(at<IMAGE_NT_HEADERS>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew)))
    {
    }

    Names exports() const
    {
        const auto* const table = at<IMAGE_EXPORT_DIRECTORY>(directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
        const auto* const names = at<DWORD>(table->AddressOfNames);
        Names result;
        for (DWORD i = 0; i < table->NumberOfNames; ++i) {
            result.insert(at<char>(names[i]));
        }
        return result;
    }

    // The number of exported functions, with and without a name.
    DWORD exportCount() const
    {
        return at<IMAGE_EXPORT_DIRECTORY>(directory(IMAGE_DIRECTORY_ENTRY_EXPORT))->NumberOfFunctions;
    }

    // The imported functions by DLL, whose name is in lower case.
    std::map<std::string, Names> imports() const
    {
        std::map<std::string, Names> result;
        for (const auto* entry = at<IMAGE_IMPORT_DESCRIPTOR>(directory(IMAGE_DIRECTORY_ENTRY_IMPORT)); entry->Name != 0;
             ++entry)
        {
            std::string dll = at<char>(entry->Name);
            std::transform(dll.begin(), dll.end(), dll.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            for (const auto* name = at<IMAGE_THUNK_DATA>(entry->OriginalFirstThunk); name->u1.AddressOfData != 0;
                 ++name) {
                result[dll].insert(at<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(name->u1.AddressOfData))->Name);
            }
        }
        return result;
    }

private:
    template <class T>
    const T* at(DWORD offset) const
    {
        return reinterpret_cast<const T*>(m_base + offset);
    }

    DWORD directory(int index) const { return m_headers->OptionalHeader.DataDirectory[index].VirtualAddress; }

    const std::byte* m_base;
    const IMAGE_NT_HEADERS* m_headers;
};

TEST(ModuleFileTest, Exports_areTheFourOfAComServer)
{
    const support::ProviderModule module;
    const ModuleFile file(module.handle());
    EXPECT_EQ(file.exports(),
              (Names{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"}));
    EXPECT_EQ(file.exportCount(), 4U);
}

TEST(ModuleFileTest, BrokerLibrary_isNeededForItsTwoNames)
{
    const support::ProviderModule module;
    EXPECT_EQ(ModuleFile(module.handle()).imports()["zerixcimcore.dll"],
              (Names{"_ZN4core12GetCimBrokerEv", "_ZN4core9CimBroker17getInstanceByPathERNS_7CimPathE"}));
}

TEST(ModuleFileTest, EachThread_isReportedToTheModule)
{
    const support::ProviderModule module;
    // Its entry point logs each thread that starts and ends. This call would suppress those lines.
    EXPECT_EQ(ModuleFile(module.handle()).imports()["kernel32.dll"].count("DisableThreadLibraryCalls"), 0U);
}

TEST(ModuleFileTest, CppRunTime_isThePrivateOne)
{
    const support::ProviderModule module;
    const std::map<std::string, Names> imports = ModuleFile(module.handle()).imports();
    // That copy throws and catches exceptions and allocates memory.
    for (const char* const name : {"__cxa_throw", "__cxa_begin_catch", "_Znwy", "__gxx_personality_seh0"}) {
        EXPECT_EQ(imports.at("zerixruntime.dll").count(name), 1U) << name;
    }
}

}  // namespace
