#include <array>
#include <string_view>

#include "Utils/ProductVersion.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// These values are constants of the product, so there is one row and nothing to read.
struct Row
{
};

std::vector<Row> rows(Workspace& /*workspace*/)
{
    return std::vector<Row>(1);
}

constexpr std::array<std::uint16_t, 4> parts(std::string_view version)
{
    std::array<std::uint16_t, 4> numbers{};
    std::size_t part = 0;
    for (const char character : version) {
        if (character == '.') {
            ++part;
        } else {
            numbers.at(part) = static_cast<std::uint16_t>(numbers.at(part) * 10 + (character - '0'));
        }
    }
    return numbers;
}

constexpr std::array<std::uint16_t, 4> VERSION = parts(utils::PRODUCT_VERSION);

std::string instanceId(const Row& /*row*/)
{
    return "Vexal:Software:DRAVEv2Provider";
}

template <std::size_t Part>
std::uint16_t versionPart(const Row& /*row*/)
{
    return VERSION[Part];
}

std::string versionText(const Row& /*row*/)
{
    return utils::PRODUCT_VERSION;
}

std::string manufacturer(const Row& /*row*/)
{
    return "Vexal";
}

std::vector<std::uint16_t> classifications(const Row& /*row*/)
{
    constexpr std::uint16_t INSTRUMENTATION = 5;
    return {INSTRUMENTATION};
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),          column<&versionPart<0>>("MajorVersion"),
    column<&versionPart<1>>("MinorVersion"), column<&versionPart<2>>("RevisionNumber"),
    column<&versionPart<3>>("BuildNumber"),  column<&versionText>("VersionString"),
    column<&manufacturer>("Manufacturer"),   column<&classifications>("Classifications"),
};

constexpr ClassDescription<Row> definition{
    .name = "Zerix_SoftwareIdentity", .columns = columns, .id = &instanceId, .rows = &rows};

}  // namespace

const ServedClass softwareIdentity = serve<definition>();

}  // namespace broker
