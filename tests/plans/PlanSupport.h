#pragma once
// The sample plan as a table, and the files the tests build from it: CSV in
// every layout, separator and encoding, and project archives.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace PlanTest
{

// One row as the engineering tool lists it; main and middle groups included.
struct Row
{
    const char* name;
    const char* address; // "1/-/-" for a main group, "1/1/-" for a middle group
    const char* dpt;     // as exported: "DPST-9-1", "DPT-9" or ""
};
const std::vector<Row>& SampleRows();

enum class Layout
{
    AddressColumn,
    ThreeByThree
};
// The rows as the CSV export, every field quoted.
std::string Csv(const std::vector<Row>& rows, char separator, Layout layout = Layout::AddressColumn);
// UTF-8 text whose characters are all in Latin-1, as Windows-1252 bytes.
std::string ToWindows1252(const std::string& utf8);

// A zip archive holding `files` (name, content), deflated.
std::string Zip(const std::vector<std::pair<std::string, std::string>>& files);
// A project's 0.xml with the rows' leaves (addresses as integers), with BOM and CRLF.
std::string ProjectAddressesXml(const std::vector<Row>& rows);
std::string ProjectInformationXml(const char* style);

std::string ReadFile(const std::string& path);

} // namespace PlanTest
