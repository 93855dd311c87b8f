#pragma once

#include <condition_variable>
#include <mutex>

namespace veld::python
{

/// Who uses a mesh. Most steps only read it, several at a time, also one that is called back by
/// another; a few put a property on it and take it off again, and need it alone. Nobody who waits
/// here may hold the interpreter's lock.
class MeshUse
{
public:
    /// Reads while it lives.
    class Reading
    {
    public:
        explicit Reading(MeshUse& use) : use_(use) { use_.begin_reading(); }
        ~Reading() { use_.end_reading(); }
        Reading(Reading const&) = delete;
        Reading& operator=(Reading const&) = delete;

    private:
        MeshUse& use_;
    };

    /// Has the mesh alone while it lives, if nobody used it.
    class Owning
    {
    public:
        explicit Owning(MeshUse& use) : use_(use), is_alone_(use.try_own()) {}
        ~Owning()
        {
            if (is_alone_)
            {
                use_.disown();
            }
        }
        Owning(Owning const&) = delete;
        Owning& operator=(Owning const&) = delete;

        bool is_alone() const { return is_alone_; }

    private:
        MeshUse& use_;
        bool is_alone_;
    };

private:
    void begin_reading()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return !is_owned_; });
        ++readers_;
    }

    void end_reading()
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        --readers_;
    }

    bool try_own()
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        bool const is_free = !is_owned_ && readers_ == 0;
        is_owned_ = is_owned_ || is_free;
        return is_free;
    }

    void disown()
    {
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            is_owned_ = false;
        }
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int readers_ = 0;
    bool is_owned_ = false;
};

} // namespace veld::python
