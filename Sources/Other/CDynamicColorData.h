#pragma once

#include "Other/CColor.h"

#include <memory>

namespace lum {

constexpr uint32_t kNoTone = 0xFFFFFFFFu;

/// What the ramps of a palette colour are computed from.
struct CColorValues {
    double brightness = 0.0;      // added to L, Lab units
    double contrast = 0.5;        // 0 to 1
    double hoverBrightness = 0.0; // added to brightness for the hover form
    double opacity = 1.0;         // 0 to 1
    uint32_t tone = 0;            // 0xRRGGBB
    uint32_t tone2 = kNoTone;
    uint32_t tone3 = kNoTone;

    /// Real numbers are equal within rounding.
    bool isSame(const CColorValues& other) const;
};

/// The computed state of one palette colour: a series of ramps along its gradient, and the ramp of
/// its hover form. Owned by the palette, so that it outlives a reload of the colours. Ramps keep
/// their addresses as long as the number of ramps stays. Interface thread.
class CDynamicColorData : public CLumMemAllocator {
public:
    /// Number of ramps, at least 1, and whether there is a hover form. A change drops the ramps.
    void setForm(int gradientSize, bool isHoverable);
    /// Takes values and computes the ramps. False, and nothing done, when nothing changed.
    bool setValues(const CColorValues& newValues);

    const CColorValues& getValues() const { return values; }
    bool isComputed() const { return computed; }
    int getGradientSize() const { return ramps.ssize(); }
    /// Ramp of a position along the gradient; ramp 0 for one outside 0 to 1. Null before any form.
    const CColor* getRamp(double position) const;
    const CColor* getHoverRamp() const { return hover.get(); }

    CErrorResult save(COutputStream& stream) const;
    /// Reads a record into this object. isHoverable: whether the record has a hover form, which it
    /// does not tell itself.
    CErrorResult load(CInputStream& stream, bool isHoverable);

private:
    uint32_t toneAt(int ramp) const;

    CColorValues values;
    CVector<std::unique_ptr<CColor>, 1> ramps;
    std::unique_ptr<CColor> hover; // null without a hover form
    bool computed = false;
};

} // namespace lum
