#include <algorithm>
#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/Rows.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

struct Row
{
    std::string adapterGuid;
    AdapterSetting setting;
};

bool isThere(Workspace& workspace, const std::string& adapterGuid)
{
    const std::vector<Adapter>& adapters = workspace.adapters();
    return std::any_of(adapters.begin(), adapters.end(),
                       [&adapterGuid](const Adapter& adapter) { return adapter.guid == adapterGuid; });
}

std::vector<Row> rows(Workspace& workspace)
{
    SettingsStore& settings = workspace.sources().settings;
    std::vector<Row> result = rowsOf(workspace.adapters(), [&settings](const Adapter& adapter) {
        return Row{adapter.guid, settings.adapterSetting(adapter.guid)};
    });
    // Settings of adapters that are gone are shown as well.
    for (const std::string& guid : settings.adaptersWithSetting()) {
        AdapterSetting setting = settings.adapterSetting(guid);
        if (!isThere(workspace, guid) && (setting.elementName || setting.tag)) {
            result.push_back({guid, std::move(setting)});
        }
    }
    return result;
}

std::string id(const Row& row)
{
    return row.adapterGuid;
}

std::string instanceId(const Row& row)
{
    return "Vexal:AdapterSetting:" + row.adapterGuid;
}
const std::optional<std::string>& label(const Row& row)
{
    return row.setting.elementName;
}
const std::optional<std::string>& tag(const Row& row)
{
    return row.setting.tag;
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),
    writable<&label>("ElementName", &limitTo<AdapterSetting::LABEL_LENGTHS>),
    writable<&tag>("Tag", &limitTo<AdapterSetting::TAG_LENGTHS>),
};

constexpr ClassDescription<Row> definition{
    .name = ADAPTER_SETTING, .columns = columns, .id = &id, .rows = &rows, .storageKey = &AdapterSetting::key};

}  // namespace

const ServedClass adapterSetting = serve<definition>();

}  // namespace broker
