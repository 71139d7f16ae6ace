#pragma once

#include <string>
#include <vector>

// While it lives, standard error goes to a file. The program and the DLLs share one C run time.
class StandardErrorFile
{
public:
    StandardErrorFile();
    ~StandardErrorFile();
    StandardErrorFile(const StandardErrorFile&) = delete;
    StandardErrorFile& operator=(const StandardErrorFile&) = delete;

    // Returns the lines written so far.
    std::vector<std::string> lines() const;

private:
    std::string m_path;
    int m_file;
    int m_saved;
};
