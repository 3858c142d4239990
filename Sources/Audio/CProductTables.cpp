#include "Audio/CProductTables.h"

#include "Audio/CAudioHostCreators.h"
#include "Audio/CAudioParamCreators.h"
#include "Audio/CAudioProcessCreators.h"
#include "Audio/CAudioStateCreators.h"
#include "Audio/Filters/CFilterCreators.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Core/CCoreCreators.h"

namespace lum {

namespace {
constexpr const CCreatorRow* kCreatorTables[] = {
    kCoreCreators,   kAudioParamCreators, kAudioProcessCreators,
    kFilterCreators, kAudioHostCreators,  kAudioStateCreators,
    nullptr,
};
} // namespace

CProductTables makeProductTables(const CResourceRow* resources) {
    return {kCreatorTables, resources, &CFFTPlan::initService};
}

} // namespace lum
