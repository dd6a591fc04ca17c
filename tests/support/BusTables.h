#pragma once
// Table rows the bus unit tests share: a group telegram with the bytes it goes
// out as, and a malformed input with what its decoder calls it.
#include "LumBus/GroupTelegram.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LumTest
{

struct GroupRequestCase
{
    const char* name;
    std::uint16_t destination;
    LumBus::GroupService service;
    std::vector<std::uint8_t> data;
    bool shortForm;
    std::uint16_t source;
    std::vector<std::uint8_t> bytes;

    // Without a source: the row's `source` goes to the encoder on its own.
    LumBus::GroupTelegram Telegram() const { return {0, destination, service, data, shortForm}; }
};

template <typename Error> struct Malformation
{
    const char* name;
    std::vector<std::uint8_t> bytes;
    Error error;
    const char* detail;
};

struct NoFurtherChecks
{
    template <typename Decoded> void operator()(const Decoded&) const {}
};

// Decodes every case: the error and its detail must be the row's; `further`
// checks the rest of what was decoded.
template <typename Error, std::size_t N, typename Decode, typename Further = NoFurtherChecks>
void ExpectEachNamed(const Malformation<Error> (&cases)[N], Decode decode, const char* (*errorName)(Error),
                     Further further = {})
{
    for (const Malformation<Error>& c : cases)
    {
        SCOPED_TRACE(c.name);
        const auto decoded = decode(c.bytes.data(), c.bytes.size());
        EXPECT_EQ(decoded.error, c.error) << errorName(decoded.error);
        EXPECT_EQ(decoded.detail, c.detail);
        further(decoded);
    }
}

} // namespace LumTest
