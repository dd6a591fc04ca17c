#include "PlanSupport.h"

#include <LumBus/KnxAddress.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem.hpp>

#include <zip.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace PlanTest
{

const std::vector<Row>& SampleRows()
{
    static const std::vector<Row> rows = {
        {"Zentral", "0/-/-", ""},
        {"Zeit", "0/0/-", ""},
        {"Uhrzeit", "0/0/1", "DPST-10-1"},
        {"Licht", "1/-/-", ""},
        {"Küche", "1/1/-", ""},
        {"Küche Decke schalten", "1/1/1", "DPST-1-1"},
        {"Küche Arbeitsfläche schalten", "1/1/7", "DPST-1-1"},
        {"Küche dimmen", "1/2/1", "DPST-3-7"},
        {"Küche Helligkeit", "1/3/1", "DPST-5-1"},
        {"Heizung", "3/-/-", ""},
        {"Temperaturen", "3/1/-", ""},
        {"Wohnzimmer Ist-Temperatur", "3/1/1", "DPST-9-1"},
        {"Büro Ist-Temperatur", "3/1/2", "DPST-9-1"},
        {"Büro Stellgröße", "3/1/2", "DPST-5-1"},
        {"Außen", "3/2/-", ""},
        {"Außen Luftfeuchte", "3/2/1", "DPT-9"},
        {"Energie", "4/-/-", ""},
        {"Zähler", "4/1/-", ""},
        {"Zähler Wirkleistung", "4/1/1", "DPST-14-56"},
        {"Zähler Impulse", "4/1/5", "DPST-8-1"},
        {"Zutritt", "6/-/-", ""},
        {"Codeschloss", "6/3/-", ""},
        {"Codeschloss Eingabe", "6/3/1", ""},
    };
    return rows;
}

namespace
{
std::string Quoted(const std::string& field)
{
    return "\"" + boost::algorithm::replace_all_copy(field, "\"", "\"\"") + "\"";
}

std::string Line(const std::vector<std::string>& fields, char separator)
{
    std::string line;
    for (const auto& f : fields)
    {
        if (!line.empty())
            line.push_back(separator);
        line += Quoted(f);
    }
    return line + "\r\n";
}
} // namespace

std::string Csv(const std::vector<Row>& rows, char separator, Layout layout)
{
    std::string text;
    if (layout == Layout::AddressColumn)
    {
        text = Line(
            {"Group name", "Address", "Central", "Unfiltered", "Description", "DatapointType", "Security"},
            separator);
        for (const Row& r : rows)
            text += Line({r.name, r.address, "", "", "", r.dpt, "Auto"}, separator);
        return text;
    }
    text = Line({"Main", "Middle", "Sub", "Main", "Middle", "Sub", "Central", "Unfiltered", "Description",
                 "DatapointType", "Security"},
                separator);
    for (const Row& r : rows)
    {
        std::vector<std::string> parts;
        boost::algorithm::split(parts, r.address, boost::is_any_of("/"));
        std::vector<std::string> names(3);
        std::size_t level = 0;
        while (level < 2 && parts[level + 1] != "-")
            ++level;
        names[level] = r.name;
        for (auto& p : parts)
            if (p == "-")
                p.clear();
        text += Line({names[0], names[1], names[2], parts[0], parts[1], parts[2], "", "", "", r.dpt, "Auto"},
                     separator);
    }
    return text;
}

std::string ToWindows1252(const std::string& utf8)
{
    std::string out;
    for (std::size_t i = 0; i < utf8.size(); ++i)
    {
        const auto b = static_cast<unsigned char>(utf8[i]);
        if (b < 0x80)
            out.push_back(static_cast<char>(b));
        else if ((b == 0xC2 || b == 0xC3) && i + 1 < utf8.size())
            out.push_back(
                static_cast<char>((b & 0x1F) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3F)));
        else
            throw std::invalid_argument("not Latin-1");
    }
    return out;
}

std::string Zip(const std::vector<std::pair<std::string, std::string>>& files)
{
    const auto path =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("plan-%%%%%%.zip");
    int error = 0;
    zip_t* archive = zip_open(path.string().c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (archive == nullptr)
        throw std::runtime_error("zip_open failed");
    for (const auto& file : files)
    {
        zip_source_t* source = zip_source_buffer(archive, file.second.data(), file.second.size(), 0);
        if (source == nullptr || zip_file_add(archive, file.first.c_str(), source, ZIP_FL_ENC_UTF_8) < 0)
            throw std::runtime_error("zip_file_add failed");
    }
    if (zip_close(archive) != 0)
        throw std::runtime_error("zip_close failed");
    std::string bytes = ReadFile(path.string());
    boost::filesystem::remove(path);
    return bytes;
}

std::string ProjectAddressesXml(const std::vector<Row>& rows)
{
    std::string xml = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                      "<KNX xmlns=\"http://knx.org/xml/project/21\" CreatedBy=\"hand\">\r\n"
                      "  <Project Id=\"P-0001\">\r\n    <Installations>\r\n      <Installation Name=\"\">\r\n"
                      "        <GroupAddresses>\r\n          <GroupRanges>\r\n"
                      "            <GroupRange Id=\"P-0001-0_GR-1\" Name=\"All\" RangeStart=\"0\" "
                      "RangeEnd=\"65535\">\r\n";
    for (const Row& r : rows)
    {
        const auto address = LumBus::ParseGroupAddress(r.address);
        if (!address)
            continue; // main and middle groups are GroupRanges in a project
        xml += "              <GroupAddress Id=\"P-0001-0_GA-" + std::to_string(*address) + "\" Address=\"" +
               std::to_string(*address) + "\" Name=\"" + r.name + "\"" +
               (*r.dpt ? std::string(" DatapointType=\"") + r.dpt + "\"" : std::string()) + " />\r\n";
    }
    xml += "            </GroupRange>\r\n          </GroupRanges>\r\n        </GroupAddresses>\r\n"
           "      </Installation>\r\n    </Installations>\r\n  </Project>\r\n</KNX>\r\n";
    return xml;
}

std::string ProjectInformationXml(const char* style)
{
    return std::string("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                       "<KNX xmlns=\"http://knx.org/xml/project/21\">\r\n  <Project Id=\"P-0001\">\r\n"
                       "    <ProjectInformation Name=\"Sample\" GroupAddressStyle=\"") +
           style + "\" />\r\n  </Project>\r\n</KNX>\r\n";
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace PlanTest
