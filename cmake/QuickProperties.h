// Included before all else in builds with a sanitizer. With assertions OpenMesh compares the names
// of types at each access to a property, as strings that it allocates: under a checker of memory
// that takes longer than all that is checked. Elsewhere its assertions stay.
#define NDEBUG
#include <OpenMesh/Core/Utils/PropertyContainer.hh>
#undef NDEBUG
#include <cassert>
