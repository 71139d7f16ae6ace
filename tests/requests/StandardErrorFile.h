#pragma once

#include <string>
#include <vector>

// While it lives, standard error goes to a file. The C run time is one for the program and the DLLs.
class StandardErrorFile
{
public:
    StandardErrorFile();
    ~StandardErrorFile();
    StandardErrorFile(const StandardErrorFile&) = delete;
    StandardErrorFile& operator=(const StandardErrorFile&) = delete;

    // What has been written so far, line by line.
    std::vector<std::string> lines() const;

private:
    std::string m_path;
    int m_file;
    int m_saved;
};
