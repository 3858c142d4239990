#include "Palettes/Tones.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr double kDefaultFloor = 228.0; // darkest ramp index of a usual ground
constexpr double kDefaultContrast = 0.4;
constexpr double kHoverBrightness = 6.0; // the palette's modifier
constexpr double kInkDark = 9.0;         // lightness of what is written on light grounds
constexpr double kInkLight = 94.0;       // and on dark ones
constexpr double kInkChroma = 0.25;      // of the ground's

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

bool isHexTone(const std::string& text) {
    return text.size() == 6 && text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

uint32_t rampColor(const lum::CColor& ramp, int index) {
    const uint8_t* entry = ramp.getTable()->entries[index];
    return static_cast<uint32_t>(entry[2] << 16 | entry[1] << 8 | entry[0]);
}

} // namespace

Tones::Tones(const Scheme& target) : scheme(target) {}

lum::CColorValues Tones::valuesOf(const SchemeColor& color) {
    lum::CColorValues values;
    values.brightness = color.number("brightness", 0.0);
    values.contrast = contrastOf(color);
    values.opacity = color.number("opacity", 1.0);
    values.hoverBrightness = kHoverBrightness;
    values.tone = toneOf(color.name, color);
    if (color.has("tone2")) values.tone2 = evaluate(color.text("tone2"), color);
    return values;
}

uint32_t Tones::toneOf(const std::string& name, const SchemeColor& asker) {
    const auto known = done.find(name);
    if (known != done.end()) return known->second;
    const SchemeColor& color = find(name, asker);
    if (!underWay.insert(name).second) throw SchemeError(color.place + "the rule needs itself");
    uint32_t tone = 0;
    if (color.has("tone")) {
        tone = evaluate(color.text("tone"), color);
    } else {
        const SchemeColor* parent = above(color);
        if (!parent) throw SchemeError(color.place + "the colour has no tone");
        tone = toneOf(parent->name, color);
    }
    underWay.erase(name);
    done[name] = tone;
    return tone;
}

uint32_t Tones::evaluate(const std::string& rule, const SchemeColor& color) {
    const std::vector<std::string> steps = split(rule, '|');
    const uint32_t start = isHexTone(steps[0])
                               ? static_cast<uint32_t>(std::strtoul(steps[0].c_str(), nullptr, 16))
                               : toneOf(steps[0], color);
    if (steps.size() == 1) return start;
    Tone tone = Tone::fromRgb(start);
    for (size_t i = 1; i < steps.size(); i++) applyStep(tone, steps[i], color);
    return tone.toRgb();
}

void Tones::applyStep(Tone& tone, const std::string& step, const SchemeColor& color) {
    const std::vector<std::string> words = split(step, ':');
    const size_t sign = words[0].find_first_of("+-*");
    const std::string verb = words[0].substr(0, sign);
    const double own =
        sign == std::string::npos
            ? 0.0
            : std::strtod(words[0].c_str() + sign + (words[0][sign] == '*'), nullptr);
    const double last = std::strtod(words.back().c_str(), nullptr);
    if (verb == "light" && words.size() == 1) {
        tone.lightness = std::clamp(tone.lightness + own, 0.0, 100.0);
    } else if (verb == "chroma" && words.size() == 1) {
        tone.a *= own;
        tone.b *= own;
    } else if (verb == "away" && words.size() == 2) {
        tone.lightness =
            std::clamp(tone.lightness + (tone.lightness < 50.0 ? last : -last), 0.0, 100.0);
    } else if (verb == "mix" && words.size() == 3) {
        const Tone other = Tone::fromRgb(toneOf(words[1], color));
        tone = {std::lerp(tone.lightness, other.lightness, last), std::lerp(tone.a, other.a, last),
                std::lerp(tone.b, other.b, last)};
    } else if (verb == "ink" && words.size() == 2) {
        tone = inkOn(words[1], color);
    } else if (verb == "ground" && words.size() == 2) {
        makeGround(tone, last, color);
    } else if (verb == "readable" && words.size() == 3) {
        makeReadable(tone, words[1], last, color);
    } else {
        throw SchemeError(color.place + "unknown step \"" + step + "\"");
    }
}

Tone Tones::inkOn(const std::string& ground, const SchemeColor& color) {
    Tone ink = Tone::fromRgb(toneOf(ground, color));
    const bool isDark =
        leastContrast(0x000000, ground, color) >= leastContrast(0xFFFFFF, ground, color);
    ink.lightness = isDark ? kInkDark : kInkLight;
    ink.a *= kInkChroma;
    ink.b *= kInkChroma;
    return ink;
}

// Away from the ground on the side where the tone stands, unless that side is too short.
void Tones::makeReadable(Tone& tone, const std::string& ground, double ratio,
                         const SchemeColor& color) {
    tone.lightness = std::clamp(tone.lightness, 0.0, 100.0); // white lies a rounding beyond
    const double groundLightness = Tone::fromRgb(toneOf(ground, color)).lightness;
    const double first = tone.lightness >= groundLightness ? 1.0 : -1.0;
    for (const double direction : {first, -first})
        for (Tone tried = tone; tried.lightness >= 0.0 && tried.lightness <= 100.0;
             tried.lightness += 0.25 * direction) {
            if (leastContrast(tried.toRgb(), ground, color) < ratio) continue;
            tone = tried;
            return;
        }
    throw SchemeError(color.place + color.name + " cannot be read on " + ground);
}

double Tones::leastContrast(uint32_t tone, const std::string& ground, const SchemeColor& asker) {
    return leastContrastOn(tone, toneOf(ground, asker), find(ground, asker));
}

/// The smaller contrast of the ground's full tone and its darkest use.
double Tones::leastContrastOn(uint32_t tone, uint32_t groundTone, const SchemeColor& ground) const {
    lum::CColor ramp;
    ramp.compute(groundTone, contrastOf(ground), 1.0, ground.number("brightness", 0.0));
    const int floor = static_cast<int>(ground.number("floor", kDefaultFloor));
    return std::min(contrastRatio(tone, rampColor(ramp, 255)),
                    contrastRatio(tone, rampColor(ramp, floor)));
}

// Grounds of a middle lightness take neither black nor white well, so they give way a little.
void Tones::makeGround(Tone& tone, double ratio, const SchemeColor& color) const {
    constexpr double kFarthest = 40.0; // steps of lightness
    for (double step = 0.0; step <= kFarthest; step += 0.5)
        for (const double shift : {-step, step}) {
            Tone tried = tone;
            tried.lightness = std::clamp(tone.lightness + shift, 0.0, 100.0);
            const uint32_t rgb = tried.toRgb();
            if (std::max(leastContrastOn(0x000000, rgb, color),
                         leastContrastOn(0xFFFFFF, rgb, color)) < ratio)
                continue;
            tone = tried;
            return;
        }
    throw SchemeError(color.place + color.name + " is no ground for text");
}

const SchemeColor& Tones::find(const std::string& name, const SchemeColor& asker) const {
    for (const SchemeColor& color : scheme.colors)
        if (!color.isHeading && color.name == name) return color;
    throw SchemeError(asker.place + "there is no colour \"" + name + "\"");
}

const SchemeColor* Tones::above(const SchemeColor& color) const {
    const SchemeColor* last = nullptr;
    for (const SchemeColor& other : scheme.colors) {
        if (other.isHeading || other.isTone) continue;
        if (other.name == color.name) return last;
        if (other.level == color.level - 1) last = &other;
    }
    return nullptr;
}

double Tones::contrastOf(const SchemeColor& color) const {
    if (color.has("contrast")) return color.number("contrast", 0.0);
    const SchemeColor* parent = color.level > 0 ? above(color) : nullptr;
    return parent ? contrastOf(*parent) : kDefaultContrast;
}
