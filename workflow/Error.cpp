#include "workflow/Error.h"

namespace veld
{

// Here, so that there is one type of each across all libraries of a host.
Error::~Error() = default;
InputError::~InputError() = default;
OperationError::~OperationError() = default;

} // namespace veld
