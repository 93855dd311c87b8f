#pragma once

namespace OrvaneAlgorithm::detail
{

/// A channel of a cloud or an array mesh that an operation needs: switched on for a scope if it is
/// off, and then off again at its end. A channel that is there is used as it is, and stays.
///
///     ChannelScope<Cloud> const flags(cloud, &Cloud::has_vFlag, &Cloud::enable_vFlag,
///                                     &Cloud::disable_vFlag);
template <typename Owner>
class ChannelScope
{
public:
    ChannelScope(Owner& owner, bool Owner::*is_on, void (Owner::*switch_on)(),
                 void (Owner::*switch_off)())
        : owner_(owner), switch_off_(owner.*is_on ? nullptr : switch_off)
    {
        if (switch_off_ != nullptr)
        {
            (owner_.*switch_on)();
        }
    }
    ~ChannelScope()
    {
        if (switch_off_ != nullptr)
        {
            (owner_.*switch_off_)();
        }
    }
    ChannelScope(ChannelScope const&) = delete;
    ChannelScope& operator=(ChannelScope const&) = delete;

private:
    Owner& owner_;
    void (Owner::*switch_off_)();
};

} // namespace OrvaneAlgorithm::detail
