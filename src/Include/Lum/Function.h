#pragma once

#include <Platform/Logging.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace Lum
{

template <typename Signature> class function;

// A small, copyable function wrapper. Copies share one immutable storage, so
// copying never copies the callable; calling an empty wrapper is a bug.
template <typename R, typename... Args> class function<R(Args...)>
{
public:
    class BasicStorage
    {
    public:
        virtual ~BasicStorage() = default;
        virtual R operator()(Args... args) const = 0;
    };

    function() noexcept = default;
    function(std::nullptr_t) noexcept {}

    template <typename F,
              typename = std::enable_if_t<!std::is_same<std::decay_t<F>, function>::value &&
                                          std::is_invocable_r<R, std::decay_t<F>&, Args...>::value>>
    function(F&& f) : m_storage(std::make_shared<Storage<std::decay_t<F>>>(std::forward<F>(f)))
    {
    }

    R operator()(Args... args) const
    {
        LUM_ASSERT2(m_storage);
        return (*m_storage)(std::forward<Args>(args)...);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(m_storage); }

private:
    template <typename F> class Storage final : public BasicStorage
    {
    public:
        template <typename G> explicit Storage(G&& f) : m_function(std::forward<G>(f)) {}
        R operator()(Args... args) const override { return m_function(std::forward<Args>(args)...); }

    private:
        // The wrapper is called through const references; a stateful callable
        // keeps its state, shared by all copies of the wrapper.
        mutable F m_function;
    };

    std::shared_ptr<const BasicStorage> m_storage;
};

using BoolReader = function<bool()>;

} // namespace Lum
