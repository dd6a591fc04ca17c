#pragma once

#include <Platform/DeviceStackClient.h>
#include <Platform/Export.h>

#include <boost/chrono/duration.hpp>
#include <boost/optional.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace LumSim
{

// An in-memory device stack: a table of object values (id -> value text) and
// a configuration, behind the asynchronous client interface. Every request is
// answered on the simulator's own worker thread through the registered
// response handler, and can be delayed, dropped, failed, duplicated or made
// late on demand. All operations are thread-safe.
class LUM_PLATFORM_API SimulatedDeviceStack : public Tarn::IDeviceStackClient
{
public:
    using Milliseconds = boost::chrono::milliseconds;

    // The error an answer carries when it is made to fail.
    struct ErrorAnswer
    {
        int code = 1;
        std::string text1 = "simulated failure";
        std::string text2 = "injected by the simulator";
        std::string message = "Simulated device-stack error";
    };

    // Fault injection by chance; every probability is in [0, 1].
    struct Faults
    {
        Milliseconds answerDelay{0};
        double dropProbability = 0.0;
        double errorProbability = 0.0;
        double emptyIdProbability = 0.0;
        // The request gets the id of the request issued before it.
        double duplicateIdProbability = 0.0;
        // The answer comes after lateDelay instead of answerDelay.
        double lateProbability = 0.0;
        Milliseconds lateDelay{0};
        ErrorAnswer error;
    };

    enum class Kind
    {
        Request,
        RegisterApplication,
        SetConfiguration,
        GetValue,
        SetValue,
    };

    // What happened to one asynchronous request.
    struct IssuedRequest
    {
        Kind kind;
        std::string requestId; // empty: refused
        unsigned long objectId;
        std::string payload; // request text, configuration or value text
        bool dropped;
        bool failed;
        bool late;
    };

    struct Statistics
    {
        std::uint64_t issued = 0;  // requests that got a request id
        std::uint64_t refused = 0; // empty request ids handed out
        std::uint64_t duplicated = 0;
        std::uint64_t dropped = 0;
        std::uint64_t failed = 0;
        std::uint64_t late = 0;
        std::uint64_t delivered = 0; // callbacks called
        std::uint64_t discarded = 0; // answers that found no handler
    };

    explicit SimulatedDeviceStack(std::uint64_t seed = 1);
    // Stops and joins the worker; answers still queued are discarded.
    ~SimulatedDeviceStack() override;
    SimulatedDeviceStack(const SimulatedDeviceStack&) = delete;
    SimulatedDeviceStack& operator=(const SimulatedDeviceStack&) = delete;

    // --- Tarn::IDeviceStackClient
    void SetInternalValueFormat(bool enable) override;
    bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                          bool flag) override;
    bool GetDeviceConfig(std::string& configuration, bool flag) override;
    bool SetDeviceConfig(const std::map<std::string, std::string>& configuration) override;
    bool SetFormat(const std::string& format) override;
    std::string RequestAsync(const std::string& request) override;
    std::string RegisterApplicationAsync(const std::string& a, const std::string& b,
                                         const std::string& c) override;
    std::string SetConfigurationAsync(const std::string& configuration) override;
    std::string GetValueAsync(unsigned long id, bool flag) override;
    std::string SetValueAsync(unsigned long id, const std::string& value, bool flag, int reserved) override;
    // Once this returns, the previous handler is not called any more (unless
    // it is called from inside a callback, which cannot wait for itself).
    void SetResponseHandler(IResponseHandler* handler, void* context) override;

    // --- the table
    void SetObjectValue(unsigned long id, const std::string& value);
    boost::optional<std::string> GetObjectValue(unsigned long id) const;
    std::string GetConfiguration() const;
    std::map<PropertyType, Property> GetProperties(unsigned long id) const;
    std::map<std::string, std::string> GetDeviceConfigMap() const;
    bool IsInternalValueFormat() const;
    std::string GetFormat() const;
    std::vector<std::string> GetRegisteredApplications() const;
    // Answers free requests; the default echoes the request text.
    void SetRequestResponder(std::function<std::string(const std::string&)> responder);
    // Result of the synchronous SetConfiguration (default true).
    void SetSynchronousResult(bool result);

    // --- fault injection
    void SetFaults(const Faults& faults);
    Faults GetFaults() const;
    void SetAnswerDelay(Milliseconds delay);
    void DropNext(unsigned count);
    void FailNext(unsigned count);
    void RefuseNext(unsigned count); // empty request ids
    void DuplicateNext(unsigned count);
    void Reseed(std::uint64_t seed);

    // --- observation
    Statistics GetStatistics() const;
    std::vector<IssuedRequest> GetIssuedRequests() const;
    void ClearIssuedRequests();
    // On by default; long runs (benchmarks, tools) turn it off to bound memory.
    void SetRecordIssuedRequests(bool record);
    // Answers queued or being delivered.
    std::size_t PendingAnswers() const;
    // Blocks until no answer is queued or being delivered, or the time has passed.
    bool WaitUntilIdle(Milliseconds timeout) const;

    // Stops the worker (idempotent); later requests are refused.
    void Shutdown();

    static const char* KindName(Kind kind);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace LumSim
