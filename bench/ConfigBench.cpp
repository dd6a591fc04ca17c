// Loading the app host configuration from a file of about 1 KB (what a device
// carries) and of about 1 MB (a file grown by tools and comments), to see
// that the load stays linear in the file's size.

#include "AllocationCounter.h"
#include <Lum/AppHostConfig.h>

#include <benchmark/benchmark.h>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace
{

std::string DebuggingBlock(std::size_t n)
{
    std::ostringstream os;
    os << "  <!-- debugging session " << n << ": apps built from the developer's share -->\n"
       << "  <Debugging Active=\"1\">\n"
       << "    <App RootPath=\"/opt/userdata/debug/session" << n << "/native\"/>\n"
       << "    <ManagedApp RootPath=\"/opt/userdata/debug/session" << n << "/managed\"/>\n"
       << "    <AppHost RootPath=\"/opt/userdata/debug/session" << n << "/apphost\" DisableStartup=\"0\"/>\n"
       << "    <AppConnectorHost RootPath=\"/opt/userdata/debug/session" << n
       << "/connectorhost\" DisableStartup=\"0\"/>\n"
       << "  </Debugging>\n"
       << "  <ObjectModelConfig Path=\"/opt/userdata/devicestack/lumOM/config" << n << ".json\"/>\n"
       << "  <Diagnostics Level=\"2\" Target=\"/var/log/lumapphost/diag" << n << ".log\">"
       << "kept by the commissioning tool &amp; ignored by the host</Diagnostics>\n";
    // The commissioning tool's notes on each later session make up most of
    // such a file; without them a megabyte of elements exceeds the document
    // budget.
    if (n > 1)
        os << "  <!-- " << std::string(os.str().size(), '~') << " -->\n";
    return os.str();
}

// A well-formed configuration of exactly 'size' bytes: whole blocks, then a
// comment that fills up to the size.
std::string ConfigText(std::size_t size)
{
    std::string text = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<LumAppHostConfig WithoutKNX=\"0\" TerminateOnFirmwareUpdate=\"1\">\n";
    const std::string tail = "</LumAppHostConfig>\n";
    const std::string fillStart = "  <!-- ";
    const std::string fillEnd = " -->\n";
    const std::size_t reserve = tail.size() + fillStart.size() + fillEnd.size();
    for (std::size_t n = 1;; ++n)
    {
        const std::string block = DebuggingBlock(n);
        if (text.size() + block.size() + reserve > size)
            break;
        text += block;
    }
    text += fillStart;
    text.append(size - std::min(size, text.size() + fillEnd.size() + tail.size()), '.');
    return text + fillEnd + tail;
}

class ConfigFiles
{
public:
    ConfigFiles()
        : m_dir(boost::filesystem::temp_directory_path() /
                boost::filesystem::unique_path("lum-bench-%%%%-%%%%"))
    {
        boost::filesystem::create_directories(m_dir);
        m_small = Write("lumapphostconfig-1k.xml", ConfigText(1024));
        m_large = Write("lumapphostconfig-1m.xml", ConfigText(1024 * 1024));
    }
    ~ConfigFiles()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(m_dir, ignored);
    }

    const std::string& Small() const { return m_small; }
    const std::string& Large() const { return m_large; }

private:
    std::string Write(const char* name, const std::string& text) const
    {
        const boost::filesystem::path path = m_dir / name;
        std::ofstream(path.string(), std::ios::binary) << text;
        return path.string();
    }

    boost::filesystem::path m_dir;
    std::string m_small;
    std::string m_large;
};

const ConfigFiles& Files()
{
    static const ConfigFiles files;
    return files;
}

void Load(benchmark::State& state, const std::string& path)
{
    const std::int64_t bytes = static_cast<std::int64_t>(boost::filesystem::file_size(path));
    const LumBench::CountAllocations<benchmark::State> counted(state);
    for (auto _ : state)
    {
        Lum::AppHostConfiguration config;
        config.LoadConfigurationFile(path);
        if (!config.GetPathObjectModelConfig())
        {
            state.SkipWithError("the file was not applied");
            break;
        }
        benchmark::DoNotOptimize(config.IsInAppDebugMode());
    }
    state.SetBytesProcessed(state.iterations() * bytes);
}

void LoadConfiguration1KB(benchmark::State& state)
{
    Load(state, Files().Small());
}
BENCHMARK(LoadConfiguration1KB)->Name("LoadConfigurationFile/1KB");

void LoadConfiguration1MB(benchmark::State& state)
{
    Load(state, Files().Large());
}
BENCHMARK(LoadConfiguration1MB)->Name("LoadConfigurationFile/1MB");

} // namespace
