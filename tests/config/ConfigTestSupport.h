#pragma once

#include <Lum/AppHostConfig.h>

#include <boost/optional.hpp>

#include <cstring>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>

namespace LumTest
{

// Parses a copy in a heap buffer of exactly the text and its terminator, so
// that AddressSanitizer sees any read past the end.
inline bool LoadXml(Lum::AppHostConfiguration& config, const std::string& text)
{
    std::unique_ptr<char[]> buffer(new char[text.size() + 1]);
    std::memcpy(buffer.get(), text.c_str(), text.size() + 1);
    return config.LoadAppHostConfigXML(buffer.get());
}

// Every field of a configuration, for comparing with an expectation.
struct ConfigState
{
    bool debug = false;
    bool appHostDisabled = false;
    bool connectorHostDisabled = false;
    bool withoutKnx = false;
    bool terminateOnUpdate = false;
    std::optional<std::string> nativeApp;
    std::optional<std::string> managedApp;
    std::optional<std::string> appHost;
    std::optional<std::string> connectorHost;
    std::optional<std::string> objectModelConfig;

    ConfigState& Debug(bool on = true) { return debug = on, *this; }
    ConfigState& AppHostDisabled(bool on = true) { return appHostDisabled = on, *this; }
    ConfigState& ConnectorHostDisabled(bool on = true) { return connectorHostDisabled = on, *this; }
    ConfigState& WithoutKnx(bool on = true) { return withoutKnx = on, *this; }
    ConfigState& TerminateOnUpdate(bool on = true) { return terminateOnUpdate = on, *this; }
    ConfigState& NativeApp(std::string p) { return nativeApp = std::move(p), *this; }
    ConfigState& ManagedApp(std::string p) { return managedApp = std::move(p), *this; }
    ConfigState& AppHost(std::string p) { return appHost = std::move(p), *this; }
    ConfigState& ConnectorHost(std::string p) { return connectorHost = std::move(p), *this; }
    ConfigState& ObjectModelConfig(std::string p) { return objectModelConfig = std::move(p), *this; }

    static std::optional<std::string> Std(const boost::optional<std::string>& p)
    {
        return p ? std::optional<std::string>(*p) : std::nullopt;
    }

    static ConfigState Of(const Lum::AppHostConfiguration& c)
    {
        ConfigState s;
        s.debug = c.IsInAppDebugMode();
        s.appHostDisabled = c.IsAppHostStartupDisabled();
        s.connectorHostDisabled = c.IsAppConnectorHostStartupDisabled();
        s.withoutKnx = c.IsAppHostWithoutKNX();
        s.terminateOnUpdate = c.IsAppHostTerminateOnFirmwareUpdate();
        s.nativeApp = Std(c.GetRootPathNativeApp());
        s.managedApp = Std(c.GetRootPathManagedApp());
        s.appHost = Std(c.GetRootPathAppHost());
        s.connectorHost = Std(c.GetRootPathAppConnectorHost());
        s.objectModelConfig = Std(c.GetPathObjectModelConfig());
        return s;
    }

    auto Tie() const
    {
        return std::tie(debug, appHostDisabled, connectorHostDisabled, withoutKnx, terminateOnUpdate,
                        nativeApp, managedApp, appHost, connectorHost, objectModelConfig);
    }
    bool operator==(const ConfigState& o) const { return Tie() == o.Tie(); }
};

inline std::string Show(const std::optional<std::string>& p)
{
    return p ? '"' + *p + '"' : "none";
}

inline std::ostream& operator<<(std::ostream& os, const ConfigState& s)
{
    return os << "{debug " << s.debug << ", appHostDisabled " << s.appHostDisabled
              << ", connectorHostDisabled " << s.connectorHostDisabled << ", withoutKnx " << s.withoutKnx
              << ", terminateOnUpdate " << s.terminateOnUpdate << ", nativeApp " << Show(s.nativeApp)
              << ", managedApp " << Show(s.managedApp) << ", appHost " << Show(s.appHost)
              << ", connectorHost " << Show(s.connectorHost) << ", objectModelConfig "
              << Show(s.objectModelConfig) << "}";
}

} // namespace LumTest
