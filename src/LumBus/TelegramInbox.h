#pragma once
// What the KNXnet/IP connections keep for the caller: telegrams that came in
// while nobody was receiving, oldest first and bounded, and the one line that
// names what came in unusable.
#include "LumBus/GroupTelegram.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace LumBus
{

class TelegramInbox
{
public:
    explicit TelegramInbox(std::size_t limit) : m_limit(limit) {}

    // False, and the telegram not kept, when `limit` telegrams wait already.
    bool Push(ReceivedTelegram telegram)
    {
        if (m_telegrams.size() >= m_limit)
            return false;
        m_telegrams.push_back(std::move(telegram));
        return true;
    }
    // Moves the oldest telegram to `out`; false when none waits.
    bool Take(ReceivedTelegram& out)
    {
        if (m_telegrams.empty())
            return false;
        out = std::move(m_telegrams.front());
        m_telegrams.pop_front();
        return true;
    }
    bool Empty() const { return m_telegrams.empty(); }
    std::size_t Size() const { return m_telegrams.size(); }

private:
    std::size_t m_limit;
    std::deque<ReceivedTelegram> m_telegrams;
};

// "5 malformed, 1 duplicate (latest: ...)"; "" when every count is 0.
class AnomalyLine
{
public:
    AnomalyLine& Count(std::uint64_t count, const std::string& what)
    {
        if (count != 0)
            m_text += (m_text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
        return *this;
    }
    std::string Latest(const std::string& latest) const
    {
        return m_text.empty() || latest.empty() ? m_text : m_text + " (latest: " + latest + ")";
    }

private:
    std::string m_text;
};

} // namespace LumBus
