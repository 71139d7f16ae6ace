#include <windows.h>

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

namespace {

// The file is in the folder of this program.
std::string pathOf(const std::string& file)
{
    std::array<char, MAX_PATH> own{};
    GetModuleFileNameA(nullptr, own.data(), static_cast<DWORD>(own.size()));
    const std::string path = own.data();
    return path.substr(0, path.rfind('\\') + 1) + file;
}

// The text that the event viewer shows for an event: the message file's text of that id, with its insertions.
std::string render(DWORD eventId, const char* insert)
{
    const HMODULE module =
        LoadLibraryExA(pathOf("ZerixDRAVEv2Provider.dll").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (module == nullptr) {
        return "(no module)";
    }
    std::array<DWORD_PTR, 1> inserts{reinterpret_cast<DWORD_PTR>(insert)};
    std::array<char, 1024> text{};
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, module, eventId, 0, text.data(),
                       static_cast<DWORD>(text.size()), reinterpret_cast<va_list*>(inserts.data()));
    FreeLibrary(module);
    return std::string(text.data(), length);
}

class VersionResource : public testing::TestWithParam<std::tuple<const char*, const char*, DWORD>>
{
protected:
    VersionResource()
    {
        const std::string path = pathOf(std::get<0>(GetParam()));
        DWORD ignored = 0;
        m_block.resize(GetFileVersionInfoSizeA(path.c_str(), &ignored));
        GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(m_block.size()), m_block.data());
    }

    std::string text(const std::string& name)
    {
        void* value = nullptr;
        UINT length = 0;
        const std::string key = "\\StringFileInfo\\040904B0\\" + name;
        return VerQueryValueA(m_block.data(), key.c_str(), &value, &length) ? static_cast<const char*>(value)
                                                                            : "(missing)";
    }

    VS_FIXEDFILEINFO numbers()
    {
        void* value = nullptr;
        UINT length = 0;
        return VerQueryValueA(m_block.data(), "\\", &value, &length) ? *static_cast<VS_FIXEDFILEINFO*>(value)
                                                                     : VS_FIXEDFILEINFO{};
    }

private:
    std::vector<char> m_block;
};

}  // namespace

TEST(EventMessages, IdZero_rendersTheLineAsItIs)
{
    EXPECT_EQ(render(0, "ZerixDRAVEv2: File:1:function: 100%1 %n %%x"),
              "ZerixDRAVEv2: File:1:function: 100%1 %n %%x\r\n");
    EXPECT_EQ(render(0, "line\n"), "line\n\r\n");
}

TEST(EventMessages, OtherId_hasNoText)
{
    EXPECT_EQ(render(1, "message"), "");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
}

TEST_P(VersionResource, Module_namesMakerProductAndVersion)
{
    EXPECT_EQ(text("CompanyName"), "Vexal");
    EXPECT_EQ(text("ProductName"), "DRAVEv2 Provider");
    EXPECT_EQ(text("FileVersion"), "2.0.1.10");
    EXPECT_EQ(text("ProductVersion"), "2.0.1.10");
    EXPECT_EQ(text("OriginalFilename"), std::get<0>(GetParam()));
    EXPECT_EQ(text("FileDescription"), std::get<1>(GetParam()));
    const VS_FIXEDFILEINFO info = numbers();
    EXPECT_EQ(info.dwFileVersionMS, 0x00020000U);
    EXPECT_EQ(info.dwFileVersionLS, 0x0001000AU);
    EXPECT_EQ(info.dwProductVersionMS, 0x00020000U);
    EXPECT_EQ(info.dwProductVersionLS, 0x0001000AU);
    EXPECT_EQ(info.dwFileType, std::get<2>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    OurModules, VersionResource,
    testing::Values(std::tuple("ZerixDRAVEv2Provider.dll", "DRAVEv2 Provider for Vexal(R) Ethernet Adapters", VFT_DLL),
                    std::tuple("ZerixCimCore.dll", "Object broker of the DRAVEv2 Provider", VFT_DLL),
                    std::tuple("ZerixRuntime.dll", "C++ run time of the DRAVEv2 Provider", VFT_DLL),
                    std::tuple("ZerixSetupAction.exe", "Setup action of the DRAVEv2 Provider", VFT_APP),
                    std::tuple("wmihost.exe", "Command line of the DRAVEv2 Provider", VFT_APP)),
    [](const auto& instance) {
        const std::string file = std::get<0>(instance.param);
        return file.substr(0, file.find('.'));
    });
