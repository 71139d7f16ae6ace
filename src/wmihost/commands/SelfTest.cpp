#include <functional>

#include "wmihost/com/Guard.h"
#include "wmihost/com/StatusText.h"
#include "wmihost/commands/Requests.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// A failed step of the tour; what() says what went wrong.
class StepFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The tour makes one request of each kind; each builds on the previous one. It leaves no changes: it puts the setting
// back as it was read, and deletes the job that the method starts.
class Tour
{
public:
    Tour(Connection& connection, const CommandOptions& options) : m_connection(connection), m_options(options) {}

    std::string enumerate()
    {
        const ClassTarget target = m_connection.findClass(L"Zerix_EthernetPort", m_options.nameSpace);
        const Objects ports = enumerateInstances(m_connection, target, m_options);
        if (ports.empty()) {
            throw StepFailure("this machine has no network adapter");
        }
        m_port = textOf(*ports.front().get(), L"__RELPATH");
        return std::to_string(ports.size()) + (ports.size() == 1 ? " adapter" : " adapters");
    }

    std::string get()
    {
        const InstanceTarget port = instanceOf(m_port);
        const auto object = getInstance(m_connection, port, m_options);
        const std::wstring path = textOf(*object.get(), L"__RELPATH");
        if (path != m_port) {
            throw StepFailure("asked for " + toUtf8(m_port) + ", got " + toUtf8(path));
        }
        return "the first adapter, " + toUtf8(textOf(*object.get(), L"Name"));
    }

    std::string put()
    {
        const ClassTarget target = m_connection.findClass(L"Zerix_DiagnosticSetting", m_options.nameSpace);
        const Objects settings = enumerateInstances(m_connection, target, m_options);
        if (settings.empty()) {
            throw StepFailure("there is no diagnostic setting");
        }
        const InstanceTarget setting = instanceOf(textOf(*settings.front().get(), L"__RELPATH"));
        const auto before = getInstance(m_connection, setting, m_options);
        putInstance(m_connection, target, before.get(), m_options);
        const auto after = getInstance(m_connection, setting, m_options);
        if (before->CompareTo(WBEM_COMPARISON_INCLUDE_ALL, after.get()) != WBEM_S_SAME) {
            throw StepFailure("an update without a change changed the setting");
        }
        return "the diagnostic setting, unchanged";
    }

    std::string invoke()
    {
        const InstanceTarget port = instanceOf(m_port);
        const Method* method = port.target.definition->findMethod(L"RunLinkDiagnostic");
        if (method == nullptr) {
            throw StepFailure("the class has no method RunLinkDiagnostic");
        }
        const auto out = invokeMethod(m_connection, port, *method, {{L"SampleCount", L"1"}}, m_options);
        if (!out) {
            throw StepFailure("the method delivered no outputs");
        }
        m_job = textOf(*out.get(), L"Job");
        const std::wstring returned = textOf(*out.get(), L"ReturnValue");
        if (returned != L"4096" || m_job.empty()) {
            throw StepFailure("expected a job and the value 4096, got " + toUtf8(returned));
        }
        return "RunLinkDiagnostic started a job";
    }

    std::string remove()
    {
        if (m_job.empty()) {
            throw StepFailure("there is no job to delete");
        }
        const InstanceTarget job = instanceOf(m_job);
        deleteInstance(m_connection, job, m_options);
        if (getIfPresent(m_connection, job, m_options)) {
            throw StepFailure("the job is still there");
        }
        return "the job is gone";
    }

private:
    InstanceTarget instanceOf(const std::wstring& path) const
    {
        if (path.empty()) {
            throw StepFailure("an earlier step delivered no path");
        }
        return m_connection.findInstance(path, m_options.nameSpace);
    }

    Connection& m_connection;
    const CommandOptions& m_options;
    std::wstring m_port;
    std::wstring m_job;
};

}  // namespace

int runSelfTest(Connection& connection, const CommandOptions& options)
{
    Tour tour(connection, options);
    const std::vector<std::pair<std::string, std::function<std::string()>>> steps{
        {"enumerate", [&tour] { return tour.enumerate(); }},
        {"get", [&tour] { return tour.get(); }},
        {"put", [&tour] { return tour.put(); }},
        {"invoke", [&tour] { return tour.invoke(); }},
        {"delete", [&tour] { return tour.remove(); }}};
    Table table({{.heading = "Request", .longTexts = Table::Long::WHOLE},
                 {.heading = "Verdict", .longTexts = Table::Long::WHOLE},
                 {.heading = "Detail", .longTexts = Table::Long::WRAPS}});
    bool passed = true;
    for (const auto& [name, step] : steps) {
        std::string detail;
        bool good = true;
        try {
            detail = step();
        } catch (const RequestError& error) {
            good = false;
            detail = statusText(error.status());
            if (*error.what() != '\0') {
                detail += "; " + std::string(error.what());
            }
        } catch (const StepFailure& failure) {
            good = false;
            detail = failure.what();
        }
        passed = passed && good;
        table.addRow({name, good ? "passed" : "FAILED", visible(detail)});
    }
    writeOut(table.render(lineWidth()));
    return passed ? 0 : 1;
}

}  // namespace wmihost
