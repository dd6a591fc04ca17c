#pragma once
// What the decoders of this folder report when bytes do not have their layout.
#include <string>
#include <utility>

namespace LumBus
{

// `result` marked as failed with `error` and one line saying what and where.
template <typename Result, typename Error> Result Failed(Result& result, Error error, std::string detail)
{
    result.error = error;
    result.detail = std::move(detail);
    return result;
}

} // namespace LumBus
