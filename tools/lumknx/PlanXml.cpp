// The XML export, and the XML inside a project archive. pugixml neither
// fetches external entities nor expands declared ones (a reference such as
// "&lol9;" stays as it is written), and it parses without recursion, so
// neither an entity bomb nor deep nesting costs more than the file's size.
#include "Cli.h"
#include "PlanReaders.h"

#include <pugixml.hpp>

namespace LumKnx
{

namespace
{
std::string_view LocalName(const pugi::xml_node& node)
{
    const std::string_view name = node.name();
    const auto colon = name.find(':');
    return colon == name.npos ? name : name.substr(colon + 1);
}

// Depth first, without recursion.
template <typename Visit> void ForEachElement(const pugi::xml_node& root, Visit visit)
{
    pugi::xml_node node = root.first_child();
    while (node)
    {
        if (node.type() == pugi::node_element)
            visit(node);
        if (node.first_child())
        {
            node = node.first_child();
            continue;
        }
        while (node != root && !node.next_sibling())
            node = node.parent();
        if (node == root)
            break;
        node = node.next_sibling();
    }
}

bool Parse(std::string_view bytes, pugi::xml_document& doc, std::string& error)
{
    const pugi::xml_parse_result parsed =
        doc.load_buffer(bytes.data(), bytes.size(), pugi::parse_default, pugi::encoding_auto);
    if (parsed)
        return true;
    error = "malformed XML at offset " + std::to_string(parsed.offset) + ": " + parsed.description();
    return false;
}

// The DPT assigned to the address itself comes last in the list.
std::string_view LastDpt(std::string_view list)
{
    const auto comma = list.rfind(',');
    std::string_view last = comma == list.npos ? list : list.substr(comma + 1);
    while (!last.empty() && last.front() == ' ')
        last.remove_prefix(1);
    while (!last.empty() && last.back() == ' ')
        last.remove_suffix(1);
    return last;
}

void AddElement(PlanBuilder& builder, const pugi::xml_node& element, const char* dptAttribute, bool integers,
                bool& styleSet)
{
    const std::string name = element.attribute("Name").value();
    const std::string_view addressText = element.attribute("Address").value();
    const bool integer =
        !addressText.empty() && addressText.find_first_not_of("0123456789") == addressText.npos;
    const auto address = integers && !integer ? std::nullopt : LumBus::ParseGroupAddress(addressText);
    if (!address)
    {
        builder.Warn("group address \"" + EscapeControls(name) + "\": \"" +
                     EscapeControls(std::string(addressText)) + "\" is no group address; dropped");
        return;
    }
    if (!styleSet)
    {
        if (!integers)
            builder.SetStyle(StyleOfAddressText(addressText));
        styleSet = true;
    }
    const std::string_view dptText = LastDpt(element.attribute(dptAttribute).value());
    const PlanDpt dpt = ParsePlanDpt(dptText);
    if (!dpt.ok)
        builder.Warn(LumBus::FormatGroupAddress(*address, builder.Style()) + " has the unknown DPT \"" +
                     EscapeControls(std::string(dptText)) + "\"; kept without DPT");
    builder.Add(*address, name, dpt.dpt);
}

PlanLoadResult ReadAddresses(const pugi::xml_node& root, const char* dptAttribute, bool integers,
                             LumBus::GroupAddressStyle style)
{
    PlanBuilder builder;
    builder.SetStyle(style);
    bool styleSet = false;
    ForEachElement(root,
                   [&](const pugi::xml_node& element)
                   {
                       if (LocalName(element) == "GroupAddress")
                           AddElement(builder, element, dptAttribute, integers, styleSet);
                   });
    return builder.Finish();
}
} // namespace

PlanLoadResult ReadPlanXml(std::string_view bytes)
{
    pugi::xml_document doc;
    std::string error;
    if (!Parse(bytes, doc, error))
        return PlanError(error);
    const pugi::xml_node root = doc.document_element();
    const std::string_view rootName = LocalName(root);
    if (rootName == "GroupAddress-Export")
        return ReadAddresses(root, "DPTs", false, LumBus::GroupAddressStyle::ThreeLevel);
    if (rootName == "KNX")
        return ReadAddresses(root, "DatapointType", true, LumBus::GroupAddressStyle::ThreeLevel);
    return PlanError("the XML's root element is <" + EscapeControls(std::string(root.name())) +
                     ">, neither <GroupAddress-Export> nor a project's <KNX>");
}

PlanLoadResult ReadProjectAddresses(std::string_view bytes, LumBus::GroupAddressStyle style)
{
    pugi::xml_document doc;
    std::string error;
    if (!Parse(bytes, doc, error))
        return PlanError(error);
    const pugi::xml_node root = doc.document_element();
    if (LocalName(root) != "KNX")
        return PlanError("the root element is <" + EscapeControls(std::string(root.name())) + ">, not <KNX>");
    return ReadAddresses(root, "DatapointType", true, style);
}

bool ReadProjectStyle(std::string_view bytes, LumBus::GroupAddressStyle& style, std::string& error)
{
    pugi::xml_document doc;
    if (!Parse(bytes, doc, error))
        return false;
    style = LumBus::GroupAddressStyle::ThreeLevel;
    std::string_view named;
    ForEachElement(doc,
                   [&](const pugi::xml_node& element)
                   {
                       if (named.empty() && LocalName(element) == "ProjectInformation")
                           named = element.attribute("GroupAddressStyle").value();
                   });
    if (named == "TwoLevel")
        style = LumBus::GroupAddressStyle::TwoLevel;
    else if (named == "Free")
        style = LumBus::GroupAddressStyle::Free;
    return true;
}

} // namespace LumKnx
