#pragma once

#include "workflow/export.h"

#include <stdexcept>
#include <string>

namespace veld
{

/// Ends a step that cannot go on, with a reason in words that names the file or the element.
/// Nothing is changed or written then.
class VELD_WORKFLOW_API Error : public std::runtime_error
{
public:
    ~Error() override;

    /// The setting with which another try may do better, "min_component" for one; empty if none.
    std::string const& setting() const { return setting_; }

protected:
    /// \param reason one sentence, without a full stop \param setting as `setting` gives it
    explicit Error(std::string const& reason, std::string setting = {})
        : std::runtime_error(reason), setting_(std::move(setting))
    {
    }

private:
    std::string setting_;
};

/// The input or the settings are wrong: others may do.
class VELD_WORKFLOW_API InputError : public Error
{
public:
    /// \param reason one sentence, without a full stop \param setting as `setting` gives it
    explicit InputError(std::string const& reason, std::string setting = {})
        : Error(reason, std::move(setting))
    {
    }
    ~InputError() override;
};

/// The work failed on an input that looked right.
class VELD_WORKFLOW_API OperationError : public Error
{
public:
    /// \param reason one sentence, without a full stop \param setting as `setting` gives it
    explicit OperationError(std::string const& reason, std::string setting = {})
        : Error(reason, std::move(setting))
    {
    }
    ~OperationError() override;
};

} // namespace veld
