#include "LiveProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace LiveBus
{

namespace
{
using Clock = std::chrono::steady_clock;
constexpr auto kPoll = std::chrono::milliseconds(10);
} // namespace

bool OnPath(const std::string& program)
{
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path != nullptr ? path : "");
    std::string dir;
    while (std::getline(dirs, dir, ':'))
        if (!dir.empty() && ::access((dir + "/" + program).c_str(), X_OK) == 0)
            return true;
    return false;
}

Child::Child(const std::vector<std::string>& argv, const std::string& outPath, const std::string& errPath)
{
    // The child truncates them only when it runs, which under qemu-user can be
    // after the caller already looks for a line: what an earlier run wrote must go now.
    ::unlink(outPath.c_str());
    ::unlink(errPath.c_str());
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const int rc = posix_spawnp(&m_pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0)
        throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(rc));
}

Child::~Child()
{
    if (m_status == -2 && m_pid > 0)
        Wait(std::chrono::milliseconds(0));
}

void Child::Signal(int signal) const
{
    if (m_pid > 0)
        ::kill(m_pid, signal);
}

bool Child::Running()
{
    if (m_status != -2)
        return false;
    int raw = 0;
    const pid_t done = ::waitpid(m_pid, &raw, WNOHANG);
    if (done != m_pid)
        return true;
    m_status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    m_signal = WIFSIGNALED(raw) ? WTERMSIG(raw) : 0;
    return false;
}

int Child::Wait(std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    while (Running())
    {
        if (Clock::now() >= deadline)
        {
            ::kill(m_pid, SIGKILL);
            int raw = 0;
            ::waitpid(m_pid, &raw, 0);
            m_status = -2;
            m_pid = -1;
            return -2;
        }
        std::this_thread::sleep_for(kPoll);
    }
    return m_status;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

RunResult Run(const std::vector<std::string>& argv, const std::string& dir, std::chrono::milliseconds timeout)
{
    static int sequence = 0;
    const std::string stem = dir + "/run" + std::to_string(++sequence);
    Child child(argv, stem + ".out", stem + ".err");
    RunResult result;
    result.status = child.Wait(timeout);
    result.signal = child.TermSignal();
    result.out = ReadFile(stem + ".out");
    result.err = ReadFile(stem + ".err");
    return result;
}

bool WaitForText(const std::string& path, const std::string& text, std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    while (ReadFile(path).find(text) == std::string::npos)
    {
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(kPoll);
    }
    return true;
}

Knxd::Knxd()
{
    char pattern[] = "/tmp/lumbus.XXXXXX";
    if (::mkdtemp(pattern) == nullptr)
        throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
    m_dir = pattern;
    m_child = new Child({"knxd", "-e", "0.0.1", "-E", "0.0.2:32", "-u", m_dir + "/sock", "-b", "dummy:"},
                        m_dir + "/knxd.out", m_dir + "/knxd.err");
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    struct stat info;
    while (Clock::now() < deadline && m_child->Running())
    {
        if (::stat((m_dir + "/sock").c_str(), &info) == 0 && S_ISSOCK(info.st_mode))
        {
            m_ready = true;
            break;
        }
        std::this_thread::sleep_for(kPoll);
    }
}

void Knxd::Stop()
{
    if (m_child == nullptr)
        return;
    m_child->Signal(SIGTERM);
    m_child->Wait(std::chrono::seconds(4));
    delete m_child;
    m_child = nullptr;
}

Knxd::~Knxd()
{
    Stop();
    std::error_code ignored;
    std::filesystem::remove_all(m_dir, ignored);
}

} // namespace LiveBus
