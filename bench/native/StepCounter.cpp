#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// count_steps PROGRAM [ARGUMENT...]: runs a program and counts the instructions that it executes in its marked
// stretches, by single-stepping the thread that marks them. At the end of a stretch it prints one line for each group:
// "NAME<tab>GROUP<tab>COUNT". Instructions of the kernel and of other threads are not counted. The exit code is that of
// the program.
//
// The program marks with a breakpoint instruction, with MAGIC in rax and the address of a text in rdx
// (bench/provider/Steps.h):
//
//     module GROUP FIRST LAST   instructions from the one address up to the other belong to the group
//     call GROUP ADDRESS        so do the instructions that a call of this function executes, in any module
//     begin NAME                start counting
//     end                       stop counting and print
//
// Addresses are hexadecimal. Instructions outside every module belong to the group "rest".
namespace {

constexpr std::uint64_t MAGIC = 0x5a45524958;
constexpr std::size_t LONGEST_TEXT = 256;

[[noreturn]] void fail(const std::string& problem)
{
    throw std::runtime_error(problem + ": " + std::strerror(errno));
}

struct Module
{
    std::uint64_t first;
    std::uint64_t last;
    std::string group;
};

// The stretch that is being counted. It concerns one thread only.
class Stretch
{
public:
    Stretch(pid_t thread, std::string name) : m_thread(thread), m_name(std::move(name)) {}

    pid_t thread() const noexcept { return m_thread; }

    // Counts the instruction that the thread is about to execute.
    void step(const std::vector<Module>& modules, const std::map<std::uint64_t, std::string>& calls,
              std::uint64_t address)
    {
        // A repeated instruction stops after each repetition but counts once.
        if (address == m_last) {
            return;
        }
        m_last = address;
        if (m_call != nullptr && address == m_return) {
            m_call = nullptr;
        }
        if (m_call == nullptr) {
            if (const auto call = calls.find(address); call != calls.end()) {
                m_return = returnAddress();
                m_call = &m_counts[call->second];
            }
        }
        ++*(m_call != nullptr ? m_call : &countOf(modules, address));
    }

    void print() const
    {
        for (const auto& [group, count] : m_counts) {
            std::printf("%s\t%s\t%llu\n", m_name.c_str(), group.c_str(), static_cast<unsigned long long>(count));
        }
        std::fflush(stdout);
    }

private:
    std::uint64_t returnAddress() const
    {
        const auto stack = ptrace(PTRACE_PEEKUSER, m_thread, offsetof(user_regs_struct, rsp), nullptr);
        return static_cast<std::uint64_t>(ptrace(PTRACE_PEEKDATA, m_thread, stack, nullptr));
    }

    std::uint64_t& countOf(const std::vector<Module>& modules, std::uint64_t address)
    {
        const auto holds = [address](const Module& module) { return module.first <= address && address < module.last; };
        if (m_module == nullptr || !holds(*m_module)) {
            const auto found = std::find_if(modules.begin(), modules.end(), holds);
            if (found == modules.end()) {
                return m_counts["rest"];
            }
            m_module = &*found;
            m_count = &m_counts[m_module->group];
        }
        return *m_count;
    }

    pid_t m_thread;
    std::string m_name;
    std::map<std::string, std::uint64_t> m_counts;
    std::uint64_t m_last = 0;
    // The call that is being executed, and its return address.
    std::uint64_t* m_call = nullptr;
    std::uint64_t m_return = 0;
    // The module of the last instruction.
    const Module* m_module = nullptr;
    std::uint64_t* m_count = nullptr;
};

class Tracer
{
public:
    explicit Tracer(pid_t process) : m_process(process)
    {
        int status = 0;
        if (waitpid(process, &status, __WALL) != process || !WIFSTOPPED(status)) {
            fail("the program did not start");
        }
        if (ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL) !=
            0) {
            fail("the program cannot be traced");
        }
        resume(process, 0);
    }

    // Runs until the program ends. Returns its exit code.
    int run()
    {
        for (;;) {
            int status = 0;
            const pid_t thread = waitpid(-1, &status, __WALL);
            if (thread < 0) {
                fail("the program was lost");
            }
            if (WIFSTOPPED(status)) {
                stopped(thread, status);
            } else if (thread == m_process) {
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
        }
    }

private:
    void stopped(pid_t thread, int status)
    {
        const int signal = WSTOPSIG(status);
        if (status >> 16 != 0) {
            // A thread was made, or another program was loaded.
            resume(thread, 0);
        } else if (signal == SIGSTOP && m_known.insert(thread).second) {
            // The first stop of a new thread.
            resume(thread, 0);
        } else if (signal != SIGTRAP) {
            resume(thread, signal);
        } else {
            if (!isStep(thread)) {
                stoppedByItself(thread);
            }
            resume(thread, 0);
        }
    }

    void resume(pid_t thread, int signal) const
    {
        const bool steps = m_stretch != nullptr && m_stretch->thread() == thread;
        // The thread no longer exists if it was killed meanwhile.
        if (ptrace(steps ? PTRACE_SINGLESTEP : PTRACE_CONT, thread, nullptr, signal) != 0 && errno != ESRCH) {
            fail("the program cannot go on");
        }
    }

    // Counts the stop if it is a step and not a mark.
    bool isStep(pid_t thread)
    {
        if (m_stretch == nullptr || m_stretch->thread() != thread) {
            return false;
        }
        const auto address =
            static_cast<std::uint64_t>(ptrace(PTRACE_PEEKUSER, thread, offsetof(user_regs_struct, rip), nullptr));
        if (address == m_behindMark) {
            return false;
        }
        m_stretch->step(m_modules, m_calls, address);
        return true;
    }

    void stoppedByItself(pid_t thread)
    {
        constexpr unsigned long long TRAP_FLAG = 0x100;
        siginfo_t cause{};
        ptrace(PTRACE_GETSIGINFO, thread, nullptr, &cause);
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, thread, nullptr, &registers);
        if (cause.si_code == TRAP_TRACE) {
            // Code that saves the flags while it is stepped would restore the trap flag later and continue stepping.
            registers.eflags &= ~TRAP_FLAG;
            ptrace(PTRACE_SETREGS, thread, nullptr, &registers);
        } else if (registers.rax == MAGIC) {
            m_behindMark = registers.rip;
            obey(thread, textAt(thread, registers.rdx));
        } else {
            throw std::runtime_error("the program stopped at a breakpoint that is not a mark");
        }
    }

    void obey(pid_t thread, const std::string& text)
    {
        std::istringstream in(text);
        std::string word;
        in >> word;
        if (word == "module") {
            Module module{};
            in >> module.group >> std::hex >> module.first >> module.last;
            m_modules.push_back(module);
        } else if (word == "call") {
            std::string group;
            std::uint64_t address = 0;
            in >> group >> std::hex >> address;
            m_calls[address] = group;
        } else if (word == "begin") {
            m_stretch = std::make_unique<Stretch>(thread, text.substr(word.size() + 1));
        } else if (word == "end" && m_stretch != nullptr) {
            m_stretch->print();
            m_stretch.reset();
        } else {
            throw std::runtime_error("the program marks '" + text + "'");
        }
    }

    static std::string textAt(pid_t thread, std::uint64_t address)
    {
        std::array<char, LONGEST_TEXT> text{};
        const iovec local{text.data(), text.size() - 1};
        const iovec remote{reinterpret_cast<void*>(address), text.size() - 1};
        if (process_vm_readv(thread, &local, 1, &remote, 1, 0) < 0) {
            fail("a mark cannot be read");
        }
        return text.data();
    }

    pid_t m_process;
    std::set<pid_t> m_known;
    std::vector<Module> m_modules;
    std::map<std::uint64_t, std::string> m_calls;
    std::uint64_t m_behindMark = 0;
    std::unique_ptr<Stretch> m_stretch;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: count_steps PROGRAM [ARGUMENT...]\n");
        return 2;
    }
    const pid_t process = fork();
    if (process == 0) {
        // Addresses are the same in every run.
        personality(ADDR_NO_RANDOMIZE);
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        execvp(argv[1], argv + 1);
        _exit(127);
    }
    try {
        return Tracer(process).run();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "count_steps: %s\n", exception.what());
        return 1;
    }
}
