#include "broker/classes/SoftwareClasses.h"

#include <array>
#include <string_view>

#include "Utils/ProductVersion.h"

namespace broker {

namespace {

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

std::string softwareId(const SoftwareRow& /*row*/)
{
    return "Vexal:Software:DRAVEv2Provider";
}

template <std::size_t Part>
std::uint16_t versionPart(const SoftwareRow& /*row*/)
{
    return VERSION[Part];
}

std::string versionText(const SoftwareRow& /*row*/)
{
    return utils::PRODUCT_VERSION;
}

std::string manufacturer(const SoftwareRow& /*row*/)
{
    return "Vexal";
}

std::vector<std::uint16_t> classifications(const SoftwareRow& /*row*/)
{
    constexpr std::uint16_t INSTRUMENTATION = 5;
    return {INSTRUMENTATION};
}

constexpr std::array softwareColumns{
    key<&softwareId>("InstanceID"),          column<&versionPart<0>>("MajorVersion"),
    column<&versionPart<1>>("MinorVersion"), column<&versionPart<2>>("RevisionNumber"),
    column<&versionPart<3>>("BuildNumber"),  column<&versionText>("VersionString"),
    column<&manufacturer>("Manufacturer"),   column<&classifications>("Classifications"),
};

std::string profileId(const ProfileRow& /*row*/)
{
    return "Vexal:Profile:EthernetPort";
}

std::uint16_t organization(const ProfileRow& /*row*/)
{
    constexpr std::uint16_t DMTF = 2;
    return DMTF;
}

std::string profileName(const ProfileRow& /*row*/)
{
    return "Ethernet Port";
}
std::string profileVersion(const ProfileRow& /*row*/)
{
    return "1.0.1";
}

std::vector<std::uint16_t> advertiseTypes(const ProfileRow& /*row*/)
{
    constexpr std::uint16_t NOT_ADVERTISED = 2;
    return {NOT_ADVERTISED};
}

constexpr std::array profileColumns{
    key<&profileId>("InstanceID"),
    column<&organization>("RegisteredOrganization"),
    column<&profileName>("RegisteredName"),
    column<&profileVersion>("RegisteredVersion"),
    column<&advertiseTypes>("AdvertiseTypes"),
};

}  // namespace

const ClassDescription<SoftwareRow> softwareIdentityClass{SOFTWARE_IDENTITY, softwareColumns, &softwareId};
const ClassDescription<ProfileRow> registeredProfileClass{REGISTERED_PROFILE, profileColumns, &profileId};

}  // namespace broker
