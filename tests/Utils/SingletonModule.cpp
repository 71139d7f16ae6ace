#include <cstdio>

#include "Utils/Singleton.h"

// A DLL with one lazy and one held singleton. It writes their construction and destruction to standard error.
namespace {

class Reporter
{
public:
    explicit Reporter(const char* name) : m_name(name) { std::fprintf(stderr, "%s made\n", m_name); }
    ~Reporter() { std::fprintf(stderr, "%s deleted\n", m_name); }
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

private:
    const char* m_name;
};

class Lazy : public utils::AutoSingleton<Lazy>
{
public:
    static constexpr const char* qualifiedName = "Lazy";

private:
    Reporter m_reporter{"lazy"};
};

class Held : public utils::AutoSingleton<Held>
{
public:
    static constexpr const char* qualifiedName = "Held";

private:
    Reporter m_reporter{"held"};
};

}  // namespace

template class utils::AutoSingleton<Held>;

extern "C" __declspec(dllexport) void useLazy()
{
    Lazy::getInstance();
}
