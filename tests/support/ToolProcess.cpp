#include "ToolProcess.h"

#include <boost/algorithm/string.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <utility>

namespace LumTest
{

std::vector<std::string> ToolResult::outLines() const
{
    std::vector<std::string> lines;
    boost::algorithm::split(lines, boost::algorithm::trim_right_copy(out), boost::is_any_of("\n"));
    return lines;
}

std::vector<std::string> EmulatedArgv(const std::string& emulator, const std::string& program,
                                      const std::vector<std::string>& args)
{
    std::vector<std::string> argv;
    boost::algorithm::split(argv, emulator, boost::is_any_of(" "), boost::token_compress_on);
    argv.erase(std::remove(argv.begin(), argv.end(), ""), argv.end());
    argv.push_back(program);
    argv.insert(argv.end(), args.begin(), args.end());
    return argv;
}

ToolTest::ToolTest(std::string command, std::string folderPattern)
    : m_command(std::move(command)), m_folderPattern(std::move(folderPattern))
{
}

void ToolTest::SetUp()
{
    m_dir = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path(m_folderPattern);
    boost::filesystem::create_directories(m_dir);
}

void ToolTest::TearDown()
{
    boost::filesystem::remove_all(m_dir);
}

std::string ToolTest::File(const std::string& name, const std::string& content)
{
    const auto path = (m_dir / name).string();
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

ToolResult ToolTest::Run(const std::string& args, const std::string& input)
{
    const std::string in = File("stdin", input);
    const std::string err = (m_dir / "stderr").string();
    const std::string command = m_command + " " + args + " <" + in + " 2>" + err;
    FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string out;
    char buffer[4096];
    std::size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        out.append(buffer, n);
    const int raw = pclose(pipe);
    std::ifstream errFile(err, std::ios::binary);
    std::stringstream errText;
    errText << errFile.rdbuf();
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, out, errText.str()};
}

ToolResult ToolTest::RunExpecting(const std::string& args, int status)
{
    ToolResult r = Run(args);
    EXPECT_EQ(r.status, status) << args << "\n" << r.err;
    return r;
}

} // namespace LumTest
