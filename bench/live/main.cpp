#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "wmihost/com/Com.h"
#include "wmihost/session/Workspace.h"

// bench_live MOF JSON: enumerates the machine's adapters through the registered provider, end to end through COM, and
// alternately, in the same run, through the platform's own class. Prints one line and writes the figures.
namespace {

using wmihost::ComPtr;

constexpr int RUNS = 7;

struct Delivery
{
    double milliseconds = 0;
    std::size_t instances = 0;
    // The number of values that are not null.
    std::size_t values = 0;
};

std::size_t countValues(IWbemClassObject& object)
{
    std::size_t values = 0;
    object.BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    VARIANT value{};
    while (object.Next(0, nullptr, &value, nullptr, nullptr) == WBEM_S_NO_ERROR) {
        values += value.vt != VT_NULL ? 1 : 0;
        VariantClear(&value);
    }
    object.EndEnumeration();
    return values;
}

// Measures the delivery of the objects, not their counting.
template <class Deliver>
Delivery timed(const Deliver& deliver)
{
    const auto start = std::chrono::steady_clock::now();
    const std::vector<ComPtr<IWbemClassObject>> objects = deliver();
    const auto end = std::chrono::steady_clock::now();
    Delivery result;
    result.milliseconds = std::chrono::duration<double, std::milli>(end - start).count();
    result.instances = objects.size();
    for (const ComPtr<IWbemClassObject>& object : objects) {
        result.values += countValues(*object.get());
    }
    return result;
}

std::vector<ComPtr<IWbemClassObject>> ours(const wmihost::ProviderSession& session)
{
    wmihost::RequestResult result = session.enumerate(L"Zerix_EthernetPort", {});
    if (result.status != WBEM_S_NO_ERROR) {
        throw std::runtime_error("the enumeration failed");
    }
    return std::move(result.objects);
}

ComPtr<IWbemServices> platformServices()
{
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    const BSTR name = SysAllocString(L"ROOT\\CIMV2");
    HRESULT hr = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(locator.put()));
    if (SUCCEEDED(hr)) {
        hr = locator->ConnectServer(name, nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.put());
    }
    SysFreeString(name);
    if (FAILED(hr)) {
        throw std::runtime_error("the platform's WMI does not answer");
    }
    return services;
}

std::vector<ComPtr<IWbemClassObject>> platforms(IWbemServices& services)
{
    const BSTR name = SysAllocString(L"Win32_NetworkAdapter");
    ComPtr<IEnumWbemClassObject> enumeration;
    const HRESULT hr = services.CreateInstanceEnum(name, 0, nullptr, enumeration.put());
    SysFreeString(name);
    if (FAILED(hr)) {
        throw std::runtime_error("the platform's class does not answer");
    }
    std::vector<ComPtr<IWbemClassObject>> objects;
    for (;;) {
        ComPtr<IWbemClassObject> object;
        ULONG count = 0;
        if (enumeration->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.put(), &count) != WBEM_S_NO_ERROR ||
            count == 0) {
            return objects;
        }
        objects.push_back(std::move(object));
    }
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void run(const std::filesystem::path& mof, const std::string& file)
{
    wmihost::Workspace workspace(mof);
    const wmihost::ProviderSession& session = workspace.sessionFor(workspace.findClass(L"Zerix_EthernetPort", L""));
    const ComPtr<IWbemServices> services = platformServices();
    // Warms up: the first requests build data that later ones reuse.
    const Delivery first = timed([&] { return ours(session); });
    const Delivery platformFirst = timed([&] { return platforms(*services.get()); });
    if (first.values == 0 || platformFirst.values == 0) {
        throw std::runtime_error("there are no adapters to compare");
    }
    std::vector<double> provider;
    std::vector<double> platform;
    std::vector<double> ratios;
    for (int i = 0; i < RUNS; ++i) {
        const Delivery left = timed([&] { return ours(session); });
        const Delivery right = timed([&] { return platforms(*services.get()); });
        provider.push_back(left.milliseconds);
        platform.push_back(right.milliseconds);
        ratios.push_back((left.milliseconds / static_cast<double>(left.values)) /
                         (right.milliseconds / static_cast<double>(right.values)));
    }
    std::sort(ratios.begin(), ratios.end());
    const nlohmann::json figures = {{"instances", first.instances},
                                    {"values", first.values},
                                    {"firstMilliseconds", first.milliseconds},
                                    {"milliseconds", median(provider)},
                                    {"platformInstances", platformFirst.instances},
                                    {"platformValues", platformFirst.values},
                                    {"platformMilliseconds", median(platform)},
                                    {"ratioPerValue", ratios[ratios.size() / 2]},
                                    {"leastRatio", ratios.front()},
                                    {"mostRatio", ratios.back()}};
    std::printf("%6zu adapters: %9.1f ms (first %.1f), the platform %9.1f ms for %zu; per value %.2f (%.2f to %.2f)\n",
                first.instances, median(provider), first.milliseconds, median(platform), platformFirst.instances,
                ratios[ratios.size() / 2], ratios.front(), ratios.back());
    std::ofstream out(file);
    out << figures.dump(2) << '\n';
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + file);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: bench_live MOF JSON\n";
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                         EOAC_NONE, nullptr);
    int code = 0;
    try {
        run(argv[1], argv[2]);
    } catch (const std::exception& exception) {
        std::cerr << "bench_live: " << exception.what() << '\n';
        code = 1;
    }
    CoUninitialize();
    return code;
}
