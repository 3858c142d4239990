#include "UI/CColorFill.h"

namespace lum {

namespace {

constexpr int kFullTone = 255; // ramp index

} // namespace

void CColorFill::prepareLook(CPreparedDraw& out, const CViewLook& look) {
    addFill(out, localBounds(), getColor(0, look), kFullTone);
}

} // namespace lum
