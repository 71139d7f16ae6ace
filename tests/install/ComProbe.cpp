#include <windows.h>

#include <wbemprov.h>

#include <array>
#include <iomanip>
#include <iostream>

// Creates the provider as any COM client does, from its CLSID alone, and prints where each module was loaded from.
// Exit code 0: the provider was created.

namespace {

constexpr CLSID PROVIDER = {0xD39A94C6, 0x35D2, 0x4B40, {0xBB, 0x6A, 0x56, 0xE2, 0x79, 0x95, 0x10, 0x17}};

void tellModule(const char* name)
{
    std::array<char, MAX_PATH> path{};
    const HMODULE module = GetModuleHandleA(name);
    if (module != nullptr) {
        GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    }
    std::cout << path.data() << '\n';
}

}  // namespace

int main()
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    void* created = nullptr;
    const HRESULT status = CoCreateInstance(PROVIDER, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemProviderInit, &created);
    if (FAILED(status)) {
        std::cout << "0x" << std::hex << std::uppercase << static_cast<unsigned long>(status) << '\n';
        return 1;
    }
    tellModule("ZerixDRAVEv2Provider.dll");
    tellModule("ZerixCimCore.dll");
    tellModule("ZerixRuntime.dll");
    static_cast<IUnknown*>(created)->Release();
    CoUninitialize();
    return 0;
}
