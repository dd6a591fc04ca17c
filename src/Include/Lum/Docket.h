#pragma once

#include <Lum/Export.h>

#include <string>

namespace Lum
{

// One answer of the device stack, handed from the thread that receives it to
// the thread that waits for it.
class LUM_OM_API Docket
{
public:
    // Not answered: empty strings, both flags false.
    Docket();
    Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered);
    Docket(const Docket& other);
    Docket& operator=(const Docket& other) = default;
    ~Docket();

    // True when the device stack reported no error for the answer.
    bool IsReplyValid() const { return m_replyValid; }
    bool IsAnswered() const { return m_answered; }
    const std::string& ReadReply() const { return m_reply; }
    // The device stack's error message; empty when there was none or no answer came.
    const std::string& ReadDeliveryError() const { return m_deliveryError; }

private:
    std::string m_reply;
    std::string m_deliveryError;
    bool m_replyValid;
    bool m_answered;
};

} // namespace Lum
