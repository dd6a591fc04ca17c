#pragma once

// Runs the lumknx tool as a child process in a scratch folder of its own: what
// it printed on each stream and how it exited.

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <string>
#include <vector>

namespace LumTest
{

struct ToolResult
{
    int status; // the exit code; -1 when the process did not exit on its own
    std::string out;
    std::string err;
    std::vector<std::string> outLines() const;
};

// The argv that runs `program` with `args`, under `emulator` when that names
// one (its words split on spaces, as CMake writes it).
std::vector<std::string> EmulatedArgv(const std::string& emulator, const std::string& program,
                                      const std::vector<std::string>& args);

class ToolTest : public testing::Test
{
protected:
    // command: how to start the tool (an emulator may come first); folderPattern: a
    // boost::filesystem::unique_path model for the scratch folder.
    ToolTest(std::string command, std::string folderPattern);

    void SetUp() override;
    void TearDown() override;

    // Writes content to name in the scratch folder; returns the path.
    std::string File(const std::string& name, const std::string& content);

    // args are passed to the shell as they stand: quote them there.
    ToolResult Run(const std::string& args, const std::string& input = "");
    // Run, expecting the tool to exit with `status`.
    ToolResult RunExpecting(const std::string& args, int status);

    boost::filesystem::path m_dir;

private:
    std::string m_command;
    std::string m_folderPattern;
};

} // namespace LumTest
