#include <filesystem>
#include <fstream>
#include <iostream>

// Stands in for WMI's compiler: notes what it is asked to compile in C:\mofcomp.log, and whether that file is there.
// Fails, with the real one's code for a faulty file, when C:\mofcomp-fails-on holds the file's name.
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
    return found && file.filename() != refused ? 0 : 3;
}
