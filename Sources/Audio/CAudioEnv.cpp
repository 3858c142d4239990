#include "Audio/CAudioEnv.h"

namespace lum {

void CAudioEnv::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

} // namespace lum
