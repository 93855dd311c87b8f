#include "algorithmVeld/common/ParamHolder.h"

namespace OrvaneAlgorithm
{

ParamHolder gPH;

} // namespace OrvaneAlgorithm
