#pragma once

#include <Lum/Export.h>

#include <boost/optional.hpp>

#include <atomic>
#include <cstddef>
#include <string>

namespace Lum
{

// Where the app host keeps its start-up configuration.
inline constexpr char AppHostConfigFilePath[] = "/opt/userdata/etc/lumapphost/lumapphostconfig.xml";

// Names kept for the app host; nothing in this library reads them.
inline constexpr char ConnectorAppName[] = "ConnectorApp";
inline constexpr char ZepConfigName[] = "ZepConfig";
inline constexpr char ObjectModelConfigJsonPath[] = "/opt/userdata/devicestack/lumOM/config.json";

// Start-up settings of the app host. Loading is meant for start-up, from one
// thread, before the object is shared; the switches may afterwards be read
// and changed from any thread (sequentially consistent atomics). The paths
// are not guarded.
class LUM_OM_API AppHostConfiguration
{
public:
    // The XML parser recurses once per element level; deeper documents are
    // rejected before parsing so that a hostile file cannot exhaust the stack.
    // A document at this limit parses on a thread with 64 KiB of stack (it
    // takes about 36 KiB on x86-64, less on 32-bit ARM).
    static constexpr std::size_t MaxElementNesting = 128;
    // An app host file is a few KiB; larger files are refused unread.
    static constexpr std::size_t MaxFileSize = 16 * 1024 * 1024;
    // The parsed document may take up to this many times the text's size (at
    // least MinDocumentMemory); a denser document is refused, so that loading
    // costs about three times the file at most, the file itself included.
    static constexpr std::size_t DocumentMemoryFactor = 2;
    static constexpr std::size_t MinDocumentMemory = 1024 * 1024;

    // All switches off, all paths empty; does not read the file.
    AppHostConfiguration() = default;
    AppHostConfiguration(const AppHostConfiguration&) = delete;
    AppHostConfiguration& operator=(const AppHostConfiguration&) = delete;

    // Applies the file at AppHostConfigFilePath over the current values; on
    // any failure logs one ERROR line naming the file and why (a missing file,
    // one that is no regular file or above MaxFileSize, bad XML), keeps them
    // and never throws.
    void LoadConfigurationFile();
    // The same from another place (tests, tools).
    void LoadConfigurationFile(const std::string& path);

    // Parses the zero-terminated text in place (it is modified) and applies
    // it. False, with an ERROR line and nothing applied, when the text is not
    // well-formed, nests too deeply or needs more memory than its budget.
    bool LoadAppHostConfigXML(char* text);

    bool IsInAppDebugMode() const { return m_appDebugMode.load(); }
    bool IsAppHostStartupDisabled() const { return m_appHostStartupDisabled.load(); }
    bool IsAppConnectorHostStartupDisabled() const { return m_appConnectorHostStartupDisabled.load(); }
    bool IsAppHostWithoutKNX() const { return m_appHostWithoutKnx.load(); }
    bool IsAppHostTerminateOnFirmwareUpdate() const { return m_appHostTerminateOnFirmwareUpdate.load(); }

    const boost::optional<std::string>& GetRootPathNativeApp() const { return m_rootPathNativeApp; }
    const boost::optional<std::string>& GetRootPathManagedApp() const { return m_rootPathManagedApp; }
    const boost::optional<std::string>& GetRootPathAppHost() const { return m_rootPathAppHost; }
    const boost::optional<std::string>& GetRootPathAppConnectorHost() const
    {
        return m_rootPathAppConnectorHost;
    }
    const boost::optional<std::string>& GetPathObjectModelConfig() const { return m_pathObjectModelConfig; }

    // The asymmetry is deliberate: the app host's callers only store, the
    // connector host's and the debug switch's callers need the old value.
    void SetAppDebugMode(bool on) { m_appDebugMode.store(on); }
    // Returns the previous value.
    bool ReplaceAppDebugMode(bool on) { return m_appDebugMode.exchange(on); }
    // Leaves the connector-host switch alone.
    void SetAppHostStartupDisabled(bool disabled) { m_appHostStartupDisabled.store(disabled); }
    // Returns the previous value.
    bool SetAppConnectorHostStartupDisabled(bool disabled)
    {
        return m_appConnectorHostStartupDisabled.exchange(disabled);
    }

private:
    std::atomic<bool> m_appDebugMode{false};
    std::atomic<bool> m_appHostStartupDisabled{false};
    std::atomic<bool> m_appConnectorHostStartupDisabled{false};
    std::atomic<bool> m_appHostWithoutKnx{false};
    std::atomic<bool> m_appHostTerminateOnFirmwareUpdate{false};
    boost::optional<std::string> m_rootPathNativeApp;
    boost::optional<std::string> m_rootPathManagedApp;
    boost::optional<std::string> m_rootPathAppHost;
    boost::optional<std::string> m_rootPathAppConnectorHost;
    boost::optional<std::string> m_pathObjectModelConfig;
};

} // namespace Lum
