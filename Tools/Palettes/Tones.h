#pragma once

#include "Other/CDynamicColorData.h"
#include "Palettes/Scheme.h"
#include "Palettes/Tone.h"

#include <map>
#include <set>

/// Works out the rules of a scheme, each colour on first demand.
class Tones {
public:
    explicit Tones(const Scheme& scheme);

    /// Everything that a colour's ramps come from. Throws SchemeError.
    lum::CColorValues valuesOf(const SchemeColor& color);

private:
    uint32_t toneOf(const std::string& name, const SchemeColor& asker);
    uint32_t evaluate(const std::string& rule, const SchemeColor& color);
    void applyStep(Tone& tone, const std::string& step, const SchemeColor& color);
    Tone inkOn(const std::string& ground, const SchemeColor& color);
    void makeReadable(Tone& tone, const std::string& ground, double ratio,
                      const SchemeColor& color);
    void makeGround(Tone& tone, double ratio, const SchemeColor& color) const;
    double leastContrastOn(uint32_t tone, uint32_t groundTone, const SchemeColor& ground) const;
    double leastContrast(uint32_t tone, const std::string& ground, const SchemeColor& asker);
    const SchemeColor& find(const std::string& name, const SchemeColor& asker) const;
    const SchemeColor* above(const SchemeColor& color) const;
    double contrastOf(const SchemeColor& color) const;

    const Scheme& scheme;
    std::map<std::string, uint32_t> done;
    std::set<std::string> underWay; // a rule that comes back to itself
};
