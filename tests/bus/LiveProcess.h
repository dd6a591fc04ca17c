#pragma once
// Child processes for the live-bus tests: a knxd on a Unix socket in a
// temporary folder, and lumknx or knxtool runs with their output in files.
// Every wait is bounded; a child that outlives its bound is killed.
#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace LiveBus
{

// True when `program` is found on PATH.
bool OnPath(const std::string& program);

class Child
{
public:
    // Starts argv[0] (searched on PATH) with stdin from /dev/null and stdout,
    // stderr into the given files.
    Child(const std::vector<std::string>& argv, const std::string& outPath, const std::string& errPath);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The exit status; -1 when it ended by a signal, -2 when it was still
    // running at the deadline (it is killed then).
    int Wait(std::chrono::milliseconds timeout);
    // The signal that ended it, 0 when none did.
    int TermSignal() const { return m_signal; }
    void Signal(int signal) const;
    bool Running();
    pid_t Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
    int m_status = -2;
    int m_signal = 0;
};

struct RunResult
{
    int status = -2;
    int signal = 0;
    std::string out;
    std::string err;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

// Runs to the end (at most `timeout`).
RunResult Run(const std::vector<std::string>& argv, const std::string& dir,
              std::chrono::milliseconds timeout = std::chrono::milliseconds(10000));

// Polls until `path` holds `text` (true) or the timeout passes (false).
bool WaitForText(const std::string& path, const std::string& text, std::chrono::milliseconds timeout);

// A knxd with a dummy bus on "<dir>/sock" in a fresh folder under /tmp.
class Knxd
{
public:
    Knxd();
    ~Knxd();
    Knxd(const Knxd&) = delete;
    Knxd& operator=(const Knxd&) = delete;

    bool Ready() const { return m_ready; }
    const std::string& Dir() const { return m_dir; }
    std::string Url() const { return "local:" + m_dir + "/sock"; }
    // SIGTERM and wait, as a daemon is meant to be stopped.
    void Stop();

private:
    std::string m_dir;
    Child* m_child = nullptr;
    bool m_ready = false;
};

} // namespace LiveBus
