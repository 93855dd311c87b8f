#pragma once

#include <string>
#include <vector>

namespace CLI
{
class Option;
} // namespace CLI

namespace veld::cli
{

/// Which options of a command belong to which of its methods. One without effect is most likely a
/// mistake in the method.
class MethodOptions
{
public:
    /// \param why what the other methods do instead, to stand behind a colon; empty if there is
    ///        nothing to say
    void add(CLI::Option* option, std::vector<std::string> methods, std::string why = {});

    /// Refuses options that were given and that a method does not use, by the parser's exception.
    /// \param choice the option that names the method
    void refuse_unused(std::string const& method, std::string const& choice = "--method") const;

private:
    struct Use
    {
        CLI::Option* option;
        std::vector<std::string> methods;
        std::string why;
    };

    std::vector<Use> uses_;
};

} // namespace veld::cli
