#pragma once

/// @file
/// @brief The app host's start-up settings, read from its XML file.

#include <Lum/Export.h>

#include <boost/optional.hpp>

#include <atomic>
#include <cstddef>
#include <string>

namespace Lum
{

/// @brief Where the app host keeps its start-up configuration.
inline constexpr char AppHostConfigFilePath[] = "/opt/userdata/etc/lumapphost/lumapphostconfig.xml";

/// @brief The connector app's name.
///
/// Names kept for the app host; nothing in this library reads them.
inline constexpr char ConnectorAppName[] = "ConnectorApp";
/// @brief The name of the ZEP configuration; kept for the app host, not read here.
inline constexpr char ZepConfigName[] = "ZepConfig";
/// @brief The default place of the object model's JSON configuration; kept for the app host, not read here.
inline constexpr char ObjectModelConfigJsonPath[] = "/opt/userdata/devicestack/lumOM/config.json";

/// @brief Start-up settings of the app host.
///
/// Start-up settings of the app host. Loading is meant for start-up, from one
/// thread, before the object is shared; the switches may afterwards be read
/// and changed from any thread (sequentially consistent atomics). The paths
/// are not guarded.
///
/// The file's root element is `LumAppHostConfig` (attributes `WithoutKNX`,
/// `TerminateOnFirmwareUpdate`); its child `ObjectModelConfig` carries `Path`, its child
/// `Debugging` carries `Active` and, only while debugging is on, the children `App`,
/// `ManagedApp`, `AppHost` and `AppConnectorHost` with `RootPath` (the last two also
/// `DisableStartup`). A switch attribute of "0" is off, any other value on. Whenever the
/// app host's start-up ends up disabled, the connector host's is disabled as well.
class LUM_OM_API AppHostConfiguration
{
public:
    /// @brief The deepest element nesting accepted.
    ///
    /// The XML parser recurses once per element level; deeper documents are
    /// rejected before parsing so that a hostile file cannot exhaust the stack.
    /// A document at this limit parses on a thread with 64 KiB of stack (it
    /// takes about 36 KiB on x86-64, less on 32-bit ARM).
    static constexpr std::size_t MaxElementNesting = 128;
    /// @brief The largest file read, in bytes.
    ///
    /// An app host file is a few KiB; larger files are refused unread.
    static constexpr std::size_t MaxFileSize = 16 * 1024 * 1024;
    /// @brief The memory budget of the parsed document, as a multiple of the text's size.
    ///
    /// The parsed document may take up to this many times the text's size (at
    /// least MinDocumentMemory); a denser document is refused, so that loading
    /// costs about three times the file at most, the file itself included.
    static constexpr std::size_t DocumentMemoryFactor = 2;
    /// @brief The smallest memory budget of a parsed document, in bytes.
    static constexpr std::size_t MinDocumentMemory = 1024 * 1024;

    /// @brief All switches off, all paths empty; does not read the file.
    AppHostConfiguration() = default;
    /// @brief Not copyable: one object is shared.
    AppHostConfiguration(const AppHostConfiguration&) = delete;
    /// @brief Not copyable: one object is shared.
    AppHostConfiguration& operator=(const AppHostConfiguration&) = delete;

    /// @brief Applies the app host's file.
    ///
    /// Applies the file at AppHostConfigFilePath over the current values; on
    /// any failure logs one ERROR line naming the file and why (a missing file,
    /// one that is no regular file or above MaxFileSize, bad XML), keeps them
    /// and never throws. Exception: bad XML logs two ERROR lines, the reason as
    /// LoadAppHostConfigXML() gives it and "Falling back to standard configuration.".
    /// Not thread-safe: call it before the object is shared.
    void LoadConfigurationFile();
    /// @brief The same from another place (tests, tools).
    void LoadConfigurationFile(const std::string& path);

    /// @brief Applies the XML text @p text (in/out: parsed in place).
    ///
    /// Parses the zero-terminated text in place (it is modified) and applies
    /// it. False, with an ERROR line and nothing applied, when the text is not
    /// well-formed, nests too deeply or needs more memory than its budget.
    /// A null @p text is refused the same way. Never throws. Not thread-safe.
    /// @return true when the text was applied.
    bool LoadAppHostConfigXML(char* text);

    /// @brief Whether app debugging is on (`Debugging Active`).
    bool IsInAppDebugMode() const { return m_appDebugMode.load(); }
    /// @brief Whether the app host is not to start (`AppHost DisableStartup`).
    bool IsAppHostStartupDisabled() const { return m_appHostStartupDisabled.load(); }
    /// @brief Whether the connector host is not to start (`AppConnectorHost DisableStartup`).
    bool IsAppConnectorHostStartupDisabled() const { return m_appConnectorHostStartupDisabled.load(); }
    /// @brief Whether the app host runs without KNX (`WithoutKNX`).
    bool IsAppHostWithoutKNX() const { return m_appHostWithoutKnx.load(); }
    /// @brief Whether the app host ends on a firmware update (`TerminateOnFirmwareUpdate`).
    bool IsAppHostTerminateOnFirmwareUpdate() const { return m_appHostTerminateOnFirmwareUpdate.load(); }

    /// @brief The native apps' root path while debugging; none when not given. Not guarded.
    const boost::optional<std::string>& GetRootPathNativeApp() const { return m_rootPathNativeApp; }
    /// @brief The managed apps' root path while debugging; none when not given. Not guarded.
    const boost::optional<std::string>& GetRootPathManagedApp() const { return m_rootPathManagedApp; }
    /// @brief The app host's root path while debugging; none when not given. Not guarded.
    const boost::optional<std::string>& GetRootPathAppHost() const { return m_rootPathAppHost; }
    /// @brief The connector host's root path while debugging; none when not given. Not guarded.
    const boost::optional<std::string>& GetRootPathAppConnectorHost() const
    {
        return m_rootPathAppConnectorHost;
    }
    /// @brief The object model's configuration path (`ObjectModelConfig Path`); none when not given.
    const boost::optional<std::string>& GetPathObjectModelConfig() const { return m_pathObjectModelConfig; }

    /// @brief Switches app debugging; safe from any thread.
    ///
    /// The asymmetry is deliberate: the app host's callers only store, the
    /// connector host's and the debug switch's callers need the old value.
    void SetAppDebugMode(bool on) { m_appDebugMode.store(on); }
    /// @brief Switches app debugging; safe from any thread.
    ///
    /// Returns the previous value.
    bool ReplaceAppDebugMode(bool on) { return m_appDebugMode.exchange(on); }
    /// @brief Enables or disables the app host's start-up; safe from any thread.
    ///
    /// Leaves the connector-host switch alone.
    void SetAppHostStartupDisabled(bool disabled) { m_appHostStartupDisabled.store(disabled); }
    /// @brief Enables or disables the connector host's start-up; safe from any thread.
    ///
    /// Returns the previous value.
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
