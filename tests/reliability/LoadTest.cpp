#include "reliability/Clients.h"
#include "reliability/RunTime.h"
#include "requests/LiveProvider.h"

// Eight clients share one provider object with the real broker. They make every kind of request, start and delete jobs,
// and change settings. Every answer is checked. If a request does not return, the test prints what every client was
// doing.
namespace {

using reliability::Work;

std::string complaint(const wmihost::RequestResult& result, HRESULT expected)
{
    if (!result.exception.empty()) {
        return "threw " + result.exception;
    }
    return result.status == expected ? "" : "status " + std::to_string(static_cast<unsigned>(result.status));
}

class LoadTest : public requests::LiveProvider
{
protected:
    // Every object must be of its class and have a path, and the number of objects must be that of the idle machine.
    Work listing(const char* name, std::wstring className)
    {
        const wmihost::ProviderSession& provider = session(className);
        const std::size_t expected = provider.enumerate(className, {}).objects.size();
        return {name, [className, expected, &provider]() -> std::string {
                    const wmihost::RequestResult result = provider.enumerate(className, {});
                    for (const auto& object : result.objects) {
                        if (wmihost::textOf(*object.get(), L"__CLASS") != className ||
                            wmihost::textOf(*object.get(), L"__RELPATH").empty()) {
                            return "an object without its class or path";
                        }
                    }
                    if (result.objects.size() != expected) {
                        return std::to_string(result.objects.size()) + " objects instead of " +
                               std::to_string(expected);
                    }
                    return complaint(result, WBEM_S_NO_ERROR);
                }};
    }

    // Each request has arguments of its own, as WMI gives them: the provider moves the object's position as it reads.
    Work calling(const char* name, const std::wstring& path, const wchar_t* className, const wchar_t* method)
    {
        return {name, [this, path, className, method, &provider = session(className)] {
                    const auto arguments = nullArguments(className, method);
                    return complaint(provider.execMethod(path, method, arguments.get(), {}), WBEM_S_NO_ERROR);
                }};
    }
};

TEST_F(LoadTest, EightClients_getTheirAnswers)
{
    const wmihost::ProviderSession& provider = session();
    const auto ports = enumerate(L"Zerix_EthernetPort").objects;
    const auto settings = enumerate(L"Zerix_DiagnosticSetting").objects;
    ASSERT_FALSE(ports.empty());
    ASSERT_FALSE(settings.empty());
    const std::wstring portPath = wmihost::textOf(*ports.front().get(), L"__RELPATH");
    const std::wstring settingPath = wmihost::textOf(*settings.front().get(), L"__RELPATH");

    const std::vector<Work> works{
        listing("list ports", L"Zerix_EthernetPort"),
        listing("list endpoints", L"Zerix_IPProtocolEndpoint"),
        listing("list statistics", L"Zerix_EthernetPortStatistics"),
        listing("list identities", L"Zerix_SoftwareIdentity"),
        listing("list settings", L"Zerix_DiagnosticSetting"),
        {"get a setting", [&] { return complaint(provider.get(settingPath, {}), WBEM_S_NO_ERROR); }},
        {"get nothing",
         [&] {
             return complaint(provider.get(L"Zerix_EthernetPort.DeviceID=\"none\"", {}),
                              static_cast<HRESULT>(WBEM_E_NOT_FOUND));
         }},
        {"change a setting",
         [&] {
             const wmihost::RequestResult found = provider.get(settingPath, {});
             return found.objects.empty() ? "no setting" : complaint(provider.put(found.objects.front().get(), {}), 0);
         }},
        calling("restore the defaults", settingPath, L"Zerix_DiagnosticSetting", L"RestoreDefaults"),
        // For a client without arguments, WMI passes no object.
        {"call without arguments",
         [&] {
             return complaint(provider.execMethod(settingPath, L"RestoreDefaults", nullptr, {}),
                              static_cast<HRESULT>(WBEM_E_FAILED));
         }},
        {"delete a port",
         [&] {
             return complaint(provider.remove(L"Zerix_EthernetPort.DeviceID=\"none\"", {}),
                              static_cast<HRESULT>(WBEM_E_NOT_SUPPORTED));
         }},
        // Jobs come and go during the request: a job that another client has deleted is not found.
        {"delete a job",
         [&]() -> std::string {
             const wmihost::RequestResult jobs = provider.enumerate(L"Zerix_ConcreteJob", {});
             if (!jobs.objects.empty()) {
                 const std::wstring path = wmihost::textOf(*jobs.objects.front().get(), L"__RELPATH");
                 const wmihost::RequestResult removed = provider.remove(path, {});
                 if (removed.status != static_cast<HRESULT>(WBEM_E_NOT_FOUND)) {
                     return complaint(removed, WBEM_S_NO_ERROR);
                 }
             }
             return complaint(jobs, WBEM_S_NO_ERROR);
         }},
        {"get a port", [&] { return complaint(provider.get(portPath, {}), WBEM_S_NO_ERROR); }},
        calling("start a job", portPath, L"Zerix_EthernetPort", L"RunLinkDiagnostic"),
    };
    reliability::judge(works, reliability::runClients(works, reliability::runTime()),
                       std::string(ZERIX_TABLES) + "/load.md");
}

}  // namespace
