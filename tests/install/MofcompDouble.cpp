#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

// Replaces WMI's compiler. Records the file that it is asked to compile, and whether it exists, in C:\mofcomp.log. Like
// the real compiler, adds a file with "#pragma autorecover" to WMI's list of files to restore and never removes one.
// Fails with the real exit code for a faulty file when C:\mofcomp-fails-on contains the file's name.
namespace {

constexpr const wchar_t* WMI_KEY = L"SOFTWARE\\Microsoft\\WBEM\\CIMOM";
constexpr const wchar_t* LIST = L"Autorecover MOFs";

std::vector<std::wstring> restoredFiles()
{
    std::wstring text(4096, L'\0');
    DWORD size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    std::vector<std::wstring> files;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, WMI_KEY, LIST, RRF_RT_REG_MULTI_SZ, nullptr, text.data(), &size) ==
        ERROR_SUCCESS) {
        for (const wchar_t* entry = text.c_str(); *entry != L'\0'; entry += files.back().size() + 1) {
            files.emplace_back(entry);
        }
    }
    return files;
}

void restoreLater(const std::wstring& file)
{
    std::vector<std::wstring> files = restoredFiles();
    if (std::find(files.begin(), files.end(), file) != files.end()) {
        return;
    }
    files.push_back(file);
    std::wstring text;
    for (const std::wstring& entry : files) {
        text += entry + L'\0';
    }
    text += L'\0';
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, WMI_KEY, LIST, REG_MULTI_SZ, text.data(),
                    static_cast<DWORD>(text.size() * sizeof(wchar_t)));
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        return 2;
    }
    const std::filesystem::path file = arguments[1];
    const bool found = std::filesystem::exists(file);
    std::ofstream("C:\\mofcomp.log", std::ios::app) << file.filename().string() << (found ? "" : " (missing)") << '\n';

    std::string refused;
    std::ifstream("C:\\mofcomp-fails-on") >> refused;
    if (!found || file.filename() == refused) {
        return 3;
    }
    std::ifstream stream(file);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (text.find("#pragma autorecover") != std::string::npos) {
        restoreLater(file.wstring());
    }
    return 0;
}
