// Replaces Windows' schtasks.exe in a Wine prefix: writes the arguments of each call as a line into
// C:\schtasks.log. Exits with 1 if C:\schtasks-fails exists, otherwise with 0.

#include <windows.h>

#include <fstream>
#include <string>

int main(int argc, char** argv)
{
    std::ofstream log("C:\\schtasks.log", std::ios::app);
    for (int i = 1; i < argc; ++i) {
        log << (i == 1 ? "" : " ") << argv[i];
    }
    log << "\n";
    return GetFileAttributesA("C:\\schtasks-fails") == INVALID_FILE_ATTRIBUTES ? 0 : 1;
}
