#include "algorithmVeld/common/running/pause.h"

#if defined(_WIN32)
#include <cstdio>
#include <cstdlib>
#include <io.h>
#endif

namespace OrvaneAlgorithm::detail
{

void pause_for_inspection()
{
#if defined(_WIN32)
    if (_isatty(_fileno(stdin)) != 0)
    {
        std::system("pause");
    }
#endif
}

} // namespace OrvaneAlgorithm::detail
