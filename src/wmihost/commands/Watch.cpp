#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <tuple>

#include "wmihost/commands/Output.h"
#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Display.h"
#include "wmihost/terminal/Interrupt.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t BAR_WIDTH = 20;

// The counters of one instance at one time.
struct Sample
{
    std::wstring path;
    std::string label;
    std::vector<unsigned long long> counters;
};

// The counters that a class declares. If it declares none, the numeric properties that the user names.
std::vector<const Property*> countersOf(const ClassDefinition& definition, const CommandOptions& options)
{
    const auto isCounter = [](const Property& p) { return hasQualifier(p.qualifiers, L"Counter"); };
    const bool declared = std::any_of(definition.properties.begin(), definition.properties.end(), isCounter);
    const bool named = !declared && !options.properties.empty();
    std::vector<const Property*> result = shownProperties(definition, options);
    std::erase_if(result, [&](const Property* p) { return named ? !isNumber(*p) : !isCounter(*p); });
    if (result.empty()) {
        throw UsageError("the class " + toUtf8(definition.name) + " has no counters to watch among the properties");
    }
    return result;
}

// The values of the keys that differ between instances. The path, if the class does not say which properties are keys.
std::string labelOf(IWbemClassObject& object, const ClassDefinition& definition)
{
    std::string label;
    for (const Property& property : definition.properties) {
        const bool fixed = property.name.ends_with(L"CreationClassName") || property.name == L"SystemName";
        if (property.isKey() && !fixed) {
            label += (label.empty() ? "" : " ") + displayText(property, valueOf(object, property.name).get());
        }
    }
    return label.empty() ? toUtf8(textOf(object, L"__RELPATH")) : label;
}

std::vector<Sample> takeSamples(Connection& connection, const ClassTarget& target,
                                const std::vector<const Property*>& counters, const CommandOptions& options)
{
    Objects objects = enumerateInstances(connection, target, options);
    applyConditions(objects, *target.definition, options);
    std::vector<Sample> samples;
    for (const auto& object : objects) {
        Sample sample{textOf(*object.get(), L"__RELPATH"), labelOf(*object.get(), *target.definition), {}};
        for (const Property* counter : counters) {
            sample.counters.push_back(parseUnsigned(textOf(*object.get(), counter->name)).value_or(0));
        }
        samples.push_back(std::move(sample));
    }
    return samples;
}

std::string unitOf(const Property& counter)
{
    const std::wstring units = qualifierText(counter.qualifiers, L"Units");
    return sameName(units, L"Bytes") ? "B/s" : "/s";
}

// A counter that runs backwards was reset, and has no rate.
double rateOf(unsigned long long before, unsigned long long now, double seconds)
{
    return now < before ? 0 : static_cast<double>(now - before) / seconds;
}

// A bar for the rate of the first counter, relative to the fastest instance. Empty if nothing moves.
std::string barOf(double rate, double fastest)
{
    const double share = fastest > 0 ? rate / fastest : 0;
    return std::string(static_cast<std::size_t>(std::lround(share * static_cast<double>(BAR_WIDTH))), '#');
}

// An instance and how fast each of its counters rises.
struct Rates
{
    std::string label;
    std::vector<double> perSecond;
};

// The rates between two samples, the fastest instance first.
std::vector<Rates> ratesOf(const std::vector<Sample>& before, const std::vector<Sample>& now, double seconds)
{
    std::map<std::wstring, const Sample*> earlier;
    for (const Sample& sample : before) {
        earlier[sample.path] = &sample;
    }
    std::vector<Rates> result;
    for (const Sample& sample : now) {
        const auto found = earlier.find(sample.path);
        // A new instance is compared with itself, so its rate is 0.
        const Sample& old = found == earlier.end() ? sample : *found->second;
        Rates rates{sample.label, {}};
        for (std::size_t i = 0; i < sample.counters.size(); ++i) {
            rates.perSecond.push_back(rateOf(old.counters[i], sample.counters[i], seconds));
        }
        result.push_back(std::move(rates));
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Rates& a, const Rates& b) { return a.perSecond.front() > b.perSecond.front(); });
    return result;
}

// How many instances the screen has room for, below the headings and above the line that says what is left out.
std::size_t roomFor(std::size_t instances, std::optional<std::size_t> height)
{
    constexpr std::size_t HEADINGS = 2;
    constexpr std::size_t LINES_BELOW = 2;  // that line, and the one of the cursor
    if (!height || HEADINGS + instances + LINES_BELOW <= *height) {
        return instances;
    }
    return std::max<std::size_t>(*height, HEADINGS + LINES_BELOW + 1) - HEADINGS - LINES_BELOW;
}

// "9 more instances, 3 more counters do not fit"; empty if all is shown.
std::string leftOutText(std::size_t instances, std::size_t counters)
{
    std::string text;
    for (const auto& [count, one, many] :
         {std::tuple{instances, "instance", "instances"}, std::tuple{counters, "counter", "counters"}})
    {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " more " + (count == 1 ? one : many);
        }
    }
    return text.empty() ? text : text + (instances + counters == 1 ? " does not fit\n" : " do not fit\n");
}

// The first `room` instances, with a bar or without.
Table tableOf(const std::vector<Rates>& instances, std::size_t room, const std::vector<const Property*>& counters,
              bool withBar)
{
    std::vector<Table::Column> columns{{.heading = "Instance", .longTexts = Table::Long::WHOLE, .identifies = true}};
    if (withBar) {
        columns.push_back({"Activity"});
    }
    for (const Property* counter : counters) {
        columns.push_back({toUtf8(counter->name), true});
    }
    Table table(std::move(columns));
    const double fastest = instances.empty() ? 0 : instances.front().perSecond.front();
    for (std::size_t n = 0; n < room; ++n) {
        const auto& [label, rates] = instances[n];
        std::vector<std::string> cells{label};
        if (withBar) {
            cells.push_back(barOf(rates.front(), fastest));
        }
        for (std::size_t i = 0; i < rates.size(); ++i) {
            cells.push_back(rateText(rates[i], unitOf(*counters[i])));
        }
        table.addRow(std::move(cells));
    }
    return table;
}

std::string render(const std::vector<Rates>& instances, const std::vector<const Property*>& counters,
                   std::optional<std::size_t> height)
{
    const auto width = lineWidth();
    const std::size_t room = roomFor(instances.size(), height);
    Table table = tableOf(instances, room, counters, true);
    if (table.hiddenColumns(width).size() >= counters.size()) {
        // Another counter is more useful than the bar.
        table = tableOf(instances, room, counters, false);
    }
    return table.render(width) + leftOutText(instances.size() - room, table.hiddenColumns(width).size());
}

}  // namespace

int runWatch(Connection& connection, const std::wstring& className, const CommandOptions& options)
{
    const ClassTarget target = connection.findClass(className, options.nameSpace);
    checkNames(*target.definition, options);
    const auto counters = countersOf(*target.definition, options);
    const bool terminal = outIsTerminal();
    const InterruptGuard guard;
    auto before = takeSamples(connection, target, counters, options);
    auto beforeTime = Clock::now();
    std::size_t linesShown = 0;
    for (unsigned shown = 0; options.count == 0 || shown < options.count; ++shown) {
        if (!guard.pause(options.interval)) {
            return INTERRUPTED_EXIT;
        }
        auto now = takeSamples(connection, target, counters, options);
        const auto nowTime = Clock::now();
        const double seconds = std::chrono::duration<double>(nowTime - beforeTime).count();
        const std::string text =
            render(ratesOf(before, now, seconds), counters, terminal ? screenHeight() : std::nullopt);
        if (terminal && shown > 0) {
            eraseLines(linesShown);
        }
        writeOut(text);
        linesShown = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        before = std::move(now);
        beforeTime = nowTime;
    }
    return 0;
}

}  // namespace wmihost
