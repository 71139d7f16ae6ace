#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

#include "Utils/ProcessEnd.h"
#include "requests/RequestTest.h"

// What the built DLL leaves in memory, and when it may be unloaded.
namespace {

// Counts the blocks that the provider has allocated and not freed while its imports are hooked. It recognises only
// those that hold an object with virtual functions of the provider: singletons, converters, properties.
struct Blocks
{
    std::mutex mutex;
    std::map<void*, std::size_t> live;
};

// Never destroyed, because the provider frees memory after this program's statics have been destroyed.
Blocks& blocks()
{
    static Blocks& instance = *new Blocks;
    return instance;
}

void* countNew(std::size_t size)
{
    void* const block = ::operator new(size);
    const std::lock_guard guard(blocks().mutex);
    blocks().live[block] = size;
    return block;
}

void countSizedDelete(void* block, std::size_t)
{
    {
        const std::lock_guard guard(blocks().mutex);
        if (blocks().live.erase(block) != 0 && utils::processIsEnding()) {
            // Only a singleton can be freed this late, and that would be an error.
            TerminateProcess(GetCurrentProcess(), 42);
        }
    }
    ::operator delete(block);
}

// The number of live blocks that begin with a pointer into the image from `base` on.
int objectsOf(const std::byte* base, std::size_t size)
{
    const std::lock_guard guard(blocks().mutex);
    int count = 0;
    for (const auto& [block, blockSize] : blocks().live) {
        if (blockSize >= sizeof(void*)) {
            const auto* const table = *static_cast<const std::byte* const*>(block);
            count += table >= base && table < base + size ? 1 : 0;
        }
    }
    return count;
}

std::size_t imageSize(HMODULE module)
{
    const auto* const base = reinterpret_cast<const std::byte*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    return reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew)->OptionalHeader.SizeOfImage;
}

// The provider after one request of each kind, so that all its singletons exist, and the count of its blocks.
class UsedModule
{
public:
    UsedModule() : m_base(reinterpret_cast<const std::byte*>(m_module->handle())), m_size(imageSize(m_module->handle()))
    {
        support::CallLog calls;
        support::FakeBroker broker(calls);
        support::FakeNamespace wmiNamespace(calls);
        support::FakeContext context(calls);
        support::FakeSink sink(calls);
        support::FakeClassObject object(calls, "object");
        *object.path.address() = samples::bstr("Zerix_X.k=1");
        const support::CallContext call(calls);
        m_module->useTheTestsBroker();
        // The hooks are never removed; they end with the import table that contains them.
        new support::ImportHook("_Znwy", &countNew, m_module->handle());
        new support::ImportHook("_ZdlPvy", &countSizedDelete, m_module->handle());
        utils::ComReference<IWbemServices> provider(m_module->createProvider());
        utils::ComReference<IWbemProviderInit> init;
        provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out()));
        init->Initialize(nullptr, 0, nullptr, nullptr, &wmiNamespace, &context, nullptr);
        const utils::ScopedBstr path("Zerix_ConcreteJob.k=1");
        EXPECT_EQ(support::hex(provider->GetObjectAsync(path.get(), 0, &context, &sink)), "0x80041002");
        EXPECT_EQ(provider->PutInstanceAsync(&object, WBEM_FLAG_UPDATE_ONLY, &context, &sink), 0);
        EXPECT_EQ(support::hex(provider->DeleteInstanceAsync(path.get(), 0, &context, &sink)), "0x80041002");
    }

    int liveObjects() const { return objectsOf(m_base, m_size); }
    const support::ProviderModule& module() const { return *m_module; }
    void unload() { m_module.reset(); }

private:
    std::unique_ptr<support::ProviderModule> m_module = std::make_unique<support::ProviderModule>();
    const std::byte* m_base;
    std::size_t m_size;
};

// The converter with its eleven type converters, the modifier and the remover.
constexpr int OBJECTS_OF_SINGLETONS = 14;

TEST(DllLifetimeTest, Singletons_goWithTheModule)
{
    const ComApartment apartment;
    UsedModule used;
    EXPECT_EQ(used.liveObjects(), OBJECTS_OF_SINGLETONS);
    EXPECT_EQ(used.module().canUnloadNow(), S_OK);
    used.unload();
    ASSERT_EQ(GetModuleHandleA("ZerixDRAVEv2Provider.dll"), nullptr);
    EXPECT_EQ(used.liveObjects(), 0);
}

TEST(DllLifetimeDeathTest, EndingProcess_keepsTheSingletons)
{
    EXPECT_EXIT(
        {
            const ComApartment apartment;
            // Stays loaded until the end, as in a host that never unloads it.
            const auto* const used = new UsedModule;
            std::exit(used->liveObjects() == OBJECTS_OF_SINGLETONS ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(DllLifetimeTest, Module_mayGoWithoutProviderAndLock)
{
    const support::ProviderModule module;
    EXPECT_EQ(module.canUnloadNow(), S_OK);
    utils::ComReference<IClassFactory> factory;
    ASSERT_EQ(module.classObject(CLSID{0xD39A94C6, 0x35D2, 0x4B40, {0xBB, 0x6A, 0x56, 0xE2, 0x79, 0x95, 0x10, 0x17}},
                                 IID_IClassFactory, reinterpret_cast<void**>(factory.out())),
              S_OK);
    EXPECT_EQ(module.canUnloadNow(), S_OK);
    utils::ComReference<IUnknown> provider;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(provider.out())), S_OK);
    EXPECT_EQ(module.canUnloadNow(), S_FALSE);
    provider.reset();
    EXPECT_EQ(module.canUnloadNow(), S_OK);
    factory->LockServer(TRUE);
    EXPECT_EQ(module.canUnloadNow(), S_FALSE);
    factory->LockServer(FALSE);
    EXPECT_EQ(module.canUnloadNow(), S_OK);
    void* untouched = &provider;
    EXPECT_EQ(support::hex(module.classObject(CLSID_WbemLocator, IID_IClassFactory, &untouched)), "0x80004005");
    EXPECT_EQ(untouched, &provider);
}

TEST(DllLifetimeTest, UnloadedModule_loadsAgain)
{
    for (int round = 0; round < 3; ++round) {
        {
            const support::ProviderModule module;
            utils::ComReference<IWbemServices> provider(module.createProvider());
            EXPECT_EQ(module.canUnloadNow(), S_FALSE);
        }
        EXPECT_EQ(GetModuleHandleA("ZerixDRAVEv2Provider.dll"), nullptr);
    }
}

}  // namespace
