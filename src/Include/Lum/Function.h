#pragma once

/// @file
/// @brief A small, copyable function wrapper.

#include <Platform/Logging.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace Lum
{

/// @brief A function wrapper; only the specialisation for a function type is defined.
template <typename Signature> class function;

/// @brief A small, copyable function wrapper.
///
/// A small, copyable function wrapper. Copies share one immutable storage, so
/// copying never copies the callable; calling an empty wrapper is a bug.
/// Copies may be used on different threads at once as long as the callable may be.
template <typename R, typename... Args> class function<R(Args...)>
{
public:
    /// @brief The shared storage of a callable.
    class BasicStorage
    {
    public:
        /// @brief Ends the storage and the callable in it.
        virtual ~BasicStorage() = default;
        /// @brief Calls the callable.
        virtual R operator()(Args... args) const = 0;
    };

    /// @brief An empty wrapper.
    function() noexcept = default;
    /// @brief An empty wrapper.
    function(std::nullptr_t) noexcept {}

    /// @brief Wraps a copy of @p f (moved when it is an rvalue); allocates once.
    template <typename F,
              typename = std::enable_if_t<!std::is_same<std::decay_t<F>, function>::value &&
                                          std::is_invocable_r<R, std::decay_t<F>&, Args...>::value>>
    function(F&& f) : m_storage(std::make_shared<Storage<std::decay_t<F>>>(std::forward<F>(f)))
    {
    }

    /// @brief Calls the callable; an empty wrapper ends the process through LUM_ASSERT2.
    R operator()(Args... args) const
    {
        LUM_ASSERT2(m_storage);
        return (*m_storage)(std::forward<Args>(args)...);
    }

    /// @brief Whether a callable is held.
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

/// @brief A test without arguments, e.g. whether a request is still relevant.
using BoolReader = function<bool()>;

} // namespace Lum
