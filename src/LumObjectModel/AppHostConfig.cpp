#include <Lum/AppHostConfig.h>
#include <Lum/LoadFile.h>
#include <Platform/Logging.h>

#include <boost/filesystem/path.hpp>
#include <rapidxml/rapidxml.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace Lum
{

namespace
{

using XmlNode = rapidxml::xml_node<char>;

// Character classes of RapidXml 1.13 (its lookup tables).
bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNodeNameChar(char c)
{
    return c != '\0' && !IsSpace(c) && c != '/' && c != '>' && c != '?';
}

bool IsAttributeNameChar(char c)
{
    return IsNodeNameChar(c) && c != '<' && c != '=' && c != '!';
}

const char* SkipSpace(const char* p)
{
    while (IsSpace(*p))
        ++p;
    return p;
}

const char* SkipNodeName(const char* p)
{
    while (IsNodeNameChar(*p))
        ++p;
    return p;
}

// Position just after the terminator, or nullptr when the text ends first.
const char* SkipPast(const char* p, const char* terminator)
{
    const char* found = std::strstr(p, terminator);
    return found ? found + std::strlen(terminator) : nullptr;
}

bool StartsWith(const char* p, const char* prefix)
{
    return std::strncmp(p, prefix, std::strlen(prefix)) == 0;
}

// The markup after "<!" as RapidXml skips it; nullptr at the end of the text.
const char* SkipBangMarkup(const char* p)
{
    if (StartsWith(p, "!--"))
        return SkipPast(p + 3, "-->");
    if (StartsWith(p, "![CDATA["))
        return SkipPast(p + 8, "]]>");
    if (StartsWith(p, "!DOCTYPE") && IsSpace(p[8]))
    {
        // Up to '>', jumping over a bracketed internal subset (brackets nest).
        p += 9;
        while (*p != '>')
        {
            if (*p == '\0')
                return nullptr;
            if (*p++ != '[')
                continue;
            for (int brackets = 1; brackets > 0; ++p)
            {
                if (*p == '\0')
                    return nullptr;
                if (*p == '[')
                    ++brackets;
                else if (*p == ']')
                    --brackets;
            }
        }
        return p + 1;
    }
    const char* end = std::strchr(p, '>');
    return end ? end + 1 : nullptr;
}

// The rest of a start tag after its name: attributes, then '>' or "/>".
// Sets 'opens' when the element has content; nullptr where RapidXml fails.
const char* SkipStartTagRest(const char* p, bool& opens)
{
    p = SkipSpace(p);
    while (IsAttributeNameChar(*p))
    {
        while (IsAttributeNameChar(*p))
            ++p;
        p = SkipSpace(p);
        if (*p != '=')
            return nullptr;
        p = SkipSpace(p + 1);
        const char quote = *p;
        if (quote != '"' && quote != '\'')
            return nullptr;
        // Character references never contain a quote, so they need no decoding here.
        p = std::strchr(p + 1, quote);
        if (!p)
            return nullptr;
        p = SkipSpace(p + 1);
    }
    opens = *p == '>';
    if (opens)
        return p + 1;
    if (p[0] == '/' && p[1] == '>')
        return p + 2;
    return nullptr;
}

// Whether RapidXml, parsing this zero-terminated text with its default flags,
// would open no more than maxDepth elements inside each other. A linear walk
// over the same grammar as the parser: markup it skips (comments, CDATA,
// processing instructions, DOCTYPE, attribute values) cannot open or close
// elements here either. It stops where the parser would report an error;
// what follows that point is never parsed.
bool NestingWithin(const char* p, std::size_t maxDepth)
{
    if (StartsWith(p, "\xEF\xBB\xBF"))
        p += 3;
    std::size_t depth = 0;
    for (;;)
    {
        if (depth == 0)
        {
            p = SkipSpace(p);
            if (*p != '<')
                return true; // end of text, or text outside an element
        }
        else
        {
            // Character data runs up to the next markup.
            p = std::strchr(p, '<');
            if (!p)
                return true;
            if (p[1] == '/')
            {
                p = SkipSpace(SkipNodeName(p + 2));
                if (*p != '>')
                    return true;
                ++p;
                --depth;
                continue;
            }
        }
        ++p; // '<'
        if (*p == '?')
            p = SkipPast(p + 1, "?>");
        else if (*p == '!')
            p = SkipBangMarkup(p);
        else
        {
            const char* nameEnd = SkipNodeName(p);
            if (nameEnd == p)
                return true;
            bool opens = false;
            p = SkipStartTagRest(nameEnd, opens);
            if (p && opens && ++depth > maxDepth)
                return false;
        }
        if (!p)
            return true;
    }
}

// Dense markup costs the parser far more than its text: every node of a
// few bytes takes about a hundred. The parser's blocks come from here and
// stop at a budget, so that a hostile file cannot take the memory of the
// process. Plain functions are all the parser takes: the budget is the
// loading thread's.
struct BudgetExceeded
{
};

thread_local std::size_t t_documentMemoryLeft = 0;

void* AllocateFromBudget(std::size_t size)
{
    if (size > t_documentMemoryLeft)
        throw BudgetExceeded();
    void* memory = std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    t_documentMemoryLeft -= size;
    return memory;
}

void FreeToBudget(void* memory)
{
    std::free(memory);
}

// Sets the budget of one parse; the parser's blocks go with the document.
class DocumentBudget
{
public:
    DocumentBudget(rapidxml::xml_document<char>& document, std::size_t bytes)
    {
        t_documentMemoryLeft = bytes;
        document.set_allocator(&AllocateFromBudget, &FreeToBudget);
    }
    ~DocumentBudget() { t_documentMemoryLeft = 0; }
    DocumentBudget(const DocumentBudget&) = delete;
    DocumentBudget& operator=(const DocumentBudget&) = delete;
};

bool NameIs(const XmlNode& node, const char* name)
{
    return node.type() == rapidxml::node_element && node.name_size() == std::strlen(name) &&
           std::memcmp(node.name(), name, node.name_size()) == 0;
}

// The first attribute of that name, when it has a value.
const rapidxml::xml_attribute<char>* PresentAttribute(const XmlNode& node, const char* name)
{
    const rapidxml::xml_attribute<char>* attribute = node.first_attribute(name);
    return attribute && attribute->value_size() > 0 ? attribute : nullptr;
}

// "0" switches off, any other value on (so "false" too).
void ApplySwitch(const XmlNode& node, const char* name, std::atomic<bool>& target)
{
    if (const auto* attribute = PresentAttribute(node, name))
        target.store(!(attribute->value_size() == 1 && attribute->value()[0] == '0'));
}

void ApplyPath(const XmlNode& node, const char* name, boost::optional<std::string>& target)
{
    const auto* attribute = PresentAttribute(node, name);
    if (!attribute)
        return;
    // Reuses the string's storage when the element occurs again.
    if (target)
        target->assign(attribute->value(), attribute->value_size());
    else
        target.emplace(attribute->value(), attribute->value_size());
}

} // namespace

void AppHostConfiguration::LoadConfigurationFile()
{
    LoadConfigurationFile(AppHostConfigFilePath);
}

void AppHostConfiguration::LoadConfigurationFile(const std::string& path)
{
    try
    {
        LoadFileStatus status = LoadFileStatus::Loaded;
        boost::optional<std::vector<char>> text = LoadFile(path, MaxFileSize, status);
        if (!text)
        {
            // A path prints quoted, with '"' and '&' escaped by '&'.
            if (status == LoadFileStatus::CannotOpen)
                LUM_LOG_ERROR("App host config file cannot be read from: " << boost::filesystem::path(path));
            else if (status == LoadFileStatus::TooLarge)
                LUM_LOG_ERROR("App host config file cannot be read from: " << boost::filesystem::path(path)
                                                                           << ": larger than " << MaxFileSize
                                                                           << " bytes");
            else
                LUM_LOG_ERROR("App host config file cannot be read from: " << boost::filesystem::path(path)
                                                                           << ": " << Describe(status));
            return;
        }
        text->push_back('\0');
        if (!LoadAppHostConfigXML(text->data()))
            LUM_LOG_ERROR("Falling back to standard configuration.");
    }
    catch (const std::bad_alloc&)
    {
        LUM_LOG_ERROR("App host config file cannot be read from: " << boost::filesystem::path(path)
                                                                   << ": not enough memory");
    }
}

bool AppHostConfiguration::LoadAppHostConfigXML(char* text)
{
    if (!text)
    {
        LUM_LOG_ERROR("Failed to read configuration file: no text given");
        return false;
    }
    if (!NestingWithin(text, MaxElementNesting))
    {
        LUM_LOG_ERROR("Failed to read configuration file: elements nested deeper than " << MaxElementNesting
                                                                                        << " levels");
        return false;
    }

    const std::size_t budget = std::max(MinDocumentMemory, DocumentMemoryFactor * std::strlen(text));
    std::unique_ptr<rapidxml::xml_document<char>> document;
    try
    {
        // About 64 KiB of static pool: too much for a small thread stack.
        document = std::make_unique<rapidxml::xml_document<char>>();
        const DocumentBudget scope(*document, budget);
        document->parse<0>(text);
    }
    catch (const rapidxml::parse_error& error)
    {
        LUM_LOG_ERROR("Failed to read configuration file: " << error.what());
        return false;
    }
    catch (const BudgetExceeded&)
    {
        LUM_LOG_ERROR("Failed to read configuration file: the document needs more than "
                      << budget << " bytes of memory");
        return false;
    }
    catch (const std::bad_alloc&)
    {
        LUM_LOG_ERROR("Failed to read configuration file: not enough memory");
        return false;
    }

    for (const XmlNode* root = document->first_node(); root; root = root->next_sibling())
    {
        if (!NameIs(*root, "LumAppHostConfig"))
            continue;
        ApplySwitch(*root, "WithoutKNX", m_appHostWithoutKnx);
        ApplySwitch(*root, "TerminateOnFirmwareUpdate", m_appHostTerminateOnFirmwareUpdate);
        for (const XmlNode* child = root->first_node(); child; child = child->next_sibling())
        {
            if (NameIs(*child, "ObjectModelConfig"))
            {
                ApplyPath(*child, "Path", m_pathObjectModelConfig);
                continue;
            }
            if (!NameIs(*child, "Debugging"))
                continue;
            ApplySwitch(*child, "Active", m_appDebugMode);
            // Also when debugging was switched on before and Active is absent.
            if (!m_appDebugMode.load())
                continue;
            for (const XmlNode* item = child->first_node(); item; item = item->next_sibling())
            {
                if (NameIs(*item, "App"))
                    ApplyPath(*item, "RootPath", m_rootPathNativeApp);
                else if (NameIs(*item, "ManagedApp"))
                    ApplyPath(*item, "RootPath", m_rootPathManagedApp);
                else if (NameIs(*item, "AppHost"))
                {
                    ApplyPath(*item, "RootPath", m_rootPathAppHost);
                    ApplySwitch(*item, "DisableStartup", m_appHostStartupDisabled);
                }
                else if (NameIs(*item, "AppConnectorHost"))
                {
                    ApplyPath(*item, "RootPath", m_rootPathAppConnectorHost);
                    ApplySwitch(*item, "DisableStartup", m_appConnectorHostStartupDisabled);
                }
            }
        }
    }

    // The connector host cannot run without the app host; never the reverse.
    if (m_appHostStartupDisabled.load())
        m_appConnectorHostStartupDisabled.store(true);
    return true;
}

} // namespace Lum
