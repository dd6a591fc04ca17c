#include <Lum/Docket.h>

#include <utility>

namespace Lum
{

Docket::Docket() : m_replyValid(false), m_answered(false) {}

Docket::Docket(std::string reply, std::string deliveryError, bool replyValid, bool answered)
    : m_reply(std::move(reply)), m_deliveryError(std::move(deliveryError)), m_replyValid(replyValid),
      m_answered(answered)
{
}

Docket::Docket(const Docket& other) = default;

Docket::~Docket() = default;

} // namespace Lum
