#include "broker/Methods.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "Utils/Utils.h"
#include "broker/classes/ClassNames.h"
#include "broker/model/Names.h"
#include "core/MethodErrors.h"

namespace broker {

namespace {

// Return values that clients know from the class definitions.
constexpr std::uint32_t COMPLETED = 0;
constexpr std::uint32_t NOT_SUPPORTED = 1;
constexpr std::uint32_t FAILED = 4;
constexpr std::uint32_t INVALID_PARAMETER = 5;
constexpr std::uint32_t JOB_STARTED = 4096;
constexpr std::uint32_t INVALID_STATE_TRANSITION = 4097;

// The one input argument of a method; none when it is missing or null. An argument of another name is an error unless
// it is null.
std::optional<std::uint16_t> onlyArgument(core::CimPropertyList& arguments, const char* name)
{
    std::optional<std::uint16_t> result;
    auto iterator = arguments.getIterator();
    while (const core::CimProperty* argument = iterator.next()) {
        if (argument->isNull()) {
            continue;
        }
        if (!sameName(argument->getName(), name)) {
            throw wa::EInvalidParameter("Unknown argument " + argument->getName());
        }
        if (argument->getType() != core::CimProperty::EPT_UINT16) {
            throw wa::EInvalidParameter(
                utils::format("Argument %s is of type %d", argument->getName().c_str(), argument->getType()));
        }
        result = static_cast<const core::CimPropertyUint16*>(argument)->getValue();
    }
    return result;
}

std::uint16_t requiredArgument(core::CimPropertyList& arguments, const char* name)
{
    const std::optional<std::uint16_t> value = onlyArgument(arguments, name);
    if (!value) {
        throw wa::EInvalidParameter(std::string("Argument ") + name + " is missing");
    }
    return *value;
}

void expectNoArgument(core::CimPropertyList& arguments)
{
    onlyArgument(arguments, "");
}

// Sets the output that the list holds, or adds one, which a list that owns its elements then owns.
void setOutput(core::CimPropertyList& outputs, const char* name, const std::optional<std::string>& value)
{
    core::CimProperty* output = outputs.findProperty(name);
    if (output == nullptr || output->getType() != core::CimProperty::EPT_STRING) {
        auto added = std::make_unique<core::CimPropertyString>(name);
        outputs.add(added.get());
        output = added.release();
    }
    if (value) {
        static_cast<core::CimPropertyString*>(output)->setValue(*value);
    } else {
        output->setNull();
    }
}

}  // namespace

const std::array<Methods::Method, 5> Methods::all{{
    {ETHERNET_PORT, "RunLinkDiagnostic", &Methods::runLinkDiagnostic},
    {ETHERNET_PORT, "RequestStateChange", &Methods::requestPortState},
    {CONCRETE_JOB, "RequestStateChange", &Methods::requestJobState},
    {CONCRETE_JOB, "GetError", &Methods::getError},
    {DIAGNOSTIC_SETTING, "RestoreDefaults", &Methods::restoreDefaults},
}};

std::uint32_t Methods::invoke(Workspace& workspace, const std::string& methodName, const MethodCall& call)
{
    const std::string className = call.target.instance->getClassName();
    const auto* const method = std::find_if(all.begin(), all.end(), [&className, &methodName](const Method& candidate) {
        return className == candidate.className && sameName(candidate.name, methodName);
    });
    if (method == all.end()) {
        throw wa::EMethodNotSupported(className + " has no method " + methodName);
    }
    return (this->*method->run)(workspace, call);
}

std::uint32_t Methods::runLinkDiagnostic(Workspace& workspace, const MethodCall& call)
{
    const std::optional<std::uint16_t> argument = onlyArgument(call.inArguments, "SampleCount");
    const DiagnosticSetting setting = m_settings.diagnosticSetting();
    const std::uint16_t sampleCount = argument.value_or(setting.sampleCount);
    if (!DiagnosticSetting::SAMPLE_COUNTS.contains(sampleCount)) {
        throw wa::EInvalidParameter(utils::format("Argument SampleCount is %d", sampleCount));
    }
    const std::optional<std::string> id =
        m_jobs.startDiagnostic(workspace.adapterOf(call.target), setting, sampleCount);
    if (!id) {
        return FAILED;
    }
    call.job = workspace.job(*id);
    return JOB_STARTED;
}

std::uint32_t Methods::requestPortState(Workspace& workspace, const MethodCall& call)
{
    constexpr std::uint16_t ENABLED = 2;
    constexpr std::uint16_t DISABLED = 3;
    const std::uint16_t requested = requiredArgument(call.inArguments, "RequestedState");
    if (requested != ENABLED && requested != DISABLED) {
        return INVALID_PARAMETER;
    }
    const AdministrativeState state = requested == ENABLED ? AdministrativeState::UP : AdministrativeState::DOWN;
    switch (m_adapters.setAdministrativeState(workspace.adapterOf(call.target), state)) {
        case StateChange::DONE:
            return COMPLETED;
        case StateChange::NOT_SUPPORTED:
            return NOT_SUPPORTED;
        default:
            return FAILED;
    }
}

std::uint32_t Methods::requestJobState(Workspace& /*workspace*/, const MethodCall& call)
{
    constexpr std::uint16_t TERMINATE = 4;
    constexpr std::uint16_t KILL = 5;
    const std::uint16_t requested = requiredArgument(call.inArguments, "RequestedState");
    if (requested != TERMINATE && requested != KILL) {
        return INVALID_PARAMETER;
    }
    const JobState state = requested == TERMINATE ? JobState::TERMINATED : JobState::KILLED;
    return m_jobs.end(call.target.id, state) ? COMPLETED : INVALID_STATE_TRANSITION;
}

std::uint32_t Methods::getError(Workspace& /*workspace*/, const MethodCall& call)
{
    expectNoArgument(call.inArguments);
    setOutput(call.outArguments, "Error", m_jobs.error(call.target.id));
    return COMPLETED;
}

std::uint32_t Methods::restoreDefaults(Workspace& /*workspace*/, const MethodCall& call)
{
    expectNoArgument(call.inArguments);
    return m_settings.erase(DiagnosticSetting::KEY) ? COMPLETED : FAILED;
}

}  // namespace broker
