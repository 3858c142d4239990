#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace lum {

/// `audio:fltgen-firspline`: draws a smooth curve through gains on a logarithmic frequency axis and
/// designs the FIR kernel that follows it. Without state: one object serves all instances.
///
/// Settings: `length` (seconds), `min-phase` (from 0.5 on), `min-freq` and `max-freq` (Hz),
/// `precision` (grid frequencies), `element-size` (1: gains that stand equally spaced on the span;
/// 2: pairs of frequency and gain), `element-count`, optionally `point-count`, and
/// `element-count2`, `element-count3` for further curves, which add in dB. Values that nobody could
/// mean are held to what a design can be; without a span or a length there is no kernel.
class CAudioFilterFIRSplineGen : public CAudioFilterGen {
public:
    static void fillClass(CClassInfo& info);
    void generate(CFilterGenContext& context, double sampleRate, const CFilterGenSettings& settings,
                  CSampleBlockPool& blockPool) const LUM_REALTIME override;

    /// The drawn curve as `precision` linear gains; null when a setting is missing or wrong.
    static CSampleBlockRef drawCurve(const CFilterGenSettings& settings,
                                     CSampleBlockPool& blockPool) LUM_REALTIME;
};

} // namespace lum
