#pragma once

/// @file
/// @brief One answer of the device stack.

#include <Lum/Export.h>

#include <string>

namespace Lum
{

/// @brief One answer of the device stack.
///
/// One answer of the device stack, handed from the thread that receives it to
/// the thread that waits for it. A plain value type: copies are independent, and
/// const objects may be read from any thread.
class LUM_OM_API Docket
{
public:
    /// @brief Not answered.
    ///
    /// Not answered: empty strings, both flags false.
    Docket();
    /// @brief An answer with the given reply, error message and flags.
    Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered);
    /// @brief Copies every field.
    Docket(const Docket& other);
    /// @brief Copies every field.
    Docket& operator=(const Docket& other) = default;
    /// @brief Ends the docket.
    ~Docket();

    /// @brief Whether the answer carries no error.
    ///
    /// True when the device stack reported no error for the answer.
    bool IsReplyValid() const { return m_replyValid; }
    /// @brief Whether an answer came; false after a time-out or when the request stopped
    /// being relevant.
    bool IsAnswered() const { return m_answered; }
    /// @brief The device stack's reply (the configuration or value text); empty when none came.
    const std::string& ReadReply() const { return m_reply; }
    /// @brief The error message.
    ///
    /// The device stack's error message; empty when there was none or no answer came.
    const std::string& ReadDeliveryError() const { return m_deliveryError; }

private:
    std::string m_reply;
    std::string m_deliveryError;
    bool m_replyValid;
    bool m_answered;
};

} // namespace Lum
