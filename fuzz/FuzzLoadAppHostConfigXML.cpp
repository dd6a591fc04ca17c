// Any text as the app host's configuration file. The parser itself, run on a
// copy, tells how deep the elements nest: the loader must refuse exactly the
// documents that nest deeper than its limit and accept every other
// well-formed one, or hostile files could still exhaust the stack.
#include "FuzzSupport.h"

#include <Lum/AppHostConfig.h>

// GCC's optimiser sees null paths inside the parser that its own checks exclude.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnull-dereference"
#include <rapidxml/rapidxml.hpp>
#pragma GCC diagnostic pop

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{
// Elements on the longest path from the document down.
std::size_t ElementDepth(const rapidxml::xml_node<char>& node)
{
    std::size_t deepest = 0;
    for (const rapidxml::xml_node<char>* child = node.first_node(); child; child = child->next_sibling())
        if (child->type() == rapidxml::node_element)
            deepest = std::max(deepest, ElementDepth(*child));
    return node.type() == rapidxml::node_element ? deepest + 1 : deepest;
}

// The depth RapidXml itself finds, or -1 when it rejects the text.
long ParsedDepth(std::vector<char> text)
{
    auto document = std::make_unique<rapidxml::xml_document<char>>();
    try
    {
        document->parse<0>(text.data());
    }
    catch (const rapidxml::parse_error&)
    {
        return -1;
    }
    return static_cast<long>(ElementDepth(*document));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    // Bounded by the input length, so the reference parse cannot overflow the stack.
    const long depth = ParsedDepth(text);
    Lum::AppHostConfiguration configuration;
    const bool loaded = configuration.LoadAppHostConfigXML(text.data());
    // A leaf element without content ("<a/>" or "<a></a>") opens no level, so
    // the limit may count one less than the tree's depth.
    const long limit = static_cast<long>(Lum::AppHostConfiguration::MaxElementNesting);
    if (depth < 0 && loaded)
        std::abort(); // accepted what the parser rejects
    if (depth > limit + 1 && loaded)
        std::abort(); // nesting limit bypassed
    if (depth >= 0 && depth <= limit && !loaded)
        std::abort(); // well-formed file refused
    return 0;
}
