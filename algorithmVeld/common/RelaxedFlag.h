#pragma once

#include <atomic>

namespace OrvaneAlgorithm
{

/// A `bool` that one thread may write while others read it. It orders nothing else between them.
class RelaxedFlag
{
public:
    /// With a value.
    RelaxedFlag(bool value = false) noexcept : value_(value) {}
    /// With the value of another one.
    RelaxedFlag(RelaxedFlag const& other) noexcept : value_(other.get()) {}
    RelaxedFlag& operator=(RelaxedFlag const& other) noexcept { return *this = other.get(); }
    ~RelaxedFlag() = default;

    /// Sets the value.
    RelaxedFlag& operator=(bool value) noexcept
    {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }

    /// The value.
    operator bool() const noexcept { return get(); }

private:
    bool get() const noexcept { return value_.load(std::memory_order_relaxed); }

    std::atomic<bool> value_;
};

} // namespace OrvaneAlgorithm
