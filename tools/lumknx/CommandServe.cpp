#include "BusCommon.h"
#include "LineReader.h"
#include "ValueText.h"

#include <Lum/KnxValueConverter.h>

#include <boost/algorithm/string/trim.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace LumKnx
{

namespace
{
using Clock = std::chrono::steady_clock;

struct ServedValue
{
    KNXDPT dpt{};
    std::vector<std::uint8_t> data;
    bool shortForm = false;
};

using ServedValues = std::map<std::uint16_t, ServedValue>;

bool IsShortFormValue(const KNXDPT& dpt, const std::vector<std::uint8_t>& data)
{
    return Lum::KnxValueConverter::GetExpectedBitSize(dpt.mainNumber) <= LumBus::kShortValueBits &&
           data.size() == 1 && (data[0] & ~LumBus::kShortValueMask) == 0;
}

struct ValuesLine
{
    std::string address, dpt, value; // dpt empty: the plan's
};

// "GA DPT VALUE" or "GA VALUE". A second word that parses as a DPT names the
// DPT only when a value follows it, so "1/2/3 21.5" is a value (and so is
// "1/2/3 9.001": a line with a DPT but no value reads as one without a DPT).
ValuesLine SplitValuesLine(const std::string& line)
{
    ValuesLine out;
    const auto firstEnd = line.find_first_of(" \t");
    out.address = line.substr(0, firstEnd);
    std::string rest = boost::algorithm::trim_copy(line.substr(std::min(firstEnd, line.size())));
    const auto secondEnd = rest.find_first_of(" \t");
    if (secondEnd != std::string::npos && ParseDpt(rest.substr(0, secondEnd)))
    {
        out.dpt = rest.substr(0, secondEnd);
        rest = boost::algorithm::trim_copy(rest.substr(secondEnd));
    }
    out.value = rest;
    return out;
}

ServedValues LoadValues(const std::string& path, const DptSource& dpts,
                        const Lum::KnxValueConverter& converter)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw InputError("cannot read '" + path + "': " + std::strerror(errno));
    struct Closer
    {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};

    ServedValues values;
    LineReader reader(fd);
    std::string_view view;
    bool tooLong = false;
    unsigned long number = 0;
    try
    {
        while (reader.Next(view, tooLong))
        {
            ++number;
            const std::string where = path + " line " + std::to_string(number) + ": ";
            if (tooLong)
                throw InputError(where + "longer than " + std::to_string(LineReader::kMaxLine) + " bytes");
            const std::string line = boost::algorithm::trim_copy(std::string(view));
            if (line.empty() || line.front() == '#')
                continue;
            const ValuesLine parts = SplitValuesLine(line);
            const auto address = LumBus::ParseGroupAddress(parts.address);
            if (!address)
                throw InputError(where + "'" + EscapeControls(parts.address) + "' is no group address");
            if (parts.value.empty())
                throw InputError(where + "no value (write GA DPT VALUE, or GA VALUE with --map)");
            // SplitValuesLine keeps only a DPT that parses.
            const std::optional<KNXDPT> dpt =
                parts.dpt.empty() ? dpts.For(*address) : std::optional<KNXDPT>(*ParseDpt(parts.dpt));
            if (!dpt)
                throw InputError(where + "no DPT for " + parts.address +
                                 " (write GA DPT VALUE, or GA VALUE with --map)");
            Encoded encoded;
            try
            {
                encoded = EncodeFromText(converter, *dpt, parts.value);
            }
            catch (const UsageError& e)
            {
                throw InputError(where + e.what());
            }
            if (!encoded.group)
                throw InputError(where + encoded.reason);
            if (values.count(*address) != 0)
                throw InputError(where + LumBus::FormatGroupAddress(*address) + " is listed twice");
            const KnxStack::BinaryData& raw = encoded.group->GetRawData();
            ServedValue& served = values[*address];
            served.dpt = *dpt;
            served.data.assign(raw.GetData(), raw.GetData() + raw.GetSize());
            served.shortForm = IsShortFormValue(*dpt, served.data);
        }
    }
    catch (const std::system_error& e)
    {
        throw InputError("cannot read '" + path + "': " + e.what());
    }
    if (values.empty())
        throw InputError(path + ": no values to serve");
    return values;
}
} // namespace

int RunServe(const Arguments& options)
{
    options.PositionalExactly(1, "serve needs one knxd URL, e.g. 'serve local:/tmp/eib --values values.txt'");
    if (!options.Has("--values"))
        throw UsageError("serve needs --values FILE (lines: GA DPT VALUE)");
    const auto count = options.Number("--count", 4000000000UL);
    const auto timeout = options.Number("--timeout", 86400000UL);
    const DptSource dpts(options);
    Lum::KnxValueConverter converter;
    converter.Init();
    ServedValues values = LoadValues(options.values.at("--values"), dpts, converter);
    LibraryMessages messages;

    BusSession session(options.positional[0], &options);
    std::cerr << "lumknx: serving " << values.size() << " group address(es) on " << options.positional[0]
              << '\n';
    std::optional<Clock::time_point> deadline;
    if (timeout)
        deadline = Clock::now() + std::chrono::milliseconds(*timeout);

    unsigned long answered = 0;
    unsigned long updated = 0;
    unsigned long ignored = 0;
    std::string lost;
    LumBus::ReceivedTelegram in;
    try
    {
        while (!count || answered < *count)
        {
            if (session.Connection().Receive(in, deadline) != LumBus::ReceiveStatus::Telegram)
                break;
            const auto found = values.find(in.telegram.destination);
            if (found == values.end())
                continue;
            const std::string from = LumBus::FormatIndividualAddress(in.telegram.source);
            const std::string to = LumBus::FormatGroupAddress(in.telegram.destination, dpts.Style());
            ServedValue& served = found->second;
            if (!in.problem.empty())
            {
                ++ignored;
                std::cout << "ignored from " << from << " to " << to << ": " << in.problem << std::endl;
                continue;
            }
            if (in.telegram.service == LumBus::GroupService::Read)
            {
                try
                {
                    session.Connection().Send({0, in.telegram.destination, LumBus::GroupService::Response,
                                               served.data, served.shortForm});
                }
                catch (const LumBus::BusError& e)
                {
                    if (e.GetKind() != LumBus::BusError::Kind::NotConfirmed)
                        throw;
                    ++ignored;
                    std::cout << "read from " << from << " to " << to
                              << ": answer not confirmed: " << e.what() << std::endl;
                    continue;
                }
                ++answered;
                std::cout << "read from " << from << " to " << to << ": answered "
                          << FormatHex(ToBytes(served.data)) << std::endl;
                continue;
            }
            // Another device wrote or answered: that is the value now, if it fits the DPT.
            const ValueText value =
                DecodeForDisplay(converter, served.dpt, ToBytes(in.telegram.data), messages);
            if (!value.decoded)
            {
                ++ignored;
                std::cout << "ignored " << LumBus::ServiceName(in.telegram.service) << " from " << from
                          << " to " << to << ": does not fit " << FormatDpt(served.dpt) << ": "
                          << value.reason << std::endl;
                continue;
            }
            served.data = in.telegram.data;
            // Answers go out in the form the DPT calls for, whichever form the writer used.
            served.shortForm = IsShortFormValue(served.dpt, served.data);
            ++updated;
            std::cout << LumBus::ServiceName(in.telegram.service) << " from " << from << " to " << to
                      << ": now " << value.human << std::endl;
        }
    }
    catch (const LumBus::BusError& e)
    {
        lost = e.what();
    }
    std::cerr << "reads answered: " << answered << ", values updated: " << updated << ", ignored: " << ignored
              << '\n';
    session.ReportAnomalies();
    if (!lost.empty())
    {
        std::cerr << "lumknx: " << lost << '\n';
        return 2;
    }
    if (count && answered < *count && session.StopSignal() == 0)
    {
        std::cerr << "lumknx: timed out after " << answered << " of " << *count << " reads\n";
        return 1;
    }
    return ignored == 0 ? 0 : 1;
}

} // namespace LumKnx
