#include "Cli.h"

#include <Lum/KnxPelMapping.h>

#include <algorithm>
#include <cctype>
#include <iostream>

namespace LumKnx
{

namespace KPM = Lum::KnxPelMapping;

namespace
{
unsigned long NumberArgument(const std::string& text, unsigned long max, const char* what)
{
    if (text.empty() || text.size() > 10 || !std::all_of(text.begin(), text.end(), ::isdigit) ||
        std::stoull(text) > max)
        throw UsageError(std::string(what) + " must be a number from 0 to " + std::to_string(max) +
                         ", not '" + text + "'");
    return std::stoul(text);
}

const char* TypeName(Lum::ParameterType t)
{
    switch (t)
    {
    case Lum::ParameterType::Ip:
        return "IP";
    case Lum::ParameterType::Number:
        return "number";
    case Lum::ParameterType::Text:
        return "text";
    }
    return "unknown";
}

// Tried in this order: the parameter test deliberately also accepts
// identifiers of other areas, so it comes last.
std::string Describe(unsigned long id)
{
    if (id == KPM::GetDeviceObjModelId())
        return "the device (also the KNX device)";
    const auto ld = KPM::GetLogicalDeviceIdFromObject(id);
    if (!ld)
        return "no object of the object model";
    const std::string in = " of logical device " + std::to_string(ld->Get());
    if (id == KPM::GetLogicalKnxDeviceObjModelId(*ld))
        return "logical KNX device " + std::to_string(ld->Get());
    if (id == KPM::GetAppHostAppControlChannelObjModelId(*ld))
        return "app-control channel" + in;
    if (KPM::IsAppHostAppControlState(id, *ld))
        return "app-control state" + in;
    if (KPM::IsAppHostAppControlEvent(id, *ld))
        return "app-control event" + in;
    if (KPM::IsAppHostAppControlAliveHeartbeat(id, *ld))
        return "app-control alive heartbeat" + in;
    if (KPM::IsAppHostAppControlAppDebug(id, *ld))
        return "app-control app debug" + in;
    if (KPM::IsCoChannel(id))
        return "CO channel " + std::to_string(*KPM::GetCoNumberFromObjModelId(id + 1, *ld)) + in;
    if (KPM::IsCoValue(id))
        return "CO value " + std::to_string(*KPM::GetCoNumberFromObjModelId(id, *ld)) + in;
    const auto type = KPM::GetParameterTypeFromObjModelId(id, *ld);
    const auto number = KPM::GetParameterNumberFromObjModelId(id, *ld);
    if (type && number && (id % 100000) >= 60000)
        return std::string(TypeName(*type)) + " parameter " + (id % 2 == 0 ? "channel " : "value ") +
               std::to_string(*number) + in;
    return "no object of the object model (inside the block" + in + ")";
}

void PrintBuilt(const boost::optional<unsigned long>& id, const std::string& what)
{
    if (!id)
        throw UsageError(what + " does not exist");
    std::cout << *id << '\t' << Describe(*id) << '\n';
}
} // namespace

int RunId(const Arguments& arguments)
{
    const std::vector<std::string>& args = arguments.positional;
    int ldNumber = 1;
    if (const auto ldText = arguments.values.find("--ld"); ldText != arguments.values.end())
    {
        const std::string& value = ldText->second;
        if (value != "1" && value != "2")
            throw UsageError("--ld must be 1 or 2 (the logical device), not '" + value + "'");
        ldNumber = value == "1" ? 1 : 2;
    }
    const auto ld = Lum::LogicalDeviceId::Create(ldNumber);
    if (!ld)
        throw UsageError("--ld must be 1 or 2");
    if (args.empty())
        throw UsageError("id needs an identifier or a kind of object; see 'lumknx id --help'");

    const std::string& kind = args[0];
    if (kind.size() > 1 && kind[0] == '-' && std::isdigit(static_cast<unsigned char>(kind[1])))
        throw UsageError("'" + kind + "' is not an identifier: identifiers are numbers from 0 to 4294967295");
    if (std::isdigit(static_cast<unsigned char>(kind[0])) && args.size() == 1)
    {
        const unsigned long id = NumberArgument(kind, 4294967295ul, "the identifier");
        std::cout << id << '\t' << Describe(id) << '\n';
        return 0;
    }
    auto needs = [&](std::size_t count)
    {
        if (args.size() != count)
            throw UsageError("'id " + kind + "' takes " + std::to_string(count - 1) + " argument(s)");
    };
    if (kind == "device")
    {
        needs(1);
        PrintBuilt(KPM::GetDeviceObjModelId(), "the device");
    }
    else if (kind == "ld")
    {
        needs(1);
        PrintBuilt(KPM::GetLogicalKnxDeviceObjModelId(*ld), "the logical device");
    }
    else if (kind == "app-control")
    {
        needs(2);
        const std::string& point = args[1];
        if (point == "channel")
            PrintBuilt(KPM::GetAppHostAppControlChannelObjModelId(*ld), point);
        else if (point == "state")
            PrintBuilt(KPM::GetAppHostAppControlStateObjModelId(*ld), point);
        else if (point == "event")
            PrintBuilt(KPM::GetAppHostAppControlEventObjModelId(*ld), point);
        else if (point == "alive")
            PrintBuilt(KPM::GetAppHostAppControlAliveObjModelId(*ld), point);
        else if (point == "debug")
            PrintBuilt(KPM::GetAppHostAppControlAppDebugObjModelId(*ld), point);
        else
            throw UsageError("app-control points are channel, state, event, alive and debug");
    }
    else if (kind == "co" || kind == "co-value")
    {
        needs(2);
        const auto n = static_cast<unsigned short>(NumberArgument(args[1], 65535, "the CO number"));
        PrintBuilt(kind == "co" ? KPM::GetCoChannelObjModelId(n, *ld) : KPM::GetCoValueObjModelId(n, *ld),
                   "CO " + args[1]);
    }
    else if (kind == "param" || kind == "param-value")
    {
        needs(3);
        Lum::ParameterType type;
        if (args[1] == "ip")
            type = Lum::ParameterType::Ip;
        else if (args[1] == "number")
            type = Lum::ParameterType::Number;
        else if (args[1] == "text")
            type = Lum::ParameterType::Text;
        else
            throw UsageError("parameter types are ip, number and text");
        const auto n = static_cast<unsigned short>(NumberArgument(args[2], 65535, "the parameter number"));
        PrintBuilt(kind == "param" ? KPM::GetParameterChannelObjModelId(n, *ld, type)
                                   : KPM::GetParameterValueObjModelId(n, *ld, type),
                   args[1] + " parameter " + args[2]);
    }
    else
        throw UsageError("unknown kind of object '" + kind + "'; see 'lumknx id --help'");
    return 0;
}

} // namespace LumKnx
