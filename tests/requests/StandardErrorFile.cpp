#include "requests/StandardErrorFile.h"

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

StandardErrorFile::StandardErrorFile()
    : m_path("stderr" + std::to_string(_getpid()) + ".tmp"),
      m_file(_open(m_path.c_str(), _O_CREAT | _O_TRUNC | _O_RDWR | _O_BINARY, _S_IREAD | _S_IWRITE)),
      m_saved(_dup(2))
{
    if (m_file < 0 || m_saved < 0 || _dup2(m_file, 2) != 0) {
        throw std::runtime_error("cannot redirect standard error");
    }
    setvbuf(stderr, nullptr, _IONBF, 0);
}

StandardErrorFile::~StandardErrorFile()
{
    _dup2(m_saved, 2);
    _close(m_saved);
    _close(m_file);
    std::remove(m_path.c_str());
}

std::vector<std::string> StandardErrorFile::lines() const
{
    std::vector<std::string> result;
    std::ifstream file(m_path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        result.push_back(line);
    }
    return result;
}
