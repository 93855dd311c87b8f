#pragma once

/// \file
/// The result code and the export macro, under the name that hosts include. They are defined in
/// `common/`, because the lower layers return them too.

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/export.h"
