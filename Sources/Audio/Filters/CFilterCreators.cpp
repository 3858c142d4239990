#include "Audio/Filters/CFilterCreators.h"

#include "Audio/Filters/CAudioFilterFIRSplineGen.h"
#include "Audio/Filters/CAudioFilterGenArray.h"
#include "Audio/Processes/CModFilterFIR.h"

namespace lum {

const CCreatorRow kFilterCreators[] = {
    creatorRow<CAudioFilterGenArray>("audio:fltgen-array"),
    creatorRow<CAudioFilterGenArrayItem>("audio:fltgen-array-item"),
    creatorRow<CAudioFilterFIRSplineGen>("audio:fltgen-firspline"),
    creatorRow<CModFilterFIRDef>("audio:modFilterFIR"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
